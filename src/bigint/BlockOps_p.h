// Internal to the library; not installed.
#ifndef ORVEX_BIGINT_BLOCKOPS_P_H
#define ORVEX_BIGINT_BLOCKOPS_P_H

#include "bigint/BigUnsigned.h"

#include <cassert>

// Loops over little-endian block arrays, shared by the algorithms of BigUnsigned. They allocate
// nothing, throw nothing and ignore normal form; the caller sizes every array.
// Carries and borrows are bool, derived by unsigned comparison; no wider type.
namespace BlockOps {

using Blk = BigUnsigned::Blk;
using Index = BigUnsigned::Index;

constexpr unsigned bitsPerBlock = 32;

inline void copyBlocks(Blk *result, const Blk *x, Index n)
{
    for (Index i = 0; i < n; i++)
        result[i] = x[i];
}

// -1, 0 or 1 as x is below, equal to or above y, both n blocks long.
inline int compareBlocks(const Blk *x, const Blk *y, Index n)
{
    for (Index i = n; i > 0; i--) {
        if (x[i - 1] != y[i - 1])
            return x[i - 1] < y[i - 1] ? -1 : 1;
    }
    return 0;
}

// result = x + y + carry over n blocks; returns the carry out. result may be x or y.
inline bool addBlocks(Blk *result, const Blk *x, const Blk *y, Index n, bool carry)
{
    for (Index i = 0; i < n; i++) {
        Blk sum = x[i] + y[i];
        bool carryOut = sum < x[i];
        if (carry) {
            sum++;
            carryOut |= sum == 0;
        }
        result[i] = sum;
        carry = carryOut;
    }
    return carry;
}

// result = x - y - borrow over n blocks; returns the borrow out. result may be x or y.
inline bool subtractBlocks(Blk *result, const Blk *x, const Blk *y, Index n, bool borrow)
{
    for (Index i = 0; i < n; i++) {
        Blk difference = x[i] - y[i];
        bool borrowOut = difference > x[i];
        if (borrow) {
            borrowOut |= difference == 0;
            difference--;
        }
        result[i] = difference;
        borrow = borrowOut;
    }
    return borrow;
}

// x += 1 over n blocks, stopping where the carry stops; returns the carry out of the top.
inline bool incrementBlocks(Blk *x, Index n)
{
    for (Index i = 0; i < n; i++) {
        if (++x[i] != 0)
            return false;
    }
    return true;
}

// x -= 1 over n blocks, stopping where the borrow stops; returns the borrow out of the top.
inline bool decrementBlocks(Blk *x, Index n)
{
    for (Index i = 0; i < n; i++) {
        if (x[i]-- != 0)
            return false;
    }
    return true;
}

// Block j of x shifted left by k bits across block borders; j may be xLength (the bits pushed out
// of the top block).
inline Blk shiftedBlock(const Blk *x, Index xLength, Index j, unsigned k)
{
    assert(j <= xLength && k < bitsPerBlock);
    Blk high = (j > 0 && k > 0) ? x[j - 1] >> (bitsPerBlock - k) : 0;
    Blk low = j != xLength ? x[j] << k : 0;
    return high | low;
}

// target += x << k, x being xLength blocks: adds xLength + 1 shifted blocks, then carries on into
// the blocks below targetLength. Returns the carry out of the top (none when the sum fits).
inline bool addShiftedInto(Blk *target, Index targetLength, const Blk *x, Index xLength, unsigned k)
{
    assert(xLength < targetLength);
    bool carry = false;
    for (Index j = 0; j <= xLength; j++) {
        Blk sum = target[j] + shiftedBlock(x, xLength, j, k);
        bool carryOut = sum < target[j];
        if (carry) {
            sum++;
            carryOut |= sum == 0;
        }
        target[j] = sum;
        carry = carryOut;
    }
    return carry && incrementBlocks(target + xLength + 1, targetLength - xLength - 1);
}

// result = source - (x << k), x being xLength blocks: subtracts xLength + 1 shifted blocks, then
// borrows on from the source blocks below borrowLimit. Writes result[0] up to result[*end - 1] only.
// Returns the borrow left over: true when the shifted x is larger than what was written.
inline bool subtractShiftedFrom(Blk *result, const Blk *source, Index borrowLimit, const Blk *x,
                                Index xLength, unsigned k, Index *end)
{
    bool borrow = false;
    Index j = 0;
    for (; j <= xLength; j++) {
        Blk difference = source[j] - shiftedBlock(x, xLength, j, k);
        bool borrowOut = difference > source[j];
        if (borrow) {
            borrowOut |= difference == 0;
            difference--;
        }
        result[j] = difference;
        borrow = borrowOut;
    }
    for (; borrow && j < borrowLimit; j++) {
        borrow = source[j] == 0;
        result[j] = source[j] - 1;
    }
    *end = j;
    return borrow;
}

// Fast-path primitives. They work on blocks as the loops above do, but form each block product
// in 64 bits (the double width of a block), so a carry here is a whole block, not a bool.

using Wide = unsigned long long;
static_assert(sizeof(Wide) * 8 == 2 * bitsPerBlock, "a product of two blocks must fit a Wide");

inline Blk lowBlock(Wide w)
{
    return Blk(w);
}

inline Blk highBlock(Wide w)
{
    return Blk(w >> bitsPerBlock);
}

inline Wide joinBlocks(Blk high, Blk low)
{
    return Wide(high) << bitsPerBlock | low;
}

// Number of zero bits above the top set bit of a non-zero block.
inline unsigned leadingZeroBits(Blk x)
{
    assert(x != 0);
    unsigned n = 0;
    for (; !(x & (Blk(1) << (bitsPerBlock - 1))); x <<= 1)
        n++;
    return n;
}

// result[0..n) += x[0..n) * y; returns the block carried out of the top.
inline Blk multiplyAddBlock(Blk *result, const Blk *x, Index n, Blk y)
{
    Blk carry = 0;
    for (Index i = 0; i < n; i++) {
        const Wide t = Wide(x[i]) * y + result[i] + carry;
        result[i] = lowBlock(t);
        carry = highBlock(t);
    }
    return carry;
}

// result[0..n) -= x[0..n) * y; returns the block borrowed from above the top.
inline Blk multiplySubtractBlock(Blk *result, const Blk *x, Index n, Blk y)
{
    Blk borrow = 0;
    for (Index i = 0; i < n; i++) {
        const Wide product = Wide(x[i]) * y + borrow;
        const Blk low = lowBlock(product);
        borrow = highBlock(product) + (result[i] < low);
        result[i] -= low;
    }
    return borrow;
}

// result[0..xn+yn) = x * y by rows of block products; result may not overlap x or y.
inline void multiplyBlocksSchoolbook(Blk *result, const Blk *x, Index xn, const Blk *y, Index yn)
{
    for (Index i = 0; i < xn + yn; i++)
        result[i] = 0;
    for (Index i = 0; i < xn; i++)
        result[i + yn] = multiplyAddBlock(result + i, y, yn, x[i]);
}

// Adds x[0..xn) into target[0..targetLength), xn <= targetLength, carrying on; returns the carry
// out of the top.
inline bool addBlocksInto(Blk *target, Index targetLength, const Blk *x, Index xn)
{
    assert(xn <= targetLength);
    return addBlocks(target, target, x, xn, false)
            && incrementBlocks(target + xn, targetLength - xn);
}

// Scratch blocks multiplyBlocksKaratsuba needs for two n-block operands.
inline Index karatsubaScratchSize(Index n, Index threshold)
{
    Index size = 0;
    for (; n >= threshold && n >= 4; n = n - n / 2)
        size += 6 * (n - n / 2) + 2;
    return size;
}

// result[0..2n) = x[0..n) * y[0..n) by Karatsuba's three half-size products, down to rows of
// block products below `threshold` blocks. scratch holds karatsubaScratchSize(n, threshold)
// blocks; result overlaps neither the operands nor the scratch.
inline void multiplyBlocksKaratsuba(Blk *result, const Blk *x, const Blk *y, Index n,
                                    Index threshold, Blk *scratch)
{
    if (n < threshold || n < 4) {
        multiplyBlocksSchoolbook(result, x, n, y, n);
        return;
    }
    // x = x1 * B^low + x0 with x0 of `low` blocks, x1 of `high` (= low or low + 1) blocks.
    const Index low = n / 2;
    const Index high = n - low;
    Blk *xDifference = scratch;
    Blk *yDifference = xDifference + high;
    Blk *middle = yDifference + high; // 2 * high + 1 blocks
    Blk *cross = middle + 2 * high + 1; // 2 * high blocks
    Blk *deeper = cross + 2 * high;

    // |x0 - x1| and |y0 - y1|, remembering whether the product of the differences is negative.
    bool negative = false;
    for (int operand = 0; operand < 2; operand++) {
        const Blk *v = operand == 0 ? x : y;
        Blk *difference = operand == 0 ? xDifference : yDifference;
        Blk *padded = difference; // x0 or y0 widened to `high` blocks
        copyBlocks(padded, v, low);
        if (high != low)
            padded[low] = 0;
        const bool lowIsSmaller = compareBlocks(padded, v + low, high) < 0;
        if (lowIsSmaller)
            subtractBlocks(difference, v + low, padded, high, false);
        else
            subtractBlocks(difference, padded, v + low, high, false);
        negative ^= lowIsSmaller;
    }

    multiplyBlocksKaratsuba(result, x, y, low, threshold, deeper);
    multiplyBlocksKaratsuba(result + 2 * low, x + low, y + low, high, threshold, deeper);
    multiplyBlocksKaratsuba(cross, xDifference, yDifference, high, threshold, deeper);

    // middle = x0*y0 + x1*y1 -+ |x0 - x1| * |y0 - y1|, which is x0*y1 + x1*y0 >= 0.
    copyBlocks(middle, result + 2 * low, 2 * high);
    middle[2 * high] = 0;
    addBlocksInto(middle, 2 * high + 1, result, 2 * low);
    if (negative)
        addBlocksInto(middle, 2 * high + 1, cross, 2 * high);
    else if (subtractBlocks(middle, middle, cross, 2 * high, false))
        decrementBlocks(middle + 2 * high, 1);
    bool carry = addBlocksInto(result + low, 2 * n - low, middle, 2 * high + 1);
    assert(!carry);
    (void)carry;
}

// result[0..n) = x[0..n) shifted left by k bits (0 < k < 32); returns the bits pushed out of the
// top. result may be x.
inline Blk shiftBlocksLeft(Blk *result, const Blk *x, Index n, unsigned k)
{
    assert(k > 0 && k < bitsPerBlock);
    Blk out = 0;
    for (Index i = n; i > 0; i--) {
        const Blk b = x[i - 1];
        if (i == n)
            out = b >> (bitsPerBlock - k);
        result[i - 1] = b << k | (i > 1 ? x[i - 2] >> (bitsPerBlock - k) : 0);
    }
    return out;
}

// result[0..n) = x[0..n) shifted right by k bits (0 < k < 32), zeros coming in at the top.
// result may be x.
inline void shiftBlocksRight(Blk *result, const Blk *x, Index n, unsigned k)
{
    assert(k > 0 && k < bitsPerBlock);
    for (Index i = 0; i < n; i++)
        result[i] = x[i] >> k | (i + 1 < n ? x[i + 1] << (bitsPerBlock - k) : 0);
}

// quotient[0..n) = x[0..n) / d, d non-zero; returns the remainder. quotient may be x.
inline Blk divideBlocksBySingle(Blk *quotient, const Blk *x, Index n, Blk d)
{
    assert(d != 0);
    Wide remainder = 0;
    for (Index i = n; i > 0; i--) {
        const Wide current = remainder << bitsPerBlock | x[i - 1];
        quotient[i - 1] = Blk(current / d);
        remainder = current % d;
    }
    return Blk(remainder);
}

// Knuth's algorithm D: u[0..un] (un + 1 blocks, the top one a guard) divided by v[0..vn), where
// 2 <= vn <= un and v's top bit is set. quotient[0..un-vn] receives the quotient and u[0..vn) the
// remainder; u's blocks above are left zero.
inline void divideBlocksNormalised(Blk *quotient, Blk *u, Index un, const Blk *v, Index vn)
{
    assert(vn >= 2 && vn <= un && (v[vn - 1] >> (bitsPerBlock - 1)) == 1);
    const Blk vTop = v[vn - 1];
    const Blk vNext = v[vn - 2];
    for (Index j = un - vn + 1; j > 0;) {
        j--;
        // Estimate the quotient block from the top two blocks, then correct it with the third:
        // afterwards it is exact or one too large.
        const Wide top = joinBlocks(u[j + vn], u[j + vn - 1]);
        Wide estimate = top / vTop;
        Wide rest = top % vTop;
        while (highBlock(estimate) != 0
               || estimate * vNext > joinBlocks(lowBlock(rest), u[j + vn - 2])) {
            estimate--;
            rest += vTop;
            if (highBlock(rest) != 0)
                break;
        }
        Blk q = lowBlock(estimate);
        const Blk borrow = multiplySubtractBlock(u + j, v, vn, q);
        const bool tooLarge = u[j + vn] < borrow;
        u[j + vn] -= borrow;
        if (tooLarge) {
            q--;
            u[j + vn] += addBlocks(u + j, u + j, v, vn, false) ? 1 : 0;
        }
        quotient[j] = q;
    }
}

} // namespace BlockOps

#endif // ORVEX_BIGINT_BLOCKOPS_P_H
