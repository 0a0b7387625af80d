#include "bigint/BigInteger.h"

#include "bigint/Aliasing_p.h"

namespace {

// Thrown texts used at several sites
constexpr const char *tooBigText =
        "BigInteger::to<Primitive>: Value is too big to fit in the requested type";
constexpr const char *negativeToUnsignedText =
        "BigInteger::to<Primitive>: Cannot convert a negative integer to an unsigned type";

// Construction

// The sign asked for, checked against the magnitude it is to go with.
BigInteger::Sign checkedSign(BigInteger::Sign s, const BigUnsigned &mag, const char *zeroSignText,
                             const char *invalidSignText)
{
    switch (s) {
    case BigInteger::positive:
    case BigInteger::negative:
        return mag.isZero() ? BigInteger::zero : s;
    case BigInteger::zero:
        if (!mag.isZero())
            throw zeroSignText;
        return BigInteger::zero;
    }
    throw invalidSignText;
}

template <class X>
BigInteger::Sign signOf(X x)
{
    return x < 0 ? BigInteger::negative : (x > 0 ? BigInteger::positive : BigInteger::zero);
}

// The absolute value, computed in the unsigned type UX (so the most negative X has one), and then
// cut to one block.
template <class X, class UX>
BigInteger::Blk magnitudeOf(X x)
{
    return BigInteger::Blk(x < 0 ? UX(UX(0) - UX(x)) : UX(x));
}

// Conversion to primitives

// A one-block magnitude b converts when it is at most `largest` for a positive number, or within
// smallestNegated..largestNegated for a negative one.
template <class X>
X convertToSignedPrimitive(const BigInteger &x, unsigned long largest,
                           unsigned long smallestNegated, unsigned long largestNegated)
{
    if (x.getSign() == BigInteger::zero)
        return 0;
    const BigUnsigned &mag = x.getMagnitude();
    if (mag.getLength() == 1) {
        const unsigned long b = mag.blockAt(0);
        if (x.getSign() == BigInteger::positive && b <= largest)
            return X(b);
        if (x.getSign() == BigInteger::negative && b >= smallestNegated && b <= largestNegated)
            return X(-long(b));
    }
    throw tooBigText;
}

// sign and mag become (aSign, aMag) + (bSign, bMag); neither operand may share storage with mag.
void addSigned(BigInteger::Sign &sign, BigUnsigned &mag, BigInteger::Sign aSign,
               const BigUnsigned &aMag, BigInteger::Sign bSign, const BigUnsigned &bMag)
{
    if (aSign == BigInteger::zero || bSign == BigInteger::zero) {
        const bool takeB = aSign == BigInteger::zero;
        sign = takeB ? bSign : aSign;
        mag = takeB ? bMag : aMag;
        return;
    }
    if (aSign == bSign) {
        sign = aSign;
        mag.add(aMag, bMag);
        return;
    }
    switch (aMag.compareTo(bMag)) {
    case BigUnsigned::equal:
        mag = BigUnsigned();
        sign = BigInteger::zero;
        break;
    case BigUnsigned::greater:
        sign = aSign;
        mag.subtract(aMag, bMag);
        break;
    case BigUnsigned::less:
        sign = bSign;
        mag.subtract(bMag, aMag);
        break;
    }
}

} // namespace

BigInteger::BigInteger(const Blk *source, Index count, Sign s) : sign(zero), mag(source, count)
{
    sign = checkedSign(s, mag,
                       "BigInteger::BigInteger(const Blk *, Index, Sign): Cannot use a sign of "
                       "zero with a nonzero magnitude",
                       "BigInteger::BigInteger(const Blk *, Index, Sign): Invalid sign");
}

BigInteger::BigInteger(const BigUnsigned &x, Sign s) : sign(zero), mag(x)
{
    sign = checkedSign(s, mag,
                       "BigInteger::BigInteger(const BigUnsigned &, Sign): Cannot use a sign of "
                       "zero with a nonzero magnitude",
                       "BigInteger::BigInteger(const BigUnsigned &, Sign): Invalid sign");
}

BigInteger::BigInteger(const BigUnsigned &x) : sign(x.isZero() ? zero : positive), mag(x) {}

BigInteger::BigInteger(unsigned long x) : mag(x)
{
    sign = mag.isZero() ? zero : positive;
}

BigInteger::BigInteger(unsigned int x) : mag(x)
{
    sign = mag.isZero() ? zero : positive;
}

BigInteger::BigInteger(unsigned short x) : mag(x)
{
    sign = mag.isZero() ? zero : positive;
}

BigInteger::BigInteger(long x) : sign(signOf(x)), mag(magnitudeOf<long, unsigned long>(x)) {}

BigInteger::BigInteger(int x) : sign(signOf(x)), mag(magnitudeOf<int, unsigned int>(x)) {}

BigInteger::BigInteger(short x) : sign(signOf(x)), mag(magnitudeOf<short, unsigned short>(x)) {}

unsigned long BigInteger::toUnsignedLong() const
{
    if (sign == negative)
        throw negativeToUnsignedText;
    return mag.toUnsignedLong();
}

unsigned int BigInteger::toUnsignedInt() const
{
    if (sign == negative)
        throw negativeToUnsignedText;
    return mag.toUnsignedInt();
}

unsigned short BigInteger::toUnsignedShort() const
{
    if (sign == negative)
        throw negativeToUnsignedText;
    return mag.toUnsignedShort();
}

long BigInteger::toLong() const
{
    return convertToSignedPrimitive<long>(*this, 0xFFFFFFFFul, 0, 0xFFFFFFFFul);
}

