// Internal to the library; not installed.
#ifndef ORVEX_BIGINT_BLOCKOPS_P_H
#define ORVEX_BIGINT_BLOCKOPS_P_H

#include "bigint/BigUnsigned.h"

#include <cassert>
#include <cstring>

// Loops over little-endian block arrays, shared by the algorithms of BigUnsigned. They allocate
// nothing, throw nothing and ignore normal form; the caller sizes every array.
// Carries and borrows are bool, derived by unsigned comparison; no wider type.
namespace BlockOps {

using Blk = BigUnsigned::Blk;
using Index = BigUnsigned::Index;

constexpr unsigned bitsPerBlock = 32;
// The most blocks a magnitude may hold: its bit length, like every bit index, must fit an Index.
constexpr Index maxBlocks = Index(-1) / bitsPerBlock;

template <class Limb>
inline void copyBlocks(Limb *result, const Limb *x, Index n)
{
    for (Index i = 0; i < n; i++)
        result[i] = x[i];
}

// -1, 0 or 1 as x is below, equal to or above y, both n blocks long.
template <class Limb>
inline int compareBlocks(const Limb *x, const Limb *y, Index n)
{
    for (Index i = n; i > 0; i--) {
        if (x[i - 1] != y[i - 1])
            return x[i - 1] < y[i - 1] ? -1 : 1;
    }
    return 0;
}

// result = x + y + carry over n blocks; returns the carry out. result may be x or y.
template <class Limb>
inline bool addBlocks(Limb *result, const Limb *x, const Limb *y, Index n, bool carry)
{
    for (Index i = 0; i < n; i++) {
        Limb sum = x[i] + y[i];
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
template <class Limb>
inline bool subtractBlocks(Limb *result, const Limb *x, const Limb *y, Index n, bool borrow)
{
    for (Index i = 0; i < n; i++) {
        Limb difference = x[i] - y[i];
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
template <class Limb>
inline bool incrementBlocks(Limb *x, Index n)
{
    for (Index i = 0; i < n; i++) {
        if (++x[i] != 0)
            return false;
    }
    return true;
}

// x -= 1 over n blocks, stopping where the borrow stops; returns the borrow out of the top.
template <class Limb>
inline bool decrementBlocks(Limb *x, Index n)
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

// Fast-path primitives. They work on limbs, which are blocks or, where the compiler has a 128-bit
// type, words of two blocks, and form each limb product in double width; a carry here is a whole
// limb, not a bool.

template <class Limb>
struct DoubleWidth;
template <>
struct DoubleWidth<Blk>
{
    typedef unsigned long long Type;
};

#ifdef __SIZEOF_INT128__
typedef unsigned long long Word;
template <>
struct DoubleWidth<Word>
{
    __extension__ typedef unsigned __int128 Type;
};
#else
typedef Blk Word;
#endif

template <class Limb>
constexpr unsigned bitsPerLimb = 8 * sizeof(Limb);

template <class Limb>
inline typename DoubleWidth<Limb>::Type joinLimbs(Limb high, Limb low)
{
    return typename DoubleWidth<Limb>::Type(high) << bitsPerLimb<Limb> | low;
}

template <class Limb>
inline Limb highLimb(typename DoubleWidth<Limb>::Type w)
{
    return Limb(w >> bitsPerLimb<Limb>);
}

// Number of zero bits above the top set bit of a non-zero limb.
template <class Limb>
inline unsigned leadingZeroBits(Limb x)
{
    assert(x != 0);
    unsigned n = 0;
    for (; !(x >> (bitsPerLimb<Limb> - 1)); x <<= 1)
        n++;
    return n;
}

// result[0..n) += x[0..n) * y; returns the limb carried out of the top.
template <class Limb>
inline Limb multiplyAddLimb(Limb *result, const Limb *x, Index n, Limb y)
{
    typedef typename DoubleWidth<Limb>::Type Double;
    Limb carry = 0;
    for (Index i = 0; i < n; i++) {
        const Double t = Double(x[i]) * y + result[i] + carry;
        result[i] = Limb(t);
        carry = highLimb<Limb>(t);
    }
    return carry;
}

// result[0..n) -= x[0..n) * y; returns the limb borrowed from above the top.
template <class Limb>
inline Limb multiplySubtractLimb(Limb *result, const Limb *x, Index n, Limb y)
{
    typedef typename DoubleWidth<Limb>::Type Double;
    Limb borrow = 0;
    for (Index i = 0; i < n; i++) {
        const Double product = Double(x[i]) * y + borrow;
        const Limb low = Limb(product);
        borrow = highLimb<Limb>(product) + (result[i] < low);
        result[i] -= low;
    }
    return borrow;
}

// result[0..xn+yn) = x * y by rows of limb products; result may not overlap x or y.
template <class Limb>
inline void multiplySchoolbook(Limb *result, const Limb *x, Index xn, const Limb *y, Index yn)
{
    for (Index i = 0; i < xn + yn; i++)
        result[i] = 0;
    for (Index i = 0; i < xn; i++)
        result[i + yn] = multiplyAddLimb(result + i, y, yn, x[i]);
}

// result[0..n) = x[0..n) shifted left by k bits (0 < k < limb width); returns the bits pushed out
// of the top. result may be x.
template <class Limb>
inline Limb shiftLeft(Limb *result, const Limb *x, Index n, unsigned k)
{
    assert(k > 0 && k < bitsPerLimb<Limb>);
    const Limb out = n > 0 ? x[n - 1] >> (bitsPerLimb<Limb> - k) : 0;
    for (Index i = n; i > 1; i--)
        result[i - 1] = x[i - 1] << k | x[i - 2] >> (bitsPerLimb<Limb> - k);
    if (n > 0)
        result[0] = x[0] << k;
    return out;
}

// result[0..n) = x[0..n) shifted right by k bits (0 < k < limb width), zeros coming in at the
// top. result may be x.
template <class Limb>
inline void shiftRight(Limb *result, const Limb *x, Index n, unsigned k)
{
    assert(k > 0 && k < bitsPerLimb<Limb>);
    for (Index i = 0; i + 1 < n; i++)
        result[i] = x[i] >> k | x[i + 1] << (bitsPerLimb<Limb> - k);
    if (n > 0)
        result[n - 1] = x[n - 1] >> k;
}

// result[0..2n) = x * x: each cross product once, doubled, then the squares of the limbs added;
// result may not overlap x.
template <class Limb>
inline void squareSchoolbook(Limb *result, const Limb *x, Index n)
{
    typedef typename DoubleWidth<Limb>::Type Double;
    for (Index i = 0; i < 2 * n; i++)
        result[i] = 0;
    for (Index i = 0; i + 1 < n; i++)
        result[i + n] = multiplyAddLimb(result + 2 * i + 1, x + i + 1, n - i - 1, x[i]);
    const Limb out = n > 0 ? shiftLeft(result, result, 2 * n, 1) : 0;
    assert(out == 0);
    (void)out;
    Limb carry = 0;
    for (Index i = 0; i < n; i++) {
        const Double square = Double(x[i]) * x[i];
        const Double low = Double(result[2 * i]) + Limb(square) + carry;
        result[2 * i] = Limb(low);
        const Double high =
                Double(result[2 * i + 1]) + highLimb<Limb>(square) + highLimb<Limb>(low);
        result[2 * i + 1] = Limb(high);
        carry = highLimb<Limb>(high);
    }
    assert(carry == 0);
}

// Adds x[0..xn) into target[0..targetLength), xn <= targetLength, carrying on; returns the carry
// out of the top.
template <class Limb>
inline bool addInto(Limb *target, Index targetLength, const Limb *x, Index xn)
{
    assert(xn <= targetLength);
    return addBlocks(target, target, x, xn, false)
            && incrementBlocks(target + xn, targetLength - xn);
}

// Scratch limbs multiplyKaratsuba needs for two n-limb operands.
inline Index karatsubaScratchSize(Index n, Index threshold)
{
    Index size = 0;
    for (; n >= threshold && n >= 4; n = n - n / 2)
        size += 6 * (n - n / 2) + 2;
    return size;
}

// result[0..2n) = x[0..n) * y[0..n) by Karatsuba's three half-size products, down to rows of
// limb products below `threshold` limbs. scratch holds karatsubaScratchSize(n, threshold) limbs;
// result overlaps neither the operands nor the scratch.
template <class Limb>
inline void multiplyKaratsuba(Limb *result, const Limb *x, const Limb *y, Index n, Index threshold,
                              Limb *scratch)
{
    if (n < threshold || n < 4) {
        if (x == y)
            squareSchoolbook(result, x, n);
        else
            multiplySchoolbook(result, x, n, y, n);
        return;
    }
    // x = x1 * B^low + x0 with x0 of `low` limbs, x1 of `high` (= low or low + 1) limbs.
    const Index low = n / 2;
    const Index high = n - low;
    Limb *xDifference = scratch;
    Limb *yDifference = xDifference + high;
    Limb *middle = yDifference + high; // 2 * high + 1 limbs
    Limb *cross = middle + 2 * high + 1; // 2 * high limbs
    Limb *deeper = cross + 2 * high;

    // |x0 - x1| and |y0 - y1|, remembering whether the product of the differences is negative.
    bool negative = false;
    for (int operand = 0; operand < 2; operand++) {
        const Limb *v = operand == 0 ? x : y;
        Limb *difference = operand == 0 ? xDifference : yDifference;
        copyBlocks(difference, v, low); // x0 or y0 widened to `high` limbs
        if (high != low)
            difference[low] = 0;
        const bool lowIsSmaller = compareBlocks(difference, v + low, high) < 0;
        if (lowIsSmaller)
            subtractBlocks(difference, v + low, difference, high, false);
        else
            subtractBlocks(difference, difference, v + low, high, false);
        negative ^= lowIsSmaller;
    }

    multiplyKaratsuba(result, x, y, low, threshold, deeper);
    multiplyKaratsuba(result + 2 * low, x + low, y + low, high, threshold, deeper);
    // A square stays a square: both differences are the same.
    multiplyKaratsuba(cross, xDifference, x == y ? xDifference : yDifference, high, threshold,
                      deeper);

    // middle = x0*y0 + x1*y1 -+ |x0 - x1| * |y0 - y1|, which is x0*y1 + x1*y0 >= 0.
    copyBlocks(middle, result + 2 * low, 2 * high);
    middle[2 * high] = 0;
    addInto(middle, 2 * high + 1, result, 2 * low);
    if (negative)
        addInto(middle, 2 * high + 1, cross, 2 * high);
    else if (subtractBlocks(middle, middle, cross, 2 * high, false))
        decrementBlocks(middle + 2 * high, 1);
    bool carry = addInto(result + low, 2 * n - low, middle, 2 * high + 1);
    assert(!carry);
    (void)carry;
}

// quotient[0..n) = x[0..n) / d, d non-zero; returns the remainder. quotient may be x.
template <class Limb>
inline Limb divideBySingle(Limb *quotient, const Limb *x, Index n, Limb d)
{
    typedef typename DoubleWidth<Limb>::Type Double;
    assert(d != 0);
    Limb remainder = 0;
    for (Index i = n; i > 0; i--) {
        const Double current = joinLimbs(remainder, x[i - 1]);
        quotient[i - 1] = Limb(current / d);
        remainder = Limb(current % d);
    }
    return remainder;
}

// x[0..n) = x * m + a; returns the limb carried out of the top.
template <class Limb>
inline Limb multiplyBySingleAdd(Limb *x, Index n, Limb m, Limb a)
{
    typedef typename DoubleWidth<Limb>::Type Double;
    Limb carry = a;
    for (Index i = 0; i < n; i++) {
        const Double t = Double(x[i]) * m + carry;
        x[i] = Limb(t);
        carry = highLimb<Limb>(t);
    }
    return carry;
}

// Division by one limb d through a precomputed reciprocal instead of a division per limb (the
// two-by-one step of Moller and Granlund).
template <class Limb>
struct SingleDivisor
{
    typedef typename DoubleWidth<Limb>::Type Double;

    explicit SingleDivisor(Limb divisor) : shift(leadingZeroBits(divisor)), d(divisor << shift)
    {
        reciprocal = Limb(~Double(0) / d - (Double(1) << bitsPerLimb<Limb>));
    }

    // quotient[0..n) = x[0..n) / divisor, returning the remainder; quotient may be x.
    Limb divide(Limb *quotient, const Limb *x, Index n) const
    {
        Limb r = 0; // the remainder so far, shifted like d
        for (Index i = n; i > 0; i--) {
            const Limb high = shift ? Limb(r | x[i - 1] >> (bitsPerLimb<Limb> - shift)) : r;
            const Limb low = Limb(x[i - 1] << shift);
            Double q = Double(reciprocal) * high + joinLimbs(high, low);
            Limb q1 = highLimb<Limb>(q) + 1;
            r = Limb(low - q1 * d);
            if (r > Limb(q)) {
                q1--;
                r += d;
            }
            if (r >= d) {
                q1++;
                r -= d;
            }
            quotient[i - 1] = q1;
        }
        return r >> shift;
    }

    unsigned shift;
    Limb d;
    Limb reciprocal;
};

// Knuth's algorithm D: u[0..un] (un + 1 limbs, the top one a guard) divided by v[0..vn), where
// 2 <= vn <= un and v's top bit is set. quotient[0..un-vn] receives the quotient and u[0..vn) the
// remainder; u's limbs above are left zero.
template <class Limb>
inline void divideNormalised(Limb *quotient, Limb *u, Index un, const Limb *v, Index vn)
{
    typedef typename DoubleWidth<Limb>::Type Double;
    assert(vn >= 2 && vn <= un && (v[vn - 1] >> (bitsPerLimb<Limb> - 1)) == 1);
    const Limb vTop = v[vn - 1];
    const Limb vNext = v[vn - 2];
    for (Index j = un - vn + 1; j > 0;) {
        j--;
        // Estimate the quotient limb from the top two limbs, then correct it with the third:
        // afterwards it is exact or one too large.
        const Double top = joinLimbs(u[j + vn], u[j + vn - 1]);
        Double estimate = top / vTop;
        Double rest = top % vTop;
        while (highLimb<Limb>(estimate) != 0
               || estimate * vNext > joinLimbs(Limb(rest), u[j + vn - 2])) {
            estimate--;
            rest += vTop;
            if (highLimb<Limb>(rest) != 0)
                break;
        }
        Limb q = Limb(estimate);
        const Limb borrow = multiplySubtractLimb(u + j, v, vn, q);
        const bool tooLarge = u[j + vn] < borrow;
        u[j + vn] -= borrow;
        if (tooLarge) {
            q--;
            u[j + vn] += addBlocks(u + j, u + j, v, vn, false) ? 1 : 0;
        }
        quotient[j] = q;
    }
}

// words[0..(n+1)/2) from blocks x[0..n), two blocks a word, the lower block in the low half; an
// odd count gets a zero high half on top.
inline void blocksToWords(Word *words, const Blk *x, Index n)
{
    constexpr Index blocksPerWord = sizeof(Word) / sizeof(Blk);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    // Little-endian: two blocks in a row are already the word, low block first.
    if (n % blocksPerWord != 0)
        words[n / blocksPerWord] = 0;
    std::memcpy(words, x, n * sizeof(Blk));
#else
    for (Index i = 0; i < n; i++) {
        const Word part = Word(x[i]) << (i % blocksPerWord * bitsPerBlock);
        words[i / blocksPerWord] = i % blocksPerWord == 0 ? part : words[i / blocksPerWord] | part;
    }
#endif
}

// blocks[0..n) from the words holding them.
inline void wordsToBlocks(Blk *blocks, const Word *words, Index n)
{
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    std::memcpy(blocks, words, n * sizeof(Blk));
#else
    constexpr Index blocksPerWord = sizeof(Word) / sizeof(Blk);
    for (Index i = 0; i < n; i++)
        blocks[i] = Blk(words[i / blocksPerWord] >> (i % blocksPerWord * bitsPerBlock));
#endif
}

// Limbs needed for n blocks.
constexpr Index wordsFor(Index n)
{
    return Index((n + sizeof(Word) / sizeof(Blk) - 1) / (sizeof(Word) / sizeof(Blk)));
}

} // namespace BlockOps

#endif // ORVEX_BIGINT_BLOCKOPS_P_H
