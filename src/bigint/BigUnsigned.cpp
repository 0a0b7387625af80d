#include "bigint/BigUnsigned.h"

#include "bigint/Aliasing_p.h"
#include "bigint/BlockOps_p.h"
#include "bigint/FastPaths_p.h"

#include <climits>
#include <memory>
#include <utility>

using namespace BlockOps;

std::atomic<bool> BigIntFastPaths::enabled{true};
std::atomic<BigUnsigned::Index> BigIntFastPaths::karatsubaBlocks{karatsubaThreshold};

namespace {

// Thrown texts used at several sites
constexpr const char *negativeNumberText =
        "BigUnsigned constructor: Cannot construct a BigUnsigned from a negative number";
constexpr const char *tooBigText =
        "BigUnsigned::to<Primitive>: Value is too big to fit in the requested type";
constexpr const char *negativeResultText =
        "BigUnsigned::subtract: Negative result in unsigned calculation";

constexpr const char *overLongProductText =
        "BigUnsigned::multiply: Result too long for its bit length to fit an Index";

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

// Fast paths

// Limb storage for a fast path: on the stack when small, else on the heap.
class LimbBuffer
{
public:
    explicit LimbBuffer(Index n) : data(n <= localSize ? local : new Word[n])
    {
        if (data != local)
            heap.reset(data);
    }
    Word *get() { return data; }

private:
    static constexpr Index localSize = 256;
    Word local[localSize];
    std::unique_ptr<Word[]> heap;
    Word *data;
};

// product[0..xn+yn) = x * y in limbs; product overlaps neither operand. Above the threshold the
// longer operand is cut into pieces as long as the shorter, each multiplied by Karatsuba's method.
void multiplyLimbs(Word *product, const Word *x, Index xn, const Word *y, Index yn)
{
    if (xn < yn) {
        std::swap(x, y);
        std::swap(xn, yn);
    }
    const Index threshold =
            wordsFor(BigIntFastPaths::karatsubaBlocks.load(std::memory_order_relaxed));
    if (yn < threshold) {
        if (x == y && xn == yn)
            squareSchoolbook(product, x, xn);
        else
            multiplySchoolbook(product, x, xn, y, yn);
        return;
    }
    LimbBuffer scratch(2 * yn + karatsubaScratchSize(yn, threshold));
    Word *piece = scratch.get();
    for (Index i = 0; i < xn + yn; i++)
        product[i] = 0;
    for (Index at = 0; at < xn; at += yn) {
        const Index pieceLength = xn - at < yn ? xn - at : yn;
        if (pieceLength == yn)
            multiplyKaratsuba(piece, x + at, y, yn, threshold, piece + 2 * yn);
        else
            multiplyLimbs(piece, y, yn, x + at, pieceLength);
        bool carry = addInto(product + at, xn + yn - at, piece, yn + pieceLength);
        assert(!carry);
        (void)carry;
    }
}

// result[0..xn+yn) = x * y; result overlaps neither operand.
void multiplyMagnitudes(Blk *result, const Blk *x, Index xn, const Blk *y, Index yn)
{
    if (xn == 1 || yn == 1) {
        multiplySchoolbook(result, x, xn, y, yn);
        return;
    }
    const Index xw = wordsFor(xn), yw = wordsFor(yn);
    LimbBuffer buffer(2 * (xw + yw));
    Word *wx = buffer.get(), *wy = wx + xw, *product = wy + yw;
    blocksToWords(wx, x, xn);
    if (x == y && xn == yn) // a square: the limb routines see one operand twice, half the products
        wy = wx;
    else
        blocksToWords(wy, y, yn);
    multiplyLimbs(product, wx, xw, wy, yw);
    wordsToBlocks(result, product, xn + yn);
}

// The largest power of the base that fits a limb, and its exponent.
struct LimbChunk
{
    Word power = 1;
    unsigned digits = 0;

    explicit LimbChunk(unsigned base)
    {
        while (power <= Word(~Word(0)) / base) {
            power *= base;
            digits++;
        }
    }
};

} // namespace

BigUnsigned::Index BigIntFastPaths::digitsOf(const BigUnsigned &x, unsigned base,
                                             unsigned short *digits)
{
    const Index blockCount = x.getLength();
    Index n = wordsFor(blockCount);
    LimbBuffer buffer(n);
    Word *w = buffer.get();
    for (Index i = 0; i < n; i++)
        w[i] = 0;
    std::unique_ptr<Blk[]> copy(new Blk[blockCount]);
    for (Index i = 0; i < blockCount; i++)
        copy[i] = x.blockAt(i);
    blocksToWords(w, copy.get(), blockCount);

    const LimbChunk chunk(base);
    const SingleDivisor<Word> divisor(chunk.power);
    Index count = 0;
    while (n > 0) {
        Word part = divisor.divide(w, w, n);
        while (n > 0 && w[n - 1] == 0)
            n--;
        for (unsigned j = 0; j < chunk.digits && (n > 0 || part != 0); j++) {
            digits[count++] = static_cast<unsigned short>(part % base);
            part /= base;
        }
    }
    return count;
}

