// Internal to the library; not installed.
#ifndef ORVEX_BIGINT_BIGUNSIGNEDINABASE_P_H
#define ORVEX_BIGINT_BIGUNSIGNEDINABASE_P_H

#include "bigint/BigUnsigned.h"
#include "bigint/BigUnsignedInABase.h"

#include <string>

// Conversion between numbers and digits, two ways each. The reference routines (one division by
// the base per digit, Horner's rule one digit at a time) fix every result, length and capacity;
// the fast routines leave exactly the same and are taken where their preconditions hold. Both are
// callable, so that the tests compare them and the benchmarks measure them.
namespace BaseConversion {

using Digit = BigUnsignedInABase::Digit;
using Index = BigUnsigned::Index;

// Values of this many blocks or more are split by a power of the base into halves converted on
// their own; below it, a word's worth of digits comes off per division by one word. Calibrated
// with bench_integers --benchmark_filter=calibrate-totext (2-core machine, g++ -O2, CPU time per
// conversion to decimal): split from 64 blocks 130 us at 16384 bits and 1.36 ms at 65536 bits,
// from 256 blocks 183 us and 1.61 ms, never split 246 us and 3.89 ms; at 4096 bits 14 us against
// 12 us unsplit, within the noise of the shared machine.
constexpr Index toDigitsSplitBlocks = 64;
// Digit strings of this many chunks (a word's worth of digits) or more are split likewise; below
// it, Horner's rule runs a chunk at a time. Calibrated with --benchmark_filter=calibrate-fromtext:
// at 65536 bits 0.70 ms from 512 chunks, 0.89 ms from 1024, 0.86 ms from 4096; at 262144 bits
// 8.2 ms, 8.8 ms and 11.0 ms; at 32768 bits (about 520 chunks) 0.25 ms against 0.17 ms unsplit.
constexpr Index fromDigitsSplitChunks = 512;

// The digits of x, least significant first, into `digits` (room for all of them, as the upper
// bound from x's block count gives); returns their count. base >= 2.
Index digitsByDivision(const BigUnsigned &x, unsigned base, Digit *digits);
// The same for a normal x, a word's worth of digits per division, large values split.
Index digitsFast(const BigUnsigned &x, unsigned base, Digit *digits,
                 Index splitBlocks = toDigitsSplitBlocks);

// The value of `count` digits, least significant first, with no zero digit on top; base >= 2
// unless count is 0. The result carries the capacity that Horner's steps leave.
BigUnsigned valueByHorner(const Digit *digits, Index count, unsigned base);
BigUnsigned valueFast(const Digit *digits, Index count, unsigned base,
                      Index splitChunks = fromDigitsSplitChunks);

// The value of decimal text, symbols 0-9 only (the caller checks), as
// BigUnsigned(BigUnsignedInABase(text, 10)) gives it, capacity included, without the digit array.
BigUnsigned valueOfDecimal(const std::string &text);

} // namespace BaseConversion

#endif // ORVEX_BIGINT_BIGUNSIGNEDINABASE_P_H
