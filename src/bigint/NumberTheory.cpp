#include "bigint/NumberTheory.h"

#include "bigint/BlockOps_p.h"
#include "bigint/FastPaths_p.h"
#include "bigint/LimbOps_p.h"
#include "bigint/NumberTheory_p.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <utility>
#include <vector>

namespace {

using Index = BigUnsigned::Index;
using std::size_t;

bool isNormal(const BigUnsigned &x)
{
    return x.getLength() == 0 || x.blockAt(x.getLength() - 1) != 0;
}

#ifdef __SIZEOF_INT128__

// Lehmer's method on 64-bit words: Euclid's steps run on the leading 62 bits of both operands,
// collecting their quotients in a matrix of cofactors, as long as those bits decide the quotients;
// then one pass over the whole operands applies the batch. A step the leading bits cannot decide
// is one long division.
typedef unsigned long long Word;
__extension__ typedef unsigned __int128 DoubleWord;
__extension__ typedef __int128 SignedDoubleWord;
constexpr unsigned leadingBits = 62;

std::vector<Word> wordsOf(const BigUnsigned &x)
{
    std::vector<Word> words((x.getLength() + 1) / 2);
    for (size_t i = 0; i < words.size(); i++)
        words[i] = Word(x.blockAt(Index(2 * i + 1))) << 32 | x.blockAt(Index(2 * i));
    return words;
}

// The number of the first n words, made as the reference returns it: capacity its length.
BigUnsigned fromWords(const Word *words, size_t n)
{
    std::vector<BigUnsigned::Blk> blocks(2 * n + 1);
    for (size_t i = 0; i < n; i++) {
        blocks[2 * i] = BigUnsigned::Blk(words[i]);
        blocks[2 * i + 1] = BigUnsigned::Blk(words[i] >> 32);
    }
    size_t length = 2 * n;
    while (length > 0 && blocks[length - 1] == 0)
        length--;
    return BigUnsigned(blocks.data(), Index(length));
}

size_t trimmed(const std::vector<Word> &x, size_t n)
{
    while (n > 0 && x[n - 1] == 0)
        n--;
    return n;
}

unsigned bitLength(Word x)
{
    return x == 0 ? 0 : 64 - unsigned(__builtin_clzll(x));
}

// leadingBits bits of x[0..n) from bit `at` upward.
Word bitsAt(const std::vector<Word> &x, size_t n, unsigned long long at)
{
    const size_t word = size_t(at / 64);
    const unsigned shift = unsigned(at % 64);
    if (word >= n)
        return 0;
    DoubleWord window = x[word];
    if (word + 1 < n)
        window |= DoubleWord(x[word + 1]) << 64;
    return Word(window >> shift) & ((Word(1) << leadingBits) - 1);
}

Word gcdOfWords(Word a, Word b)
{
    while (b != 0) {
        a %= b;
        std::swap(a, b);
    }
    return a;
}

BigUnsigned gcdOnWords(std::vector<Word> a, std::vector<Word> b)
{
    size_t an = trimmed(a, a.size()), bn = trimmed(b, b.size());
    const size_t size = an > bn ? an : bn;
    a.resize(size);
    b.resize(size);
    if (an < bn || (an == bn && an > 0 && a[an - 1] < b[bn - 1])) {
        std::swap(a, b);
        std::swap(an, bn);
    }
    std::vector<Word> nextA(size), nextB(size);
    while (bn > 1) {
        // Invariant: a >= b, both trimmed, a of an words and b of bn >= 2.
        const unsigned long long at = 64ull * (an - 1) + bitLength(a[an - 1]) - leadingBits;
        long long x = (long long)bitsAt(a, an, at), y = (long long)bitsAt(b, bn, at);
        long long p = 1, q = 0, r = 0, s = 1; // a' = p*a + q*b, b' = r*a + s*b
        for (;;) {
            if (y + r <= 0 || y + s <= 0)
                break;
            const long long quotient = (x + p) / (y + r);
            if (quotient != (x + q) / (y + s))
                break;
            long long t = p - quotient * r;
            p = r;
            r = t;
            t = q - quotient * s;
            q = s;
            s = t;
            t = x - quotient * y;
            x = y;
            y = t;
        }
        if (q == 0) {
            // The leading bits decide not even one quotient: one long division.
            BigUnsigned remainder = fromWords(a.data(), an), quotient;
            remainder.divideWithRemainder(fromWords(b.data(), bn), quotient);
            std::vector<Word> rest = wordsOf(remainder);
            std::swap(a, b);
            an = bn;
            std::fill(b.begin(), b.end(), 0);
            std::copy(rest.begin(), rest.end(), b.begin());
            bn = rest.size();
            continue;
        }
        SignedDoubleWord carryA = 0, carryB = 0;
        for (size_t i = 0; i < an; i++) {
            const SignedDoubleWord ai = a[i], bi = i < bn ? b[i] : 0;
            carryA += p * ai + q * bi;
            carryB += r * ai + s * bi;
            nextA[i] = Word(carryA);
            nextB[i] = Word(carryB);
            carryA >>= 64;
            carryB >>= 64;
        }
        assert(carryA == 0 && carryB == 0);
        std::swap(a, nextA);
        std::swap(b, nextB);
        an = trimmed(a, an);
        bn = trimmed(b, an);
        if (an == bn
            && std::lexicographical_compare(a.rend() - an, a.rend(), b.rend() - an, b.rend()))
            std::swap(a, b);
    }
    if (bn == 0)
        return fromWords(a.data(), an);
    Word rest = 0;
    for (size_t i = an; i > 0; i--)
        rest = Word(((DoubleWord(rest) << 64) | a[i - 1]) % b[0]);
    const Word g = gcdOfWords(b[0], rest);
    return fromWords(&g, 1);
}

#endif

} // namespace

