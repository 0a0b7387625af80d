#include "bigint/NumberTheory.h"

BigUnsigned gcd(BigUnsigned a, BigUnsigned b)
{
    BigUnsigned quotient; // never read
    for (;;) {
        if (b.isZero())
            return a;
        a.divideWithRemainder(b, quotient);
        if (a.isZero())
            return b;
        b.divideWithRemainder(a, quotient);
    }
}

void extendedEuclidean(BigInteger m, BigInteger n, BigInteger &g, BigInteger &r, BigInteger &s)
{
    if (&g == &r || &g == &s || &r == &s)
        throw "BigInteger extendedEuclidean: Outputs are aliased";
    // Throughout, r1*mIn + s1*nIn == m and r2*mIn + s2*nIn == n for the inputs mIn and nIn.
    // Deliberate: the division floors, so g takes the sign of the last non-zero remainder.
    BigInteger r1(1), s1(0), r2(0), s2(1), q;
    for (;;) {
        if (n.isZero()) {
            r = r1;
            s = s1;
            g = m;
            return;
        }
        m.divideWithRemainder(n, q);
        r1 -= q * r2;
        s1 -= q * s2;
        if (m.isZero()) {
            r = r2;
            s = s2;
            g = n;
            return;
        }
        n.divideWithRemainder(m, q);
        r2 -= q * r1;
        s2 -= q * s1;
    }
}

BigUnsigned modinv(const BigInteger &x, const BigUnsigned &n)
{
    BigInteger g, r, s;
    const BigInteger modulus(n);
    extendedEuclidean(x, modulus, g, r, s);
    if (g != BigInteger(1))
        throw "BigInteger modinv: x and n have a common factor";
    // Only x = 1 reaches this with n = 0, and throws the division text here.
    return (r % modulus).getMagnitude();
}

BigUnsigned modexp(const BigInteger &base, const BigUnsigned &exponent, const BigUnsigned &modulus)
{
    // The signed remainder by a non-negative modulus puts a negative base into 0..modulus-1, and
    // throws for a zero modulus.
    const BigUnsigned reducedBase = (base % BigInteger(modulus)).getMagnitude();
    // Deliberate: with exponent 0 the result is 1 unreduced, so modexp(x, 0, 1) is 1.
    BigUnsigned result(1);
    for (BigUnsigned::Index i = exponent.bitLength(); i > 0;) {
        i--;
        result *= result;
        result %= modulus;
        if (exponent.bitAt(i)) {
            result *= reducedBase;
            result %= modulus;
        }
    }
    return result;
}

BigUnsigned exp(const BigInteger &base, const BigUnsigned &exponent)
{
    // Deliberate: the sign of the base is dropped, so exp(-2, 3) is 8.
    const BigUnsigned &magnitude = base.getMagnitude();
    BigUnsigned result(1);
    for (BigUnsigned::Index i = exponent.bitLength(); i > 0;) {
        i--;
        result.multiply(result, result);
        if (exponent.bitAt(i))
            result.multiply(result, magnitude);
    }
    return result;
}
