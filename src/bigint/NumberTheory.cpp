#include "bigint/NumberTheory.h"

#include "bigint/FastPaths_p.h"
#include "bigint/LimbOps_p.h"

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

// Square-and-multiply from the top bit of the exponent, reducing after every product.
BigUnsigned BigIntPaths::modexpReference(const BigInteger &base, const BigUnsigned &exponent,
                                         const BigUnsigned &modulus)
{
    // The signed remainder by a non-negative modulus puts a negative base into 0..modulus-1, and
    // throws for a zero modulus.
    const BigUnsigned reducedBase = (base % BigInteger(modulus)).getMagnitude();
    // Deliberate: with exponent 0 the result is 1 unreduced, so modexp(x, 0, 1) is 1.
    BigUnsigned result(1), quotient;
    for (Index i = exponent.bitLength(); i > 0;) {
        i--;
        multiplyReference(result, result, result);
        divideReference(result, modulus, quotient);
        if (exponent.bitAt(i)) {
            multiplyReference(result, result, reducedBase);
            divideReference(result, modulus, quotient);
        }
    }
    return result;
}

// The same steps on limbs in storage sized once. A product with fewer blocks than the modulus
// is already reduced, and the reference divides it not at all; the result gets the capacity the
// reference's steps would have grown it to.
BigUnsigned BigIntPaths::modexpFast(const BigInteger &base, const BigUnsigned &exponent,
                                    const BigUnsigned &modulus)
{
    const BigUnsigned reducedBase = (base % BigInteger(modulus)).getMagnitude();
    if (!isNormal(modulus) || !isNormal(reducedBase))
        return modexpReference(base, exponent, modulus);
    // Returned as made, so the capacity stays (a copy would shrink it to the length).
    return modexpOnLimbs(reducedBase, exponent, modulus);
}

BigUnsigned BigIntPaths::modexpOnLimbs(const BigUnsigned &reducedBase, const BigUnsigned &exponent,
                                       const BigUnsigned &modulus)
{
    using namespace LimbOps;
    const Index modulusBlocks = modulus.getLength();
    const Index n = limbsFor(modulusBlocks);
    LimbBuffer buffer(7 * n + 3);
    Limb *m = buffer.get(), *power = m + n, *result = power + n, *product = result + n;
    Limb *quotient = product + 2 * n + 1, *scratch = quotient + n + 2;
    blocksToLimbs(m, modulus.blocks, modulusBlocks);
    const LimbDivisor divisor(m, n, scratch);
    blocksToLimbs(power, reducedBase.blocks, reducedBase.length);
    const Index powerLength = trimmedLength(power, limbsFor(reducedBase.length));
    Index resultLength = 1;
    result[0] = 1;
    Index capacity = 1;

    // result = result * factor mod m, as one multiplication and one long division.
    auto step = [&](const Limb *factor, Index factorLength) {
        if (resultLength == 0 || factorLength == 0) {
            resultLength = 0;
            return;
        }
        multiplyLimbs(product, result, resultLength, factor, factorLength);
        const Index productLength = trimmedLength(product, resultLength + factorLength);
        const Index productBlocks = blockLengthOf(product, productLength);
        const bool divided = productBlocks >= modulusBlocks;
        if (productBlocks + divided > capacity)
            capacity = productBlocks + divided;
        if (divided) {
            product[productLength] = 0;
            divisor.divide(quotient, product, productLength);
            resultLength = trimmedLength(product, n);
        } else {
            resultLength = productLength;
        }
        copyLimbs(result, product, resultLength);
    };
    for (Index i = exponent.bitLength(); i > 0;) {
        i--;
        step(result, resultLength);
        if (exponent.bitAt(i))
            step(power, powerLength);
    }
    BigUnsigned answer;
    answer.reserve(capacity);
    answer.length = blockLengthOf(result, resultLength);
    limbsToBlocks(answer.blocks, result, answer.length);
    return answer;
}

BigUnsigned modexp(const BigInteger &base, const BigUnsigned &exponent, const BigUnsigned &modulus)
{
    return BigIntPaths::modexpFast(base, exponent, modulus);
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
