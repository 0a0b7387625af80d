#ifndef ORVEX_BIGINT_BIGINTEGER_H
#define ORVEX_BIGINT_BIGINTEGER_H

#include "bigint/BigUnsigned.h"
#include "orvexsupport_export.h"

/// \addtogroup bigint
/// @{

/// An arbitrary-precision signed integer: a sign and a BigUnsigned magnitude, every operation
/// being the magnitude's operation plus a sign rule.
///
/// The sign is zero exactly when the magnitude is zero, except after the primitive constructors
/// noted below. Division rounds the quotient toward minus infinity, so a remainder takes the sign
/// of the divisor. The arithmetic is in put-result-here form, the receiver may be an operand, and
/// failures throw a const char * text. A plain value: one thread at a time.
class ORVEXSUPPORT_EXPORT BigInteger
{
public:
    /// BigUnsigned's block.
    typedef BigUnsigned::Blk Blk;
    /// BigUnsigned's index and length.
    typedef BigUnsigned::Index Index;
    /// BigUnsigned's comparison result.
    typedef BigUnsigned::CompareResult CompareResult;
    /// The sign; zero only for the value zero.
    enum Sign : int { negative = -1, zero = 0, positive = 1 };

    /// Zero.
    BigInteger() : sign(zero) {}
    /// A zero magnitude gives the sign zero whatever s is; s = zero with a non-zero magnitude and
    /// an s that is none of the three signs throw.
    BigInteger(const Blk *source, Index count, Sign s);
    /// As the block constructor, with x as the magnitude.
    BigInteger(const BigUnsigned &x, Sign s);
    /// Positive, or zero for a zero x.
    BigInteger(const BigUnsigned &x);

    /// \name From built-in types
    /// @{

    /// Deliberate: the magnitude is one 32-bit block built as by BigUnsigned, so a 64-bit argument
    /// keeps only its low 32 bits: unsigned long 2^32 is positive with a one-block zero magnitude,
    /// and long 2^32 or -2^32 has a non-zero sign with a zero magnitude.
    BigInteger(unsigned long x);
    BigInteger(long x);
    BigInteger(unsigned int x);
    BigInteger(int x);
    BigInteger(unsigned short x);
    BigInteger(short x);
    /// @}

    /// The sign.
    Sign getSign() const { return sign; }
    /// The magnitude, owned by this value.
    const BigUnsigned &getMagnitude() const { return mag; }
    /// Tells by the sign, so a zero magnitude with a non-zero sign is not zero.
    bool isZero() const { return sign == zero; }

    /// \name Conversions to built-in types
    /// @{

    /// A negative value throws for the unsigned types; out of range throws. Deliberate: the most
    /// negative int does not convert back through toInt, while the most negative short does.
    unsigned long toUnsignedLong() const;
    unsigned int toUnsignedInt() const;
    unsigned short toUnsignedShort() const;
    long toLong() const;
    int toInt() const;
    short toShort() const;
    /// @}

    /// \name Comparison
    /// @{

    /// Orders by sign, then by magnitude.
    CompareResult compareTo(const BigInteger &x) const;
    bool operator==(const BigInteger &x) const { return sign == x.sign && mag == x.mag; }
    bool operator!=(const BigInteger &x) const { return !operator==(x); }
    bool operator<(const BigInteger &x) const { return compareTo(x) == BigUnsigned::less; }
    bool operator<=(const BigInteger &x) const { return compareTo(x) != BigUnsigned::greater; }
    bool operator>=(const BigInteger &x) const { return compareTo(x) != BigUnsigned::less; }
    bool operator>(const BigInteger &x) const { return compareTo(x) == BigUnsigned::greater; }
    /// @}

    /// The receiver becomes a + b.
    void add(const BigInteger &a, const BigInteger &b);
    /// The receiver becomes a - b.
    void subtract(const BigInteger &a, const BigInteger &b);
    /// The receiver becomes a * b.
    void multiply(const BigInteger &a, const BigInteger &b);
    /// The receiver is the dividend on entry and the remainder on return; q gets the floored
    /// quotient. Dividing by zero is no error here: the quotient is 0, the remainder the dividend.
    /// Throws when q is the receiver.
    void divideWithRemainder(const BigInteger &b, BigInteger &q);
    /// The receiver becomes -a.
    void negate(const BigInteger &a);

    /// \name Operators
    /// @{

    /// The operations above in value form; / and % throw for a zero divisor, naming themselves.
    BigInteger operator+(const BigInteger &x) const;
    BigInteger operator-(const BigInteger &x) const;
    BigInteger operator*(const BigInteger &x) const;
    BigInteger operator/(const BigInteger &x) const;
    BigInteger operator%(const BigInteger &x) const;
    BigInteger operator-() const;

    BigInteger &operator+=(const BigInteger &x);
    BigInteger &operator-=(const BigInteger &x);
    BigInteger &operator*=(const BigInteger &x);
    BigInteger &operator/=(const BigInteger &x);
    BigInteger &operator%=(const BigInteger &x);
    /// @}

    /// Adds one.
    BigInteger &operator++();
    /// Subtracts one.
    BigInteger &operator--();
    /// Deliberate: the postfix forms do what the prefix forms do and yield no value.
    void operator++(int);
    /// As the prefix form; yields no value.
    void operator--(int);

private:
    Sign sign;
    BigUnsigned mag;
};

/// @}

#endif // ORVEX_BIGINT_BIGINTEGER_H
