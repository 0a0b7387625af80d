#include "bigint/BigUnsigned.h"

#include "bigint/Aliasing_p.h"
#include "bigint/BlockOps_p.h"
#include "bigint/FastPaths_p.h"
#include "bigint/LimbOps_p.h"

#include <climits>
#include <memory>

using namespace BlockOps;
using LimbOps::Limb;
using LimbOps::limbsFor;

namespace {

// Thrown texts used at several sites
constexpr const char *negativeNumberText =
        "BigUnsigned constructor: Cannot construct a BigUnsigned from a negative number";
constexpr const char *tooBigText =
        "BigUnsigned::to<Primitive>: Value is too big to fit in the requested type";
constexpr const char *negativeResultText =
        "BigUnsigned::subtract: Negative result in unsigned calculation";

// Length limits: a value of more than maxBlocks blocks is refused.

template <class Length>
void requireLength(Length blockCount, const char *tooLongText)
{
    if (blockCount > maxBlocks)
        throw tooLongText;
}

// Whether longer + shorter needs a block more than longer has: shorter exceeds longer's complement.
bool carriesOffTheTop(const BigUnsigned &longer, const BigUnsigned &shorter)
{
    for (Index i = longer.getLength(); i > 0; i--) {
        const Blk room = ~longer.blockAt(i - 1), addend = shorter.blockAt(i - 1);
        if (addend != room)
            return addend > room;
    }
    return false;
}

// Conversion to primitives

// The common step: at most one block, and that block must survive a round trip through X.
template <class X>
X convertToPrimitive(const BigUnsigned &x)
{
    if (x.getLength() == 0)
        return 0;
    if (x.getLength() == 1) {
        Blk b = x.blockAt(0);
        X value = X(b);
        if (Blk(value) == b)
            return value;
    }
    throw tooBigText;
}

// Deliberate: a value that passed the round trip but reads back negative throws the second form
// of the text, "to(Primitive)".
template <class X>
X convertToSignedPrimitive(const BigUnsigned &x)
{
    X value = convertToPrimitive<X>(x);
    if (value >= 0)
        return value;
    throw "BigUnsigned::to(Primitive): Value is too big to fit in the requested type";
}

} // namespace

void BigUnsigned::holdOneBlock(Blk b)
{
    reserve(1);
    length = 1;
    blocks[0] = b;
}

BigUnsigned::BigUnsigned(const Blk *source, Index count) : BlockArray<Blk>(source, count)
{
    requireLength(length,
                  "BigUnsigned constructor: Too many blocks for the bit length to fit an Index");
}

BigUnsigned::BigUnsigned(unsigned long x) : BigUnsigned()
{
    if (x != 0)
        holdOneBlock(Blk(x));
}

BigUnsigned::BigUnsigned(long x) : BigUnsigned()
{
    if (x < 0)
        throw negativeNumberText;
    if (x != 0)
        holdOneBlock(Blk(x));
}

BigUnsigned::BigUnsigned(unsigned int x) : BigUnsigned()
{
    if (x != 0)
        holdOneBlock(x);
}

BigUnsigned::BigUnsigned(int x) : BigUnsigned()
{
    if (x < 0)
        throw negativeNumberText;
    if (x != 0)
        holdOneBlock(Blk(x));
}

BigUnsigned::BigUnsigned(unsigned short x) : BigUnsigned()
{
    if (x != 0)
        holdOneBlock(x);
}

BigUnsigned::BigUnsigned(short x) : BigUnsigned()
{
    if (x < 0)
        throw negativeNumberText;
    if (x != 0)
        holdOneBlock(Blk(x));
}

unsigned long BigUnsigned::toUnsignedLong() const
{
    return convertToPrimitive<unsigned long>(*this);
}

unsigned int BigUnsigned::toUnsignedInt() const
{
    return convertToPrimitive<unsigned int>(*this);
}

unsigned short BigUnsigned::toUnsignedShort() const
{
    return convertToPrimitive<unsigned short>(*this);
}

long BigUnsigned::toLong() const
{
    return convertToSignedPrimitive<long>(*this);
}

