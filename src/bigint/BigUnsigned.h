#ifndef ORVEX_BIGINT_BIGUNSIGNED_H
#define ORVEX_BIGINT_BIGUNSIGNED_H

#include "bigint/BlockArray.h"
#include "orvexsupport_export.h"

/// \addtogroup bigint
/// @{

/// An arbitrary-precision non-negative integer: a little-endian array of 32-bit blocks that the
/// object owns (its storage base, no virtual table).
///
/// Results are in normal form (no zero block on top) except the few non-normal values noted
/// below, which are kept on purpose. The arithmetic is in put-result-here form: the receiver gets
/// the result and may be one of the operands. Failures throw a const char * text that names the
/// operation. A plain value: one thread at a time.
class ORVEXSUPPORT_EXPORT BigUnsigned : public BlockArray<unsigned int>
{
public:
    /// One block: 32 bits, also where `long` is 64.
    typedef unsigned int Blk;
    /// A block or bit index, and a length.
    typedef BlockArray<Blk>::Index Index;
    /// The result of compareTo().
    enum CompareResult : int { less = -1, equal = 0, greater = 1 };

    /// Zero, with no blocks.
    BigUnsigned() = default;
    /// Copies `count` blocks, then drops zero blocks from the top. Like every operation, throws
    /// when the value would be too long for its bit length to fit an Index.
    BigUnsigned(const Blk *source, Index count);

    /// \name From built-in types
    /// @{

    /// Deliberate: the 64-bit types keep only their low 32 bits, and a non-zero argument always
    /// makes one block, so 2^32 gives a one-block zero that is not in normal form.
    BigUnsigned(unsigned long x);
    BigUnsigned(long x); ///< Throws for a negative value; keeps the low 32 bits.
    BigUnsigned(unsigned int x);
    BigUnsigned(int x); ///< Throws for a negative value.
    BigUnsigned(unsigned short x);
    BigUnsigned(short x); ///< Throws for a negative value.
    /// @}

    /// \name Conversions to built-in types
    /// @{

    /// Each looks at one block at most: two or more blocks always throw, as does a value out of
    /// the type's range.
    unsigned long toUnsignedLong() const;
    unsigned int toUnsignedInt() const;
    unsigned short toUnsignedShort() const;
    long toLong() const;
    int toInt() const;
    short toShort() const;
    /// @}

    /// Storing 0 into the top block renormalises; storing past the end extends with zero blocks.
    /// A non-zero block or bit so high that the bit length would not fit an Index throws.
    void setBlock(Index i, Blk b);
    /// 32 bits per block below the top one plus the top block's significant bits; 0 for zero.
    Index bitLength() const;
    /// False past the length.
    bool bitAt(Index i) const;
    /// Goes through setBlock(), with its rules.
    void setBit(Index i, bool value);
    /// True for no blocks; a non-normal zero is not zero here.
    bool isZero() const { return length == 0; }

    /// \name Comparison
    /// @{

    /// Compares lengths first, so a non-normal zero is greater than zero.
    CompareResult compareTo(const BigUnsigned &x) const;
    bool operator==(const BigUnsigned &x) const { return compareTo(x) == equal; }
    bool operator!=(const BigUnsigned &x) const { return compareTo(x) != equal; }
    bool operator<(const BigUnsigned &x) const { return compareTo(x) == less; }
    bool operator<=(const BigUnsigned &x) const { return compareTo(x) != greater; }
    bool operator>=(const BigUnsigned &x) const { return compareTo(x) != less; }
    bool operator>(const BigUnsigned &x) const { return compareTo(x) == greater; }
    /// @}

    /// The receiver becomes a + b.
    void add(const BigUnsigned &a, const BigUnsigned &b);
    /// The receiver becomes a - b. Throws when b > a: the receiver is left as it was when b has
    /// more blocks than a, else zero.
    void subtract(const BigUnsigned &a, const BigUnsigned &b);
    /// The receiver becomes a * b.
    void multiply(const BigUnsigned &a, const BigUnsigned &b);
    /// The receiver is the dividend on entry and the remainder on return; q gets the quotient.
    /// Dividing by zero is no error here: the quotient is 0 and the remainder the dividend.
    /// Throws when q is the receiver.
    void divideWithRemainder(const BigUnsigned &b, BigUnsigned &q);
    /// The receiver becomes a AND b.
    void bitAnd(const BigUnsigned &a, const BigUnsigned &b);
    /// The receiver becomes a OR b.
    void bitOr(const BigUnsigned &a, const BigUnsigned &b);
    /// The receiver becomes a XOR b.
    void bitXor(const BigUnsigned &a, const BigUnsigned &b);
    /// The receiver becomes a shifted left by n bits. A negative n shifts the other way; the most
    /// negative int throws. Shifting zero left by 64 or more bits leaves zero blocks on top, as
    /// only one top block is ever dropped.
    void bitShiftLeft(const BigUnsigned &a, int n);
    /// The receiver becomes a shifted right by n bits, with the rules of bitShiftLeft().
    void bitShiftRight(const BigUnsigned &a, int n);

    /// \name Operators
    /// @{

    /// The operations above in value form; / and % throw for a zero divisor, naming themselves.
    BigUnsigned operator+(const BigUnsigned &x) const;
    BigUnsigned operator-(const BigUnsigned &x) const;
    BigUnsigned operator*(const BigUnsigned &x) const;
    BigUnsigned operator/(const BigUnsigned &x) const;
    BigUnsigned operator%(const BigUnsigned &x) const;
    BigUnsigned operator&(const BigUnsigned &x) const;
    BigUnsigned operator|(const BigUnsigned &x) const;
    BigUnsigned operator^(const BigUnsigned &x) const;
    BigUnsigned operator<<(int n) const;
    BigUnsigned operator>>(int n) const;

    BigUnsigned &operator+=(const BigUnsigned &x);
    BigUnsigned &operator-=(const BigUnsigned &x);
    BigUnsigned &operator*=(const BigUnsigned &x);
    BigUnsigned &operator/=(const BigUnsigned &x);
    BigUnsigned &operator%=(const BigUnsigned &x);
    BigUnsigned &operator&=(const BigUnsigned &x);
    BigUnsigned &operator|=(const BigUnsigned &x);
    BigUnsigned &operator^=(const BigUnsigned &x);
    BigUnsigned &operator<<=(int n);
    BigUnsigned &operator>>=(int n);
    /// @}

    /// Adds one.
    BigUnsigned &operator++();
    /// Subtracts one; throws for zero.
    BigUnsigned &operator--();
    /// Deliberate: the postfix forms do what the prefix forms do and yield no value.
    void operator++(int);
    /// As the prefix form, throwing for zero; yields no value.
    void operator--(int);

private:
    // The reference and fast routines of the arithmetic, kept apart from the members.
    friend class BigIntPaths;

    void holdOneBlock(Blk b);
};

/// @}

#endif // ORVEX_BIGINT_BIGUNSIGNED_H
