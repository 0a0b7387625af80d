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

// Values of this many blocks or more are split by a power of the base into parts converted on
// their own; below it, a word's worth of digits comes off per division by one word. Calibrated
// with bench_integers --benchmark_filter=calibrate-totext (2-core machine under load, g++ -O2,
// median of 3, CPU time per conversion to decimal): from 96 blocks 9.9 us at 4096 bits, 26 us at
// 8192, 75 us at 16384, 0.73 ms at 65536, 5.1 ms at 262144 bits; from 64 blocks 9.6 us, 29 us,
// 78 us, 0.69 ms, 5.1 ms; from 128 blocks 9.4 us, 25 us, 76 us, 0.74 ms, 4.9 ms; from 256 blocks
// 9.2 us, 27 us, 98 us, 0.79 ms, 5.5 ms (between 64 and 192 within the noise).
constexpr Index toDigitsSplitBlocks = 96;
// Digit strings of this many chunks (a word's worth of digits) or more are split likewise; below
// it, Horner's rule runs two chunks at a time. Calibrated with --benchmark_filter=
// calibrate-fromtext (median of 3, CPU time): from 256 chunks 31 us at 16384 bits, 94 us at 32768,
// 0.29 ms at 65536, 2.9 ms at 262144 bits; from 128 chunks 47 us, 141 us, 0.42 ms, 3.3 ms; from
// 192 chunks 44 us, 136 us, 0.34 ms, 2.1 ms; from 512 chunks 42 us, 111 us, 0.38 ms, 3.2 ms.
constexpr Index fromDigitsSplitChunks = 256;

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
