// Internal to the library; not installed.
#ifndef ORVEX_BIGINT_NUMBERTHEORY_P_H
#define ORVEX_BIGINT_NUMBERTHEORY_P_H

#include "bigint/BigUnsigned.h"

// gcd two ways: the reference, Euclid's in-place remainders, which fixes the result's length and
// capacity for every operand, and Lehmer's method, which leaves the same. gcd takes the fast one;
// the tests compare both and the benchmarks measure each.
namespace GcdPaths {

// Operands shorter than this many blocks (either of them) go to the reference. Calibrated with
// bench_integers --benchmark_filter=calibrate-gcd (2-core machine, g++ -O2, CPU time): two
// 64-bit operands take 0.28 us by Lehmer's method and 1.2 us by the reference, two 128-bit ones
// 0.54 us and 3.4 us.
constexpr BigUnsigned::Index lehmerBlocks = 2;

BigUnsigned gcdByRemainders(BigUnsigned a, BigUnsigned b);
// Falls back to the reference for operands with zero blocks on top or below `minimumBlocks`.
BigUnsigned gcdLehmer(const BigUnsigned &a, const BigUnsigned &b,
                      BigUnsigned::Index minimumBlocks = lehmerBlocks);

} // namespace GcdPaths

#endif // ORVEX_BIGINT_NUMBERTHEORY_P_H
