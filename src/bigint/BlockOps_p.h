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
// The most blocks a magnitude may hold: its bit length, like every bit index, must fit an Index.
constexpr Index maxBlocks = Index(-1) / bitsPerBlock;

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

} // namespace BlockOps

#endif // ORVEX_BIGINT_BLOCKOPS_P_H
