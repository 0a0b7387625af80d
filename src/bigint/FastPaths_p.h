// Internal to the library; not installed.
#ifndef ORVEX_BIGINT_FASTPATHS_P_H
#define ORVEX_BIGINT_FASTPATHS_P_H

#include "bigint/BigUnsigned.h"

#include <atomic>

// The integer operations have two paths: the reference algorithms, which fix every result,
// length, capacity and thrown text (those of non-normal values included), and fast paths taken
// only for operands in normal form, which leave exactly what the reference leaves.
namespace BigIntFastPaths {

// Cleared, every operation runs its reference algorithm alone: the tests compare the two paths
// this way and the benchmarks measure both. Set by default; flip it only while no other thread
// computes.
extern std::atomic<bool> enabled;

inline bool isNormal(const BigUnsigned &x)
{
    return x.getLength() == 0 || x.blockAt(x.getLength() - 1) != 0;
}

inline bool takenFor(const BigUnsigned &x)
{
    return enabled.load(std::memory_order_relaxed) && isNormal(x);
}

inline bool takenFor(const BigUnsigned &x, const BigUnsigned &y)
{
    return takenFor(x) && isNormal(y);
}

// Operands of this many blocks or more (both of them) are multiplied by Karatsuba's method.
// Measured with bench_integers (ORVEX_BENCH_KARATSUBA): at 64 blocks rows of word products are
// about 10% faster than one Karatsuba step, at 128 blocks the two are within noise, at 192 blocks
// Karatsuba is about 12% faster. Even, so that it is a whole number of two-block words.
constexpr BigUnsigned::Index karatsubaThreshold = 96;
// The threshold in use: karatsubaThreshold unless the benchmarks set another to measure it.
extern std::atomic<BigUnsigned::Index> karatsubaBlocks;

// Text conversion a limb's worth of digits at a time, for bases 2 to 65535. digitsOf writes the
// digits of a normal x, least significant first and without zeros on top, into `digits` (room
// for all of them) and returns their count; valueOf is the value of `count` such digits.
BigUnsigned::Index digitsOf(const BigUnsigned &x, unsigned base, unsigned short *digits);
BigUnsigned valueOf(const unsigned short *digits, BigUnsigned::Index count, unsigned base);

} // namespace BigIntFastPaths

#endif // ORVEX_BIGINT_FASTPATHS_P_H
