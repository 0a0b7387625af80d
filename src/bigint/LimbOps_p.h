// Internal to the library; not installed.
#ifndef ORVEX_BIGINT_LIMBOPS_P_H
#define ORVEX_BIGINT_LIMBOPS_P_H

#include "bigint/BigUnsigned.h"

#include <cassert>
#include <cstring>

// Loops over little-endian limb arrays for the fast paths. A limb is a word of two blocks where
// the compiler has a 128-bit type (one block elsewhere); limb products are formed in double
// width. Like the block primitives they allocate nothing, throw nothing and ignore normal form;
// the caller sizes every array. Carries and borrows are limbs holding 0 or 1, product carries
// whole limbs.
namespace LimbOps {

using Blk = BigUnsigned::Blk;
using Index = BigUnsigned::Index;

#ifdef __SIZEOF_INT128__
typedef unsigned long long Limb;
__extension__ typedef unsigned __int128 DoubleLimb;
#else
typedef Blk Limb;
typedef unsigned long long DoubleLimb;
#endif

constexpr unsigned bitsPerLimb = 8 * sizeof(Limb);
constexpr Index blocksPerLimb = sizeof(Limb) / sizeof(Blk);

inline DoubleLimb joinLimbs(Limb high, Limb low)
{
    return DoubleLimb(high) << bitsPerLimb | low;
}

inline Limb highLimb(DoubleLimb w)
{
    return Limb(w >> bitsPerLimb);
}

// Limbs needed for n blocks.
constexpr Index limbsFor(Index n)
{
    return Index((n + blocksPerLimb - 1) / blocksPerLimb);
}

// Keeps a copy loop from being vectorised: its operands were mostly stored a limb at a time just
// before, and a wider load of such stores waits until they reach the cache.
inline void keepScalar(Limb &limb)
{
#ifdef __GNUC__
    __asm__("" : "+r"(limb));
#else
    (void)limb;
#endif
}

// limbs[0..limbsFor(n)) from blocks x[0..n), the lower block in the low half; an odd count gets
// a zero high half on top.
inline void blocksToLimbs(Limb *limbs, const Blk *x, Index n)
{
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    // Little-endian: consecutive blocks already are the limb, low block first. A limb at a time,
    // for the reason keepScalar gives.
    for (Index i = 0; i < n / blocksPerLimb; i++) {
        Limb limb;
        std::memcpy(&limb, x + i * blocksPerLimb, sizeof(Limb));
        keepScalar(limb);
        limbs[i] = limb;
    }
    if (n % blocksPerLimb != 0)
        limbs[n / blocksPerLimb] = x[n - 1];
#else
    for (Index i = 0; i < n; i++) {
        const Limb part = Limb(x[i]) << (i % blocksPerLimb * 32);
        limbs[i / blocksPerLimb] = i % blocksPerLimb == 0 ? part : limbs[i / blocksPerLimb] | part;
    }
#endif
}

// blocks[0..n) from the limbs holding them.
inline void limbsToBlocks(Blk *blocks, const Limb *limbs, Index n)
{
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    for (Index i = 0; i < n / blocksPerLimb; i++) {
        Limb limb = limbs[i];
        keepScalar(limb);
        std::memcpy(blocks + i * blocksPerLimb, &limb, sizeof(Limb));
    }
    if (n % blocksPerLimb != 0)
        blocks[n - 1] = Blk(limbs[n / blocksPerLimb]);
#else
    for (Index i = 0; i < n; i++)
        blocks[i] = Blk(limbs[i / blocksPerLimb] >> (i % blocksPerLimb * 32));
#endif
}

// Blocks of the normal value in x[0..n): n limbs, the top one non-zero unless n is 0.
inline Index blockLengthOf(const Limb *x, Index n)
{
    if (n == 0)
        return 0;
    Index length = n * blocksPerLimb;
    for (Limb top = x[n - 1]; length > 0 && Blk(top >> (bitsPerLimb - 32)) == 0; top <<= 32)
        length--;
    return length;
}

// Drops zero limbs from the top of a length.
inline Index trimmedLength(const Limb *x, Index n)
{
    while (n > 0 && x[n - 1] == 0)
        n--;
    return n;
}

inline void copyLimbs(Limb *result, const Limb *x, Index n)
{
    if (n > 0)
        std::memmove(result, x, n * sizeof(Limb));
}

inline void zeroLimbs(Limb *x, Index n)
{
    if (n > 0)
        std::memset(x, 0, n * sizeof(Limb));
}

// -1, 0 or 1 as x is below, equal to or above y, both n limbs long.
inline int compareLimbs(const Limb *x, const Limb *y, Index n)
{
    for (Index i = n; i > 0; i--) {
        if (x[i - 1] != y[i - 1])
            return x[i - 1] < y[i - 1] ? -1 : 1;
    }
    return 0;
}

#if defined(__x86_64__) && defined(__GNUC__) && defined(__SIZEOF_INT128__) \
        && !defined(ORVEX_PORTABLE_LIMBS)
// One limb product and the additions after it in x86-64 instructions: compilers keep the 128-bit
// sums of the portable loops in memory and take half as long again. ORVEX_PORTABLE_LIMBS keeps
// the portable loops (to test them).
#  define ORVEX_LIMB_ASSEMBLY 1

// high:low = x * y.
inline void multiplyWide(Limb x, Limb y, Limb *high, Limb *low)
{
    __asm__("mulq %3" : "=a"(*low), "=d"(*high) : "a"(x), "rm"(y) : "cc");
}
#endif

// result = x + y over n limbs; returns the carry out. result may be x or y.
inline Limb addLimbs(Limb *result, const Limb *x, const Limb *y, Index n)
{
#ifdef ORVEX_LIMB_ASSEMBLY
    // One add-with-carry chain through the whole array, two limbs a turn, the index counting up
    // to zero by increments, which leave the carry flag alone; an odd count starts with a limb on
    // its own.
    if (n == 0)
        return 0;
    Limb carry, t0, t1;
    long i = -long(n);
    // volatile: callers that ignore the carry still need the sum written.
    __asm__ volatile("xorl %k[carry], %k[carry]\n\t"
                     "testq $1, %[i]\n\t"
                     "jz 1f\n\t"
                     "movq (%[x],%[i],8), %[t0]\n\t"
                     "addq (%[y],%[i],8), %[t0]\n\t"
                     "movq %[t0], (%[r],%[i],8)\n\t"
                     "setc %b[carry]\n\t"
                     "incq %[i]\n\t"
                     "jz 2f\n"
                     "1:\n\t"
                     "btl $0, %k[carry]\n"
                     "3:\n\t"
                     "movq (%[x],%[i],8), %[t0]\n\t"
                     "movq 8(%[x],%[i],8), %[t1]\n\t"
                     "adcq (%[y],%[i],8), %[t0]\n\t"
                     "adcq 8(%[y],%[i],8), %[t1]\n\t"
                     "movq %[t0], (%[r],%[i],8)\n\t"
                     "movq %[t1], 8(%[r],%[i],8)\n\t"
                     "incq %[i]\n\t"
                     "incq %[i]\n\t"
                     "jnz 3b\n\t"
                     "setc %b[carry]\n"
                     "2:"
                     : [carry] "=&r"(carry), [t0] "=&r"(t0), [t1] "=&r"(t1), [i] "+r"(i)
                     : [x] "r"(x + n), [y] "r"(y + n), [r] "r"(result + n)
                     : "cc", "memory");
    return carry;
#else
    Limb carry = 0;
    for (Index i = 0; i < n; i++) {
        const DoubleLimb sum = DoubleLimb(x[i]) + y[i] + carry;
        result[i] = Limb(sum);
        carry = highLimb(sum);
    }
    return carry;
#endif
}

// result = x - y over n limbs; returns the borrow out. result may be x or y.
inline Limb subtractLimbs(Limb *result, const Limb *x, const Limb *y, Index n)
{
#ifdef ORVEX_LIMB_ASSEMBLY
    // As addLimbs, with the borrow in the carry flag.
    if (n == 0)
        return 0;
    Limb borrow, t0, t1;
    long i = -long(n);
    __asm__ volatile("xorl %k[carry], %k[carry]\n\t"
                     "testq $1, %[i]\n\t"
                     "jz 1f\n\t"
                     "movq (%[x],%[i],8), %[t0]\n\t"
                     "subq (%[y],%[i],8), %[t0]\n\t"
                     "movq %[t0], (%[r],%[i],8)\n\t"
                     "setc %b[carry]\n\t"
                     "incq %[i]\n\t"
                     "jz 2f\n"
                     "1:\n\t"
                     "btl $0, %k[carry]\n"
                     "3:\n\t"
                     "movq (%[x],%[i],8), %[t0]\n\t"
                     "movq 8(%[x],%[i],8), %[t1]\n\t"
                     "sbbq (%[y],%[i],8), %[t0]\n\t"
                     "sbbq 8(%[y],%[i],8), %[t1]\n\t"
                     "movq %[t0], (%[r],%[i],8)\n\t"
                     "movq %[t1], 8(%[r],%[i],8)\n\t"
                     "incq %[i]\n\t"
                     "incq %[i]\n\t"
                     "jnz 3b\n\t"
                     "setc %b[carry]\n"
                     "2:"
                     : [carry] "=&r"(borrow), [t0] "=&r"(t0), [t1] "=&r"(t1), [i] "+r"(i)
                     : [x] "r"(x + n), [y] "r"(y + n), [r] "r"(result + n)
                     : "cc", "memory");
    return borrow;
#else
    Limb borrow = 0;
    for (Index i = 0; i < n; i++) {
        const DoubleLimb difference = DoubleLimb(x[i]) - y[i] - borrow;
        result[i] = Limb(difference);
        borrow = highLimb(difference) & 1;
    }
    return borrow;
#endif
}

// x += 1 over n limbs, stopping where the carry stops; returns the carry out of the top.
inline Limb incrementLimbs(Limb *x, Index n)
{
    for (Index i = 0; i < n; i++) {
        if (++x[i] != 0)
            return 0;
    }
    return 1;
}

// x -= 1 over n limbs, stopping where the borrow stops; returns the borrow out of the top.
inline Limb decrementLimbs(Limb *x, Index n)
{
    for (Index i = 0; i < n; i++) {
        if (x[i]-- != 0)
            return 0;
    }
    return 1;
}

// target[0..targetLength) += x[0..xn), xn <= targetLength; returns the carry out of the top.
inline Limb addLimbsInto(Limb *target, Index targetLength, const Limb *x, Index xn)
{
    assert(xn <= targetLength);
    return addLimbs(target, target, x, xn) ? incrementLimbs(target + xn, targetLength - xn) : 0;
}

// target[0..targetLength) -= x[0..xn), xn <= targetLength; returns the borrow out of the top.
inline Limb subtractLimbsFrom(Limb *target, Index targetLength, const Limb *x, Index xn)
{
    assert(xn <= targetLength);
    return subtractLimbs(target, target, x, xn) ? decrementLimbs(target + xn, targetLength - xn)
                                                : 0;
}

// result[0..n) = x[0..n) * y; returns the limb carried out of the top. result may be x.
inline Limb multiplyLimb(Limb *result, const Limb *x, Index n, Limb y)
{
#ifdef ORVEX_LIMB_ASSEMBLY
    if (n == 0)
        return 0;
    // Two limbs a turn: both products first, then one add-with-carry chain through their halves
    // and the incoming carry, three steps for two limbs where a limb at a time takes two each.
    // An odd count starts with a limb on its own.
    Limb carry, low, high, low0, high0;
    long i = -long(n);
    __asm__ volatile("xorl %k[carry], %k[carry]\n\t"
                     "testq $1, %[i]\n\t"
                     "jz 1f\n\t"
                     "movq (%[x],%[i],8), %%rax\n\t"
                     "mulq %[y]\n\t"
                     "movq %%rax, (%[r],%[i],8)\n\t"
                     "movq %%rdx, %[carry]\n\t"
                     "incq %[i]\n\t"
                     "jz 2f\n"
                     "1:\n\t"
                     "movq (%[x],%[i],8), %%rax\n\t"
                     "mulq %[y]\n\t"
                     "movq %%rax, %[low0]\n\t"
                     "movq %%rdx, %[high0]\n\t"
                     "movq 8(%[x],%[i],8), %%rax\n\t"
                     "mulq %[y]\n\t"
                     "addq %[carry], %[low0]\n\t"
                     "adcq %[high0], %%rax\n\t"
                     "adcq $0, %%rdx\n\t"
                     "movq %[low0], (%[r],%[i],8)\n\t"
                     "movq %%rax, 8(%[r],%[i],8)\n\t"
                     "movq %%rdx, %[carry]\n\t"
                     "addq $2, %[i]\n\t"
                     "jnz 1b\n"
                     "2:"
                     : [carry] "=&r"(carry), [i] "+r"(i), [low0] "=&r"(low0), [high0] "=&r"(high0),
                       "=&a"(low), "=&d"(high)
                     : [x] "r"(x + n), [r] "r"(result + n), [y] "r"(y)
                     : "cc", "memory");
    return carry;
#else
    Limb carry = 0;
    for (Index i = 0; i < n; i++) {
        const DoubleLimb t = DoubleLimb(x[i]) * y + carry;
        result[i] = Limb(t);
        carry = highLimb(t);
    }
    return carry;
#endif
}

// result[0..n) += x[0..n) * y; returns the limb carried out of the top.
inline Limb multiplyAddLimb(Limb *result, const Limb *x, Index n, Limb y)
{
#ifdef ORVEX_LIMB_ASSEMBLY
    if (n == 0)
        return 0;
    // Two limbs a turn: the result limbs go into the two products first, off the carry's path;
    // the incoming carry and the lower product's high half then take one chain of three steps.
    Limb carry, low, high, low0, high0;
    long i = -long(n);
    __asm__ volatile("xorl %k[carry], %k[carry]\n\t"
                     "testq $1, %[i]\n\t"
                     "jz 1f\n\t"
                     "movq (%[x],%[i],8), %%rax\n\t"
                     "mulq %[y]\n\t"
                     "addq %%rax, (%[r],%[i],8)\n\t"
                     "adcq %%rdx, %[carry]\n\t"
                     "incq %[i]\n\t"
                     "jz 2f\n"
                     "1:\n\t"
                     "movq (%[x],%[i],8), %%rax\n\t"
                     "mulq %[y]\n\t"
                     "movq %%rax, %[low0]\n\t"
                     "movq %%rdx, %[high0]\n\t"
                     "movq 8(%[x],%[i],8), %%rax\n\t"
                     "mulq %[y]\n\t"
                     "addq (%[r],%[i],8), %[low0]\n\t"
                     "adcq 8(%[r],%[i],8), %%rax\n\t"
                     "adcq $0, %%rdx\n\t"
                     "addq %[carry], %[low0]\n\t"
                     "adcq %[high0], %%rax\n\t"
                     "adcq $0, %%rdx\n\t"
                     "movq %[low0], (%[r],%[i],8)\n\t"
                     "movq %%rax, 8(%[r],%[i],8)\n\t"
                     "movq %%rdx, %[carry]\n\t"
                     "addq $2, %[i]\n\t"
                     "jnz 1b\n"
                     "2:"
                     : [carry] "=&r"(carry), [i] "+r"(i), [low0] "=&r"(low0), [high0] "=&r"(high0),
                       "=&a"(low), "=&d"(high)
                     : [x] "r"(x + n), [r] "r"(result + n), [y] "r"(y)
                     : "cc", "memory");
    return carry;
#else
    Limb carry = 0;
    for (Index i = 0; i < n; i++) {
        const DoubleLimb t = DoubleLimb(x[i]) * y + result[i] + carry;
        result[i] = Limb(t);
        carry = highLimb(t);
    }
    return carry;
#endif
}

// result[0..n+1) = result[0..n) + x[0..n) * y0 + (x[0..n) * y1 shifted up a limb) + carryIn,
// n >= 1; returns the limb carried out of the top, the limb above result[n]. Two rows of products
// at once: their carry chains are independent, and result is read and written once.
inline Limb multiplyAddTwoLimbs(Limb *result, const Limb *x, Index n, Limb y0, Limb y1,
                                Limb carryIn = 0)
{
    assert(n >= 1);
#ifdef ORVEX_LIMB_ASSEMBLY
    // Column i is result[i], the low half of x[i] * y0, that row's carry limb and the pending
    // limb of the other row (the low half of x[i - 1] * y1 plus its carry). Both products of a
    // limb come first so that the carry out of the column runs on, in the flag, into the next
    // pending limb and the high half above it. Two limbs a turn, the pending limb and its carry
    // trading registers; an odd count enters at the second half.
    Limb carry0 = carryIn, pendingA = 0, carryA = 0, pendingB = 0, carryB = 0, low, high;
    long i = -long(n) - long(n & 1);
    __asm__ volatile(
            "testq $1, %[n]\n\t"
            "jnz 2f\n"
            "1:\n\t"
            "movq (%[x],%[i],8), %%rax\n\t"
            "mulq %[y1]\n\t"
            "movq %%rax, %[pB]\n\t"
            "movq %%rdx, %[cB]\n\t"
            "movq (%[x],%[i],8), %%rax\n\t"
            "mulq %[y0]\n\t"
            "addq (%[r],%[i],8), %%rax\n\t"
            "adcq $0, %%rdx\n\t"
            "addq %[carry0], %%rax\n\t"
            "adcq $0, %%rdx\n\t"
            "movq %%rdx, %[carry0]\n\t"
            "addq %[pA], %%rax\n\t"
            "adcq %[cA], %[pB]\n\t"
            "adcq $0, %[cB]\n\t"
            "movq %%rax, (%[r],%[i],8)\n"
            "2:\n\t"
            "movq 8(%[x],%[i],8), %%rax\n\t"
            "mulq %[y1]\n\t"
            "movq %%rax, %[pA]\n\t"
            "movq %%rdx, %[cA]\n\t"
            "movq 8(%[x],%[i],8), %%rax\n\t"
            "mulq %[y0]\n\t"
            "addq 8(%[r],%[i],8), %%rax\n\t"
            "adcq $0, %%rdx\n\t"
            "addq %[carry0], %%rax\n\t"
            "adcq $0, %%rdx\n\t"
            "movq %%rdx, %[carry0]\n\t"
            "addq %[pB], %%rax\n\t"
            "adcq %[cB], %[pA]\n\t"
            "adcq $0, %[cA]\n\t"
            "movq %%rax, 8(%[r],%[i],8)\n\t"
            "addq $2, %[i]\n\t"
            "jnz 1b\n\t"
            "addq %[pA], %[carry0]\n\t"
            "adcq $0, %[cA]"
            : [carry0] "+&r"(carry0), [pA] "+&r"(pendingA), [cA] "+&r"(carryA),
              [pB] "+&r"(pendingB), [cB] "+&r"(carryB), [i] "+r"(i), "=&a"(low), "=&d"(high)
            : [x] "r"(x + n), [r] "r"(result + n), [n] "r"(long(n)), [y0] "r"(y0), [y1] "r"(y1)
            : "cc", "memory");
    result[n] = carry0;
    return carryA;
#else
    const Limb carry = multiplyAddLimb(result, x, n, y0);
    const Limb in = addLimbsInto(result, n, &carryIn, 1);
    result[n] = carry + in; // no overflow: row 0 and carryIn fit n + 1 limbs
    return multiplyAddLimb(result + 1, x, n, y1);
#endif
}

// result[0..n) -= x[0..n) * y; returns the limb borrowed from above the top.
inline Limb multiplySubtractLimb(Limb *result, const Limb *x, Index n, Limb y)
{
#ifdef ORVEX_LIMB_ASSEMBLY
    if (n == 0)
        return 0;
    // As multiplyAddLimb, two limbs a turn: the two products and the incoming borrow limb are
    // summed first into three limbs, then the lower two are subtracted from the result and the
    // borrow out joins the top one, the next borrow limb (the sum's top limb is the high half of
    // a product plus a carry, so one more fits).
    Limb borrow, low, high, low0, high0;
    long i = -long(n);
    __asm__ volatile(
            "xorl %k[borrow], %k[borrow]\n\t"
            "testq $1, %[i]\n\t"
            "jz 1f\n\t"
            "movq (%[x],%[i],8), %%rax\n\t"
            "mulq %[y]\n\t"
            "subq %%rax, (%[r],%[i],8)\n\t"
            "adcq %%rdx, %[borrow]\n\t"
            "incq %[i]\n\t"
            "jz 2f\n"
            "1:\n\t"
            "movq (%[x],%[i],8), %%rax\n\t"
            "mulq %[y]\n\t"
            "movq %%rax, %[low0]\n\t"
            "movq %%rdx, %[high0]\n\t"
            "movq 8(%[x],%[i],8), %%rax\n\t"
            "mulq %[y]\n\t"
            "addq %[borrow], %[low0]\n\t"
            "adcq %[high0], %%rax\n\t"
            "adcq $0, %%rdx\n\t"
            "subq %[low0], (%[r],%[i],8)\n\t"
            "sbbq %%rax, 8(%[r],%[i],8)\n\t"
            "adcq $0, %%rdx\n\t"
            "movq %%rdx, %[borrow]\n\t"
            "addq $2, %[i]\n\t"
            "jnz 1b\n"
            "2:"
            : [borrow] "=&r"(borrow), [i] "+r"(i), [low0] "=&r"(low0), [high0] "=&r"(high0),
              "=&a"(low), "=&d"(high)
            : [x] "r"(x + n), [r] "r"(result + n), [y] "r"(y)
            : "cc", "memory");
    return borrow;
#else
    Limb borrow = 0;
    for (Index i = 0; i < n; i++) {
        const DoubleLimb product = DoubleLimb(x[i]) * y + borrow;
        const Limb low = Limb(product);
        borrow = highLimb(product) + (result[i] < low);
        result[i] -= low;
    }
    return borrow;
#endif
}

// result[0..2n) = 2 * result + the squares of x's limbs, x[i]^2 at limb 2i, result[0] zero and
// the whole sum known to fit; the doubling goes along, two result limbs a turn.
inline void addDoubledSquares(Limb *result, const Limb *x, Index n)
{
#ifdef ORVEX_LIMB_ASSEMBLY
    if (n == 0)
        return;
    // Two chains through the flag, each carry kept between turns as a mask (0 or all ones) and
    // put back into the flag by adding the mask to itself: the doubling (result added to itself)
    // and, behind it, the squares added to the doubled limbs. Two squares a turn so that the
    // chains run four limbs long between the multiplications that clobber the flag; an odd
    // count starts with one square on its own. The index j is twice the limb index of x.
    Limb doubling, carry, low, high, low0, high0, r0, r1, r2, r3;
    long j = -2 * long(n);
    __asm__ volatile(
            "xorl %k[doubling], %k[doubling]\n\t"
            "xorl %k[carry], %k[carry]\n\t"
            "testq $2, %[j]\n\t"
            "jz 1f\n\t"
            "movq (%[x],%[j],4), %%rax\n\t"
            "mulq %%rax\n\t"
            "movq (%[r],%[j],8), %[r0]\n\t"
            "movq 8(%[r],%[j],8), %[r1]\n\t"
            "addq %[r0], %[r0]\n\t"
            "adcq %[r1], %[r1]\n\t"
            "sbbq %[doubling], %[doubling]\n\t"
            "addq %%rax, %[r0]\n\t"
            "adcq %%rdx, %[r1]\n\t"
            "sbbq %[carry], %[carry]\n\t"
            "movq %[r0], (%[r],%[j],8)\n\t"
            "movq %[r1], 8(%[r],%[j],8)\n\t"
            "addq $2, %[j]\n\t"
            "jz 2f\n"
            "1:\n\t"
            "movq (%[x],%[j],4), %%rax\n\t"
            "mulq %%rax\n\t"
            "movq %%rax, %[low0]\n\t"
            "movq %%rdx, %[high0]\n\t"
            "movq 8(%[x],%[j],4), %%rax\n\t"
            "mulq %%rax\n\t"
            "movq (%[r],%[j],8), %[r0]\n\t"
            "movq 8(%[r],%[j],8), %[r1]\n\t"
            "movq 16(%[r],%[j],8), %[r2]\n\t"
            "movq 24(%[r],%[j],8), %[r3]\n\t"
            "addq %[doubling], %[doubling]\n\t"
            "adcq %[r0], %[r0]\n\t"
            "adcq %[r1], %[r1]\n\t"
            "adcq %[r2], %[r2]\n\t"
            "adcq %[r3], %[r3]\n\t"
            "sbbq %[doubling], %[doubling]\n\t"
            "addq %[carry], %[carry]\n\t"
            "adcq %[low0], %[r0]\n\t"
            "adcq %[high0], %[r1]\n\t"
            "adcq %%rax, %[r2]\n\t"
            "adcq %%rdx, %[r3]\n\t"
            "sbbq %[carry], %[carry]\n\t"
            "movq %[r0], (%[r],%[j],8)\n\t"
            "movq %[r1], 8(%[r],%[j],8)\n\t"
            "movq %[r2], 16(%[r],%[j],8)\n\t"
            "movq %[r3], 24(%[r],%[j],8)\n\t"
            "addq $4, %[j]\n\t"
            "jnz 1b\n"
            "2:"
            : [doubling] "=&r"(doubling), [carry] "=&r"(carry), [j] "+r"(j), [low0] "=&r"(low0),
              [high0] "=&r"(high0), [r0] "=&r"(r0), [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3),
              "=&a"(low), "=&d"(high)
            : [x] "r"(x + n), [r] "r"(result + 2 * n)
            : "cc", "memory");
    assert(carry == 0 && doubling == 0);
    (void)carry;
    (void)doubling;
#else
    Limb carry = 0, shiftedOut = 0;
    for (Index i = 0; i < n; i++) {
        const Limb low = result[2 * i], high = result[2 * i + 1];
        const Limb doubledLow = low << 1 | shiftedOut;
        const Limb doubledHigh = high << 1 | low >> (bitsPerLimb - 1);
        shiftedOut = high >> (bitsPerLimb - 1);
        const DoubleLimb square = DoubleLimb(x[i]) * x[i];
        const DoubleLimb lowSum = DoubleLimb(doubledLow) + Limb(square) + carry;
        const DoubleLimb highSum = DoubleLimb(doubledHigh) + highLimb(square) + highLimb(lowSum);
        result[2 * i] = Limb(lowSum);
        result[2 * i + 1] = Limb(highSum);
        carry = highLimb(highSum);
    }
    assert(carry == 0 && shiftedOut == 0);
#endif
}

// x[0..n) = x * m + a; returns the limb carried out of the top.
inline Limb multiplyBySingleAdd(Limb *x, Index n, Limb m, Limb a)
{
    Limb carry = a;
    for (Index i = 0; i < n; i++) {
        const DoubleLimb t = DoubleLimb(x[i]) * m + carry;
        x[i] = Limb(t);
        carry = highLimb(t);
    }
    return carry;
}

// result[0..n) = x[0..n) shifted left by k bits (0 < k < limb width); returns the bits pushed out
// of the top. result may be x.
inline Limb shiftLeftLimbs(Limb *result, const Limb *x, Index n, unsigned k)
{
    assert(k > 0 && k < bitsPerLimb);
    const Limb out = n > 0 ? x[n - 1] >> (bitsPerLimb - k) : 0;
    for (Index i = n; i > 1; i--)
        result[i - 1] = x[i - 1] << k | x[i - 2] >> (bitsPerLimb - k);
    if (n > 0)
        result[0] = x[0] << k;
    return out;
}

// result[0..n) = x[0..n) shifted right by k bits (0 < k < limb width), zeros coming in at the
// top. result may be x.
inline void shiftRightLimbs(Limb *result, const Limb *x, Index n, unsigned k)
{
    assert(k > 0 && k < bitsPerLimb);
    for (Index i = 0; i + 1 < n; i++)
        result[i] = x[i] >> k | x[i + 1] << (bitsPerLimb - k);
    if (n > 0)
        result[n - 1] = x[n - 1] >> k;
}

// Number of zero bits above the top set bit of a non-zero limb.
inline unsigned leadingZeroBits(Limb x)
{
    assert(x != 0);
#if defined(__GNUC__)
    return sizeof(Limb) == sizeof(unsigned long long) ? unsigned(__builtin_clzll(x))
                                                      : unsigned(__builtin_clz(unsigned(x)));
#else
    unsigned n = 0;
    for (; !(x >> (bitsPerLimb - 1)); x <<= 1)
        n++;
    return n;
#endif
}

// Number of zero bits below the lowest set bit of a non-zero limb.
inline unsigned trailingZeroBits(Limb x)
{
    assert(x != 0);
#if defined(__GNUC__)
    return sizeof(Limb) == sizeof(unsigned long long) ? unsigned(__builtin_ctzll(x))
                                                      : unsigned(__builtin_ctz(unsigned(x)));
#else
    unsigned n = 0;
    for (; (x & 1) == 0; x >>= 1)
        n++;
    return n;
#endif
}

// quotient[0..n) = x[0..n) / d, d non-zero, a hardware division per limb; returns the remainder.
// quotient may be x.
inline Limb divideBySingle(Limb *quotient, const Limb *x, Index n, Limb d)
{
    assert(d != 0);
    Limb remainder = 0;
    for (Index i = n; i > 0; i--) {
        const DoubleLimb current = joinLimbs(remainder, x[i - 1]);
        quotient[i - 1] = Limb(current / d);
        remainder = Limb(current % d);
    }
    return remainder;
}

// floor((B^2 - 1) / d) - B for a limb d with its top bit set, B = 2^bitsPerLimb.
inline Limb reciprocalOf(Limb d)
{
    assert(d >> (bitsPerLimb - 1));
    return Limb(~DoubleLimb(0) / d - (DoubleLimb(1) << bitsPerLimb));
}

// Division by one limb d through a precomputed reciprocal instead of a division per limb (the
// two-by-one step of Moller and Granlund).
struct SingleDivisor
{
    explicit SingleDivisor(Limb divisor)
        : shift(leadingZeroBits(divisor)), d(divisor << shift), reciprocal(reciprocalOf(d))
    {}