int BigInteger::toInt() const
{
    return convertToSignedPrimitive<int>(*this, 0x7FFFFFFFul, 1, 0x7FFFFFFFul);
}

short BigInteger::toShort() const
{
    return convertToSignedPrimitive<short>(*this, 0x7FFFul, 1, 0x8000ul);
}

BigInteger::CompareResult BigInteger::compareTo(const BigInteger &x) const
{
    if (sign < x.sign)
        return BigUnsigned::less;
    if (sign > x.sign)
        return BigUnsigned::greater;
    switch (sign) {
    case zero:
        return BigUnsigned::equal;
    case positive:
        return mag.compareTo(x.mag);
    case negative:
        return CompareResult(-mag.compareTo(x.mag));
    }
    throw "BigInteger internal error";
}

void BigInteger::add(const BigInteger &a, const BigInteger &b)
{
    if (computedThroughTemporary(*this, &BigInteger::add, a, b))
        return;
    addSigned(sign, mag, a.sign, a.mag, b.sign, b.mag);
}

void BigInteger::subtract(const BigInteger &a, const BigInteger &b)
{
    if (computedThroughTemporary(*this, &BigInteger::subtract, a, b))
        return;
    addSigned(sign, mag, a.sign, a.mag, Sign(-b.sign), b.mag);
}

void BigInteger::multiply(const BigInteger &a, const BigInteger &b)
{
    if (computedThroughTemporary(*this, &BigInteger::multiply, a, b))
        return;
    if (a.sign == zero || b.sign == zero) {
        mag = BigUnsigned();
        sign = zero;
        return;
    }
    sign = a.sign == b.sign ? positive : negative;
    mag.multiply(a.mag, b.mag);
}

void BigInteger::divideWithRemainder(const BigInteger &b, BigInteger &q)
{
    if (this == &q)
        throw "BigInteger::divideWithRemainder: Cannot write quotient and remainder into the same "
              "variable";
    if (this == &b || &q == &b) {
        BigInteger divisor(b);
        divideWithRemainder(divisor, q);
        return;
    }
    if (b.sign == zero || sign == zero) {
        q.mag = BigUnsigned();
        q.sign = zero;
        return;
    }
    // With different signs, floor(a / b) = -(floor((|a| - 1) / |b|) + 1), and the remainder's
    // magnitude is |b| - 1 - ((|a| - 1) mod |b|).
    const bool signsDiffer = sign != b.sign;
    q.sign = signsDiffer ? negative : positive;
    if (signsDiffer)
        --mag;
    mag.divideWithRemainder(b.mag, q.mag);
    if (signsDiffer) {
        ++q.mag;
        mag.subtract(b.mag, mag);
        --mag;
    }
    sign = mag.isZero() ? zero : b.sign;
    if (q.mag.isZero())
        q.sign = zero;
}

void BigInteger::negate(const BigInteger &a)
{
    if (computedThroughTemporary(*this, &BigInteger::negate, a))
        return;
    mag = a.mag;
    sign = Sign(-a.sign);
}

BigInteger BigInteger::operator+(const BigInteger &x) const
{
    BigInteger result;
    result.add(*this, x);
    return result;
}

BigInteger BigInteger::operator-(const BigInteger &x) const
{
    BigInteger result;
    result.subtract(*this, x);
    return result;
}

BigInteger BigInteger::operator*(const BigInteger &x) const
{
    BigInteger result;
    result.multiply(*this, x);
    return result;
}

BigInteger BigInteger::operator/(const BigInteger &x) const
{
    if (x.isZero())
        throw "BigInteger::operator /: division by zero";
    BigInteger quotient;
    BigInteger remainder(*this);
    remainder.divideWithRemainder(x, quotient);
    return quotient;
}

BigInteger BigInteger::operator%(const BigInteger &x) const
{
    if (x.isZero())
        throw "BigInteger::operator %: division by zero";
    BigInteger quotient;
    BigInteger remainder(*this);
    remainder.divideWithRemainder(x, quotient);
    return remainder;
}

BigInteger BigInteger::operator-() const
{
    BigInteger result;
    result.negate(*this);
    return result;
}

BigInteger &BigInteger::operator+=(const BigInteger &x)
{
    add(*this, x);
    return *this;
}

BigInteger &BigInteger::operator-=(const BigInteger &x)
{
    subtract(*this, x);
    return *this;
}

BigInteger &BigInteger::operator*=(const BigInteger &x)
{
    multiply(*this, x);
    return *this;
}

BigInteger &BigInteger::operator/=(const BigInteger &x)
{
    if (x.isZero())
        throw "BigInteger::operator /=: division by zero";
    // Divides in place, then overwrites the remainder with the quotient.
    BigInteger quotient;
    divideWithRemainder(x, quotient);
    *this = quotient;
    return *this;
}

BigInteger &BigInteger::operator%=(const BigInteger &x)
{
    if (x.isZero())
        throw "BigInteger::operator %=: division by zero";
    BigInteger quotient;
    divideWithRemainder(x, quotient);
    return *this;
}

BigInteger &BigInteger::operator++()
{
    if (sign == negative) {
        --mag;
        if (mag.isZero())
            sign = zero;
    } else {
        ++mag;
        sign = positive;
    }
    return *this;
}

BigInteger &BigInteger::operator--()
{
    if (sign == positive) {
        --mag;
        if (mag.isZero())
            sign = zero;
    } else {
        ++mag;
        sign = negative;
    }
    return *this;
}

void BigInteger::operator++(int)
{
    operator++();
}

void BigInteger::operator--(int)
{
    operator--();
}
