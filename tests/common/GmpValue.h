#ifndef ORVEX_TESTS_GMPVALUE_H
#define ORVEX_TESTS_GMPVALUE_H

// The integer library's values as GMP values and back. GMP is the oracle of the differential
// tests and the fuzz targets and the peer of the benchmarks; the library never links it.

#include "bigint/BigInteger.h"
#include "bigint/BigUnsigned.h"

#include <vector>

#include <gmpxx.h>

// Every block up to the length: a zero block on top of a non-normal value changes nothing.
inline mpz_class toGmp(const BigUnsigned &x)
{
    std::vector<BigUnsigned::Blk> blocks(x.getLength() + 1);
    for (BigUnsigned::Index i = 0; i < x.getLength(); i++)
        blocks[i] = x.blockAt(i);
    mpz_class out;
    mpz_import(out.get_mpz_t(), x.getLength(), -1, sizeof(BigUnsigned::Blk), 0, 0, blocks.data());
    return out;
}

inline mpz_class toGmp(const BigInteger &x)
{
    const mpz_class magnitude = toGmp(x.getMagnitude());
    return x.getSign() == BigInteger::negative ? mpz_class(-magnitude) : magnitude;
}

#endif // ORVEX_TESTS_GMPVALUE_H