    // quotient[0..n) = x[0..n) / divisor, returning the remainder; quotient may be x.
    Limb divide(Limb *quotient, const Limb *x, Index n) const
    {
        Limb r = 0; // the remainder so far, shifted like d
        for (Index i = n; i > 0; i--) {
            const Limb high = shift ? Limb(r | x[i - 1] >> (bitsPerLimb - shift)) : r;
            const Limb low = Limb(x[i - 1] << shift);
            const DoubleLimb q = DoubleLimb(reciprocal) * high + joinLimbs(high, low);
            Limb q1 = highLimb(q) + 1;
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

// Division of three limbs by a normalised two-limb divisor d1:d0 (top bit of d1 set) through a
// precomputed reciprocal floor((B^3 - 1) / (d1:d0)) - B: the three-by-two step of Moller and
// Granlund, exact with at most two corrections.
struct TwoLimbDivisor
{
    TwoLimbDivisor(Limb high, Limb low) : d1(high), d0(low), reciprocal(reciprocalOf(high))
    {
        // From the reciprocal of d1 alone to that of d1:d0, lowering it at most three times.
        Limb p = d1 * reciprocal + d0;
        if (p < d0) {
            reciprocal--;
            if (p >= d1) {
                reciprocal--;
                p -= d1;
            }
            p -= d1;
        }
        const DoubleLimb t = DoubleLimb(d0) * reciprocal;
        p += highLimb(t);
        if (p < highLimb(t)) {
            reciprocal--;
            if (joinLimbs(p, Limb(t)) >= joinLimbs(d1, d0))
                reciprocal--;
        }
    }

    // The quotient limb of u2:u1:u0 by d1:d0, u2:u1 below d1:d0; *remainder gets the two-limb
    // remainder.
    Limb divide(Limb u2, Limb u1, Limb u0, DoubleLimb *remainder) const
    {
        const DoubleLimb d = joinLimbs(d1, d0);
        const DoubleLimb q = DoubleLimb(reciprocal) * u2 + joinLimbs(u2, u1);
        Limb q1 = highLimb(q);
        const Limb q0 = Limb(q);
        const Limb r1 = u1 - q1 * d1;
        DoubleLimb r = joinLimbs(r1, u0) - DoubleLimb(d0) * q1 - d;
        // The first correction goes either way about as often, so it is made without a branch;
        // the second is rare.
        const Limb undo = Limb(0) - Limb(highLimb(r) >= q0);
        q1 += 1 + undo;
        r += d & joinLimbs(undo, undo);
        if (r >= d) {
            q1++;
            r -= d;
        }
        *remainder = r;
        return q1;
    }

    Limb d1, d0;
    Limb reciprocal;
};

} // namespace LimbOps

#endif // ORVEX_BIGINT_LIMBOPS_P_H