BigUnsigned BigIntFastPaths::valueOf(const unsigned short *digits, Index count, unsigned base)
{
    const LimbChunk chunk(base);
    // Every digit adds at most 16 bits.
    LimbBuffer buffer(wordsFor(Index((16ul * count + bitsPerBlock - 1) / bitsPerBlock)) + 1);
    Word *w = buffer.get();
    Index n = 0;
    for (Index i = count; i > 0;) {
        const unsigned take = i < chunk.digits ? unsigned(i) : chunk.digits;
        Word part = 0, power = 1;
        for (unsigned j = 0; j < take; j++, i--) {
            part = part * base + digits[i - 1];
            power *= base;
        }
        const Word carry = multiplyBySingleAdd(w, n, power, part);
        if (carry != 0)
            w[n++] = carry;
    }
    const Index blockCount = Index(sizeof(Word) / sizeof(Blk)) * n;
    std::unique_ptr<Blk[]> blocks(new Blk[blockCount + 1]);
    wordsToBlocks(blocks.get(), w, blockCount);
    return BigUnsigned(blocks.get(), blockCount);
}

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

void BigUnsigned::multiply(const BigUnsigned &a, const BigUnsigned &b)
{
    if (computedThroughTemporary(*this, &BigUnsigned::multiply, a, b))
        return;
    if (a.isZero() || b.isZero()) {
        length = 0;
        return;
    }
    // Only the top block may turn out zero: a product two blocks over the limit is refused at
    // once, one block over only once it is known.
    requireLength(a.length + b.length - 1ul, overLongProductText);
    reserve(a.length + b.length);
    length = a.length + b.length;
    if (BigIntFastPaths::takenFor(a, b)) {
        multiplyMagnitudes(blocks, a.blocks, a.length, b.blocks, b.length);
    } else {
        for (Index i = 0; i < length; i++)
            blocks[i] = 0;
        for (Index i = 0; i < a.length; i++) {
            for (unsigned k = 0; k < bitsPerBlock; k++) {
                if ((a.blocks[i] >> k) & 1) {
                    bool carry = addShiftedInto(blocks + i, length - i, b.blocks, b.length, k);
                    assert(!carry);
                    (void)carry;
                }
            }
        }
    }
    if (blocks[length - 1] == 0)
        length--;
    if (length > maxBlocks) {
        // The receiver is left zero, a known state, as subtract leaves it.
        length = 0;
        throw overLongProductText;
    }
}

void BigUnsigned::divideWithRemainder(const BigUnsigned &b, BigUnsigned &q)
{
    if (this == &q)
        throw "BigUnsigned::divideWithRemainder: Cannot write quotient and remainder into the "
              "same variable";
    if (this == &b || &q == &b) {
        BigUnsigned divisor(b);
        divideWithRemainder(divisor, q);
        return;
    }
    // Deliberate: a zero divisor is no error here; the quotient is 0, the remainder the dividend.
    if (b.isZero() || length < b.length) {
        q.length = 0;
        return;
    }

    // Long division in base 2: for every quotient bit from the top, try to subtract the divisor
    // shifted to that bit into the scratch array, and keep the difference when no borrow is left.
    // A guard block on top of the dividend takes the bits the shifted divisor pushes out.
    const Index dividendLength = length;
    const bool fast = BigIntFastPaths::takenFor(*this, b);
    reserveAndKeep(dividendLength + 1);
    length = dividendLength + 1;
    blocks[dividendLength] = 0;
    if (fast) {
        q.reserve(dividendLength - b.length + 1);
        q.length = dividendLength - b.length + 1;
        divideFast(b, q);
        if (q.blocks[q.length - 1] == 0)
            q.length--;
        trimLeadingZeros();
        return;
    }
    std::unique_ptr<Blk[]> scratch(new Blk[dividendLength + 1]);

    q.reserve(dividendLength - b.length + 1);
    q.length = dividendLength - b.length + 1;
    for (Index i = 0; i < q.length; i++)
        q.blocks[i] = 0;

    for (Index i = q.length; i > 0;) {
        i--;
        for (unsigned k = bitsPerBlock; k > 0;) {
            k--;
            Index end;
            bool borrow = subtractShiftedFrom(scratch.get() + i, blocks + i, dividendLength - i,
                                              b.blocks, b.length, k, &end);
            if (!borrow) {
                q.blocks[i] |= Blk(1) << k;
                copyBlocks(blocks + i, scratch.get() + i, end);
            }
        }
    }
    if (q.blocks[q.length - 1] == 0)
        q.length--;
    trimLeadingZeros();
}

// The receiver holds the dividend and a zero guard block on top, q the room for the quotient.
void BigUnsigned::divideFast(const BigUnsigned &b, BigUnsigned &q)
{
    const Index dividendLength = length - 1;
    if (b.length == 1) {
        blocks[0] = divideBySingle(q.blocks, blocks, dividendLength, b.blocks[0]);
        length = 1;
        return;
    }
    const Index un = wordsFor(dividendLength), vn = wordsFor(b.length);
    LimbBuffer buffer(un + 1 + vn + un - vn + 1);
    Word *u = buffer.get(), *v = u + un + 1, *quotient = v + vn;
    blocksToWords(u, blocks, dividendLength);
    u[un] = 0;
    blocksToWords(v, b.blocks, b.length);
    if (vn == 1) {
        u[0] = divideBySingle(quotient, u, un, v[0]);
    } else {
        // Knuth's algorithm D wants the divisor's top bit set: shift both operands by the same
        // amount, and the remainder back at the end.
        const unsigned shift = leadingZeroBits(v[vn - 1]);
        if (shift > 0) {
            shiftLeft(v, v, vn, shift);
            u[un] = shiftLeft(u, u, un, shift);
        }
        divideNormalised(quotient, u, un, v, vn);
        if (shift > 0)
            shiftRight(u, u, vn, shift);
    }
    // The limbs hold at least as many blocks as q and the remainder; the blocks above are zero.
    wordsToBlocks(q.blocks, quotient, q.length);
    wordsToBlocks(blocks, u, b.length);
    length = b.length;
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