BigUnsigned GcdPaths::gcdByRemainders(BigUnsigned a, BigUnsigned b)
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

BigUnsigned GcdPaths::gcdLehmer(const BigUnsigned &a, const BigUnsigned &b, Index minimumBlocks)
{
#ifdef __SIZEOF_INT128__
    // The reference returns one of its working values, normal when the operands are, as a copy:
    // its capacity is its length, as here.
    if (isNormal(a) && isNormal(b) && a.getLength() >= minimumBlocks
        && b.getLength() >= minimumBlocks)
        return gcdOnWords(wordsOf(a), wordsOf(b));
#else
    (void)minimumBlocks;
#endif
    return gcdByRemainders(a, b);
}

BigUnsigned gcd(BigUnsigned a, BigUnsigned b)
{
    return GcdPaths::gcdLehmer(a, b);
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
    using BlockOps::bitsPerBlock;
    const Index modulusBlocks = modulus.getLength();
    const Index n = limbsFor(modulusBlocks);
    LimbBuffer buffer(8 * n + 4);
    Limb *m = buffer.get(), *power = m + n, *result = power + n, *product = result + 2 * n + 1;
    Limb *quotient = product + 2 * n + 1, *scratch = quotient + n + 2;
    blocksToLimbs(m, modulus.blocks, modulusBlocks);
    const LimbDivisor divisor(m, n, scratch);
    blocksToLimbs(power, reducedBase.blocks, reducedBase.length);
    const Index powerLength = trimmedLength(power, limbsFor(reducedBase.length));
    // The result is kept shifted left by the divisor's dividend shift, so that a product with
    // the unshifted base is a dividend ready for division and each remainder the next result,
    // with no shift in or out; a square, shifted twice, is shifted back once.
    const unsigned shift = divisor.dividendShift();
    Index resultLength = 1;
    result[0] = Limb(1) << shift;
    Index capacity = 1;

    // result = result * factor mod m, as one multiplication and one long division.
    auto step = [&](const Limb *factor, Index factorLength) {
        if (resultLength == 0 || factorLength == 0) {
            resultLength = 0;
            return;
        }
        if (resultLength == factorLength && resultLength <= ShortProducts::maxLimbs)
            ShortProducts::multiply(product, result, factor, resultLength);
        else
            multiplyLimbs(product, result, resultLength, factor, factorLength);
        Index productLength = resultLength + factorLength;
        if (factor == result && shift > 0)
            shiftRightLimbs(product, product, productLength, shift);
        productLength = trimmedLength(product, productLength);
        // The blocks of the unshifted product, the length the reference sees (a square of a
        // long modulus may have more bits than an Index counts).
        const unsigned long long productBits = (unsigned long long)productLength * bitsPerLimb
                - leadingZeroBits(product[productLength - 1]) - shift;
        const Index productBlocks = Index((productBits + bitsPerBlock - 1) / bitsPerBlock);
        const bool divided = productBlocks >= modulusBlocks;
        if (productBlocks + divided > capacity)
            capacity = productBlocks + divided;
        if (divided) {
            product[productLength] = 0;
            divisor.divideShifted(quotient, product, productLength);
            productLength = trimmedLength(product, n);
        }
        std::swap(result, product);
        resultLength = productLength;
    };
    for (Index i = exponent.bitLength(); i > 0;) {
        i--;
        step(result, resultLength);
        if (exponent.bitAt(i))
            step(power, powerLength);
    }
    if (shift > 0) {
        shiftRightLimbs(result, result, resultLength, shift);
        resultLength = trimmedLength(result, resultLength);
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