int BigUnsigned::toInt() const
{
    return convertToSignedPrimitive<int>(*this);
}

short BigUnsigned::toShort() const
{
    return convertToSignedPrimitive<short>(*this);
}

void BigUnsigned::setBlock(Index i, Blk b)
{
    if (b == 0) {
        if (i < length) {
            blocks[i] = 0;
            trimLeadingZeros();
        }
        return;
    }
    if (i >= length) {
        requireLength(
                i + 1ul,
                "BigUnsigned::setBlock: Block index too high for the bit length to fit an Index");
        reserveAndKeep(i + 1);
        for (Index j = length; j < i; j++)
            blocks[j] = 0;
        length = i + 1;
    }
    blocks[i] = b;
}

BigUnsigned::Index BigUnsigned::bitLength() const
{
    if (isZero())
        return 0;
    Index topBits = 0;
    for (Blk top = blocks[length - 1]; top != 0; top >>= 1)
        topBits++;
    return (length - 1) * bitsPerBlock + topBits;
}

bool BigUnsigned::bitAt(Index i) const
{
    return (blockAt(i / bitsPerBlock) >> (i % bitsPerBlock)) & 1;
}

void BigUnsigned::setBit(Index i, bool value)
{
    if (value)
        requireLength(i / bitsPerBlock + 1ul,
                      "BigUnsigned::setBit: Bit index too high for the bit length to fit an Index");
    Blk mask = Blk(1) << (i % bitsPerBlock);
    Blk block = blockAt(i / bitsPerBlock);
    setBlock(i / bitsPerBlock, value ? block | mask : block & ~mask);
}

BigUnsigned::CompareResult BigUnsigned::compareTo(const BigUnsigned &x) const
{
    if (length != x.length)
        return length < x.length ? less : greater;
    return CompareResult(compareBlocks(blocks, x.blocks, length));
}

void BigUnsigned::add(const BigUnsigned &a, const BigUnsigned &b)
{
    if (computedThroughTemporary(*this, &BigUnsigned::add, a, b))
        return;
    if (a.isZero()) {
        *this = b;
        return;
    }
    if (b.isZero()) {
        *this = a;
        return;
    }
    const BigUnsigned &longer = a.length >= b.length ? a : b;
    const BigUnsigned &shorter = a.length >= b.length ? b : a;
    if (longer.length == maxBlocks && carriesOffTheTop(longer, shorter))
        throw "BigUnsigned::add: Result too long for its bit length to fit an Index";
    reserve(longer.length + 1);
    length = longer.length + 1;
    bool carry = addBlocks(blocks, longer.blocks, shorter.blocks, shorter.length, false);
    Index rest = longer.length - shorter.length;
    copyBlocks(blocks + shorter.length, longer.blocks + shorter.length, rest);
    if (carry)
        carry = incrementBlocks(blocks + shorter.length, rest);
    if (carry)
        blocks[length - 1] = 1;
    else
        length--;
}

void BigUnsigned::subtract(const BigUnsigned &a, const BigUnsigned &b)
{
    if (computedThroughTemporary(*this, &BigUnsigned::subtract, a, b))
        return;
    if (b.isZero()) {
        *this = a;
        return;
    }
    if (a.length < b.length)
        throw negativeResultText;
    reserve(a.length);
    length = a.length;
    bool borrow = subtractBlocks(blocks, a.blocks, b.blocks, b.length, false);
    Index rest = a.length - b.length;
    copyBlocks(blocks + b.length, a.blocks + b.length, rest);
    if (borrow)
        borrow = decrementBlocks(blocks + b.length, rest);
    if (borrow) {
        // Deliberate: the receiver is left zero, a known state, when the borrow runs off the top.
        length = 0;
        throw negativeResultText;
    }
    trimLeadingZeros();
}

void BigUnsigned::bitAnd(const BigUnsigned &a, const BigUnsigned &b)
{
    if (computedThroughTemporary(*this, &BigUnsigned::bitAnd, a, b))
        return;
    const Index shorterLength = a.length < b.length ? a.length : b.length;
    reserve(shorterLength);
    length = shorterLength;
    for (Index i = 0; i < length; i++)
        blocks[i] = a.blocks[i] & b.blocks[i];
    trimLeadingZeros();
}

