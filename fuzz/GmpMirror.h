#ifndef ORVEX_FUZZ_GMPMIRROR_H
#define ORVEX_FUZZ_GMPMIRROR_H

// What the integer fuzz targets share: GMP values that mirror the library's, and the check that
// aborts the run on a fault.

#include <bigint/BigInteger.h>
#include <bigint/BigUnsigned.h>

#include <cstdlib>

#include <gmp.h>

inline void require(bool condition)
{
    if (!condition)
        std::abort();
}

// An mpz_t with value semantics.
class Mpz
{
public:
    Mpz() { mpz_init(v); }
    explicit Mpz(long x) { mpz_init_set_si(v, x); }
    Mpz(const Mpz &x) { mpz_init_set(v, x.v); }
    ~Mpz() { mpz_clear(v); }
    Mpz &operator=(const Mpz &x)
    {
        mpz_set(v, x.v);
        return *this;
    }
    int sign() const { return mpz_sgn(v); }
    mpz_t v;
};

inline bool operator==(const Mpz &a, const Mpz &b)
{
    return mpz_cmp(a.v, b.v) == 0;
}

inline Mpz toMpz(const BigUnsigned &x)
{
    Mpz out;
    for (BigUnsigned::Index i = x.getLength(); i-- > 0;) {
        mpz_mul_2exp(out.v, out.v, 32);
        mpz_add_ui(out.v, out.v, x.blockAt(i));
    }
    return out;
}

inline Mpz toMpz(const BigInteger &x)
{
    Mpz out = toMpz(x.getMagnitude());
    if (x.getSign() == BigInteger::negative)
        mpz_neg(out.v, out.v);
    return out;
}

inline bool isNormal(const BigUnsigned &x)
{
    return x.getLength() == 0 || x.blockAt(x.getLength() - 1) != 0;
}

#endif // ORVEX_FUZZ_GMPMIRROR_H