void BigUnsigned::bitOr(const BigUnsigned &a, const BigUnsigned &b)
{
    if (computedThroughTemporary(*this, &BigUnsigned::bitOr, a, b))
        return;
    const BigUnsigned &longer = a.length >= b.length ? a : b;
    const BigUnsigned &shorter = a.length >= b.length ? b : a;
    reserve(longer.length);
    for (Index i = 0; i < shorter.length; i++)
        blocks[i] = a.blocks[i] | b.blocks[i];
    copyBlocks(blocks + shorter.length, longer.blocks + shorter.length,
               longer.length - shorter.length);
    length = longer.length;
}

void BigUnsigned::bitXor(const BigUnsigned &a, const BigUnsigned &b)
{
    if (computedThroughTemporary(*this, &BigUnsigned::bitXor, a, b))
        return;
    const BigUnsigned &longer = a.length >= b.length ? a : b;
    const BigUnsigned &shorter = a.length >= b.length ? b : a;
    reserve(longer.length);
    for (Index i = 0; i < shorter.length; i++)
        blocks[i] = a.blocks[i] ^ b.blocks[i];
    copyBlocks(blocks + shorter.length, longer.blocks + shorter.length,
               longer.length - shorter.length);
    length = longer.length;
    trimLeadingZeros();
}

void BigUnsigned::bitShiftLeft(const BigUnsigned &a, int n)
{
    if (computedThroughTemporary(*this, &BigUnsigned::bitShiftLeft, a, n))
        return;
    if (n < 0) {
        if (n == INT_MIN)
            throw "BigUnsigned::bitShiftLeft: Pathological shift amount not implemented";
        bitShiftRight(a, -n);
        return;
    }
    const Index wholeBlocks = Index(n) / bitsPerBlock;
    const unsigned bits = Index(n) % bitsPerBlock;
    const bool topBlockKept =
            bits > 0 && a.length > 0 && a.blocks[a.length - 1] >> (bitsPerBlock - bits) != 0;
    requireLength(a.length + wholeBlocks + (topBlockKept ? 1ul : 0ul),
                  "BigUnsigned::bitShiftLeft: Result too long for its bit length to fit an Index");
    reserve(a.length + wholeBlocks + 1);
    length = a.length + wholeBlocks + 1;
    for (Index i = 0; i < wholeBlocks; i++)
        blocks[i] = 0;
    for (Index j = 0; j <= a.length; j++)
        blocks[wholeBlocks + j] = shiftedBlock(a.blocks, a.length, j, bits);
    // Deliberate: only one top block is dropped, so zero shifted left by 64 keeps two zero blocks.
    if (blocks[length - 1] == 0)
        length--;
}

void BigUnsigned::bitShiftRight(const BigUnsigned &a, int n)
{
    if (computedThroughTemporary(*this, &BigUnsigned::bitShiftRight, a, n))
        return;
    if (n < 0) {
        if (n == INT_MIN)
            throw "BigUnsigned::bitShiftRight: Pathological shift amount not implemented";
        bitShiftLeft(a, -n);
        return;
    }
    // A right shift by whole blocks, rounded up, then a left shift within blocks.
    const Index droppedBlocks = (Index(n) + bitsPerBlock - 1) / bitsPerBlock;
    const unsigned bits = droppedBlocks * bitsPerBlock - Index(n);
    if (droppedBlocks >= a.length + 1) {
        length = 0;
        return;
    }
    reserve(a.length + 1 - droppedBlocks);
    length = a.length + 1 - droppedBlocks;
    for (Index j = droppedBlocks; j <= a.length; j++)
        blocks[j - droppedBlocks] = shiftedBlock(a.blocks, a.length, j, bits);
    if (blocks[length - 1] == 0)
        length--;
}

BigUnsigned &BigUnsigned::operator++()
{
    if (length == maxBlocks && carriesOffTheTop(*this, BigUnsigned(1u)))
        throw "BigUnsigned::operator ++(): Result too long for its bit length to fit an Index";
    if (incrementBlocks(blocks, length)) {
        reserveAndKeep(length + 1);
        blocks[length] = 1;
        length++;
    }
    return *this;
}

BigUnsigned &BigUnsigned::operator--()
{
    if (isZero())
        throw "BigUnsigned::operator --(): Cannot decrement an unsigned zero";
    decrementBlocks(blocks, length);
    if (blocks[length - 1] == 0)
        length--;
    return *this;
}

void BigUnsigned::operator++(int)
{
    operator++();
}

void BigUnsigned::operator--(int)
{
    operator--();
}

BigUnsigned BigUnsigned::operator+(const BigUnsigned &x) const
{
    BigUnsigned result;
    result.add(*this, x);
    return result;
}

BigUnsigned BigUnsigned::operator-(const BigUnsigned &x) const
{
    BigUnsigned result;
    result.subtract(*this, x);
    return result;
}

BigUnsigned BigUnsigned::operator*(const BigUnsigned &x) const
{
    BigUnsigned result;
    result.multiply(*this, x);
    return result;
}

BigUnsigned BigUnsigned::operator/(const BigUnsigned &x) const
{
    if (x.isZero())
        throw "BigUnsigned::operator /: division by zero";
    BigUnsigned quotient;
    BigUnsigned remainder(*this);
    remainder.divideWithRemainder(x, quotient);
    return quotient;
}

BigUnsigned BigUnsigned::operator%(const BigUnsigned &x) const
{
    if (x.isZero())
        throw "BigUnsigned::operator %: division by zero";
    BigUnsigned quotient;
    BigUnsigned remainder(*this);
    remainder.divideWithRemainder(x, quotient);
    return remainder;
}

BigUnsigned BigUnsigned::operator&(const BigUnsigned &x) const
{
    BigUnsigned result;
    result.bitAnd(*this, x);
    return result;
}

BigUnsigned BigUnsigned::operator|(const BigUnsigned &x) const
{
    BigUnsigned result;
    result.bitOr(*this, x);
    return result;
}

BigUnsigned BigUnsigned::operator^(const BigUnsigned &x) const
{
    BigUnsigned result;
    result.bitXor(*this, x);
    return result;
}

BigUnsigned BigUnsigned::operator<<(int n) const
{
    BigUnsigned result;
    result.bitShiftLeft(*this, n);
    return result;
}

BigUnsigned BigUnsigned::operator>>(int n) const
{
    BigUnsigned result;
    result.bitShiftRight(*this, n);
    return result;
}

BigUnsigned &BigUnsigned::operator+=(const BigUnsigned &x)
{
    add(*this, x);
    return *this;
}

BigUnsigned &BigUnsigned::operator-=(const BigUnsigned &x)
{
    subtract(*this, x);
    return *this;
}

BigUnsigned &BigUnsigned::operator*=(const BigUnsigned &x)
{
    multiply(*this, x);
    return *this;
}

BigUnsigned &BigUnsigned::operator/=(const BigUnsigned &x)
{
    if (x.isZero())
        throw "BigUnsigned::operator /=: division by zero";
    // Divides in place, then overwrites the remainder with the quotient.
    BigUnsigned quotient;
    divideWithRemainder(x, quotient);
    *this = quotient;
    return *this;
}

BigUnsigned &BigUnsigned::operator%=(const BigUnsigned &x)
{
    if (x.isZero())
        throw "BigUnsigned::operator %=: division by zero";
    BigUnsigned quotient;
    divideWithRemainder(x, quotient);
    return *this;
}

BigUnsigned &BigUnsigned::operator&=(const BigUnsigned &x)
{
    bitAnd(*this, x);
    return *this;
}

BigUnsigned &BigUnsigned::operator|=(const BigUnsigned &x)
{
    bitOr(*this, x);
    return *this;
}

BigUnsigned &BigUnsigned::operator^=(const BigUnsigned &x)
{
    bitXor(*this, x);
    return *this;
}

BigUnsigned &BigUnsigned::operator<<=(int n)
{
    bitShiftLeft(*this, n);
    return *this;
}

BigUnsigned &BigUnsigned::operator>>=(int n)
{
    bitShiftRight(*this, n);
    return *this;
}
