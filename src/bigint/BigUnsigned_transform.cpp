// Products of long operands through number-theoretic transforms.
//
// The limbs of each operand are the coefficients of a polynomial in B = 2^64; the product's
// coefficients (convolution sums below min(xn, yn) * B^2 < 2^150) are found modulo three primes
// p = c * 2^32 + 1 just below 2^62 by cyclic convolutions of a power-of-two length N, each a
// transform of both operands, N pointwise products and an inverse transform: about N log N
// multiplications of residues where splitting methods take a power above one of the length. The
// Chinese remainder theorem joins the three residues (their product is above 2^185) into the
// exact coefficient, and the coefficients, three limbs wide, are summed at their limb offsets.
//
// - Residues stay in [0, 2p) between steps, and a sum or difference before a reduction below
//   4p < 2^64, so each step needs at most one conditional subtraction.
// - Products of residues are reduced by Montgomery's method: REDC(t) = t / 2^64 mod p, in
//   [0, 2p) for t < 2^64 p. The roots of unity are kept multiplied by 2^64 mod p, so one REDC
//   of a residue times a root is the plain product.
// - The forward transform is decimation in frequency from natural order to bit-reversed order,
//   the inverse decimation in time from bit-reversed order back to natural order, so no
//   permutation is ever made; the pointwise products do not mind the order. The factor 1 / N
//   rides along in the pointwise step.
// - Above a block of the first level's cache size each transform goes depth first, one level of
//   butterflies across the whole then each half on its own, so the deeper levels run in cache.
#include "bigint/FastPaths_p.h"
#include "bigint/LimbOps_p.h"

#include <cassert>
#include <memory>

#ifdef __SIZEOF_INT128__

using namespace LimbOps;

namespace {

// Arithmetic modulo one of the primes, p < 2^62.
struct Modulus
{
    Limb p;
    Limb negatedInverse; // -1 / p modulo 2^64
    Limb r; // 2^64 mod p
    Limb r2; // 2^128 mod p

    explicit Modulus(Limb prime) : p(prime)
    {
        // p * inverse == 1 modulo 2^64: Newton's step doubles the bits that are right, from the 3
        // that p itself has right (p * p == 1 modulo 8 for odd p).
        Limb inverse = p;
        for (int i = 0; i < 5; i++)
            inverse *= 2 - p * inverse;
        negatedInverse = Limb(0) - inverse;
        r = Limb((DoubleLimb(1) << 64) % p);
        r2 = Limb(DoubleLimb(r) * r % p);
    }

    // a * b / 2^64 mod p, in [0, 2p), for a * b < 2^64 p (both below 4p, one below 2p, say).
    Limb multiply(Limb a, Limb b) const { return reduce(DoubleLimb(a) * b, p, negatedInverse); }

    // t / 2^64 mod p, in [0, 2p), for t < 2^64 p (Montgomery's REDC). Static, so that loops can
    // hold p and its inverse in registers rather than read them through a pointer that might
    // alias the residues they store.
    static Limb reduce(DoubleLimb t, Limb p, Limb negatedInverse)
    {
        const Limb low = Limb(t);
        const Limb m = low * negatedInverse;
        // low + the low limb of m * p is 0 modulo 2^64, with a carry unless low is 0.
        return highLimb(t) + highLimb(DoubleLimb(m) * p) + (low != 0);
    }

    // x mod p for x < 2p.
    Limb normal(Limb x) const { return x >= p ? x - p : x; }

    // a * b mod p in plain form, a and b below p; for the few constants.
    Limb plainProduct(Limb a, Limb b) const { return normal(multiply(multiply(a, b), r2)); }

    // Plain x as its Montgomery form x * 2^64 mod p.
    Limb toMontgomery(Limb x) const { return normal(multiply(x, r2)); }

    Limb power(Limb base, unsigned long long e) const
    {
        Limb result = 1;
        for (; e > 0; e >>= 1, base = plainProduct(base, base)) {
            if (e & 1)
                result = plainProduct(result, base);
        }
        return result;
    }
};

// The primes, c * 3 * 2^32 + 1, and a root of unity of order 3 * 2^32 modulo each: transforms
// of lengths 2^k and 3 * 2^k, so that a product rounds its length up by a third at most, not by
// half.
constexpr unsigned maxLogLength = 32;
struct PrimeRoot
{
    Limb prime;
    Limb root;
};
constexpr PrimeRoot primes[3] = {
        {0x3fffffb400000001ull, 0x014a67b56da20adfull},
        {0x3fffff5d00000001ull, 0x2d50d27cddb461c5ull},
        {0x3fffff3000000001ull, 0x029233174d6ed392ull},
};

// A constant factor w < p for Shoup's product: with w' = floor(w 2^64 / p), x w - floor(x w' /
// 2^64) p is x w mod p up to one p, for any x below 2^64, and takes one wide and two short
// multiplications where Montgomery's takes two wide and one short.
struct Factor
{
    Limb w;
    Limb quotient; // w'

    Factor() = default;
    // From w's Montgomery form wM = w 2^64 mod p: as w 2^64 = w' p + wM, w' is -wM / p modulo
    // 2^64, exactly, with no division.
    Factor(const Modulus &mod, Limb montgomery)
        : w(mod.normal(mod.multiply(montgomery, 1))), quotient(montgomery * mod.negatedInverse)
    {}

    // x w mod p, in [0, 2p).
    Limb times(Limb x, Limb p) const { return x * w - highLimb(DoubleLimb(x) * quotient) * p; }
};

// Factors out[i * stride] = the root to the i, i < count, for a root in Montgomery form; in
// interleaved chains of products, so that the multiplications overlap.
void fillPowers(Factor *out, Index count, Index stride, const Modulus &mod, Limb root)
{
    constexpr Index chains = 8;
    Limb power[chains];
    power[0] = mod.r; // 1
    for (Index c = 1; c < chains; c++)
        power[c] = mod.normal(mod.multiply(power[c - 1], root));
    const Limb step = mod.normal(mod.multiply(power[chains - 1], root));
    for (Index i = 0; i < count; i += chains) {
        for (Index c = 0; c < chains && i + c < count; c++) {
            out[(i + c) * stride] = Factor(mod, power[c]);
            power[c] = mod.normal(mod.multiply(power[c], step));
        }
    }
}

// Transforms of `length` residues modulo one prime, length 2^k or 3 * 2^k (k >= 1). The latter
// takes a step of three-way butterflies first (three interleaved thirds), then transforms of the
// thirds.
// - roots[m + j] (1 <= m < the power of two, 0 <= j < m) holds the root of order 2m to the j: a
//   level with halves of m residues reads m consecutive roots.
// - For three thirds of t residues, roots[2^k + 2j] and [2^k + 2j + 1] hold w^j and w^2j, the root
//   w of order 3t, and roots[2^k + 2t + 2j], [... + 1] their inverses.
class Transform
{
public:
    // roots has room for 2 * length factors.
    Transform(const Modulus &modulus, Limb rootOfMaxOrder, Index length, Factor *roots)
        : mod(modulus), length(length), third(length % 3 == 0 ? length / 3 : 0), roots(roots)
    {
        const Index powerOfTwo = third != 0 ? third : length;
        unsigned logLength = 0;
        while ((Index(1) << logLength) < powerOfTwo)
            logLength++;
        assert(powerOfTwo >= 2 && Index(1) << logLength == powerOfTwo && logLength <= maxLogLength);
        // The root of order `length`, then of order `powerOfTwo`.
        Limb root =
                mod.power(rootOfMaxOrder, (third != 0 ? 1ull : 3ull) << (maxLogLength - logLength));
        if (third != 0) {
            const Limb inverse = mod.power(root, 3 * third - 1);
            Factor *twiddles = roots + powerOfTwo;
            fillPowers(twiddles, third, 2, mod, mod.toMontgomery(root));
            fillPowers(twiddles + 1, third, 2, mod, mod.toMontgomery(mod.plainProduct(root, root)));
            fillPowers(twiddles + 2 * third, third, 2, mod, mod.toMontgomery(inverse));
            fillPowers(twiddles + 2 * third + 1, third, 2, mod,
                       mod.toMontgomery(mod.plainProduct(inverse, inverse)));
            cubeRoot = Factor(mod, mod.toMontgomery(mod.power(root, third)));
            root = mod.power(root, 3);
        }
        // The top level's roots; the levels below take every other root of the one above.
        const Index half = powerOfTwo / 2;
        fillPowers(roots + half, half, 1, mod, mod.toMontgomery(root));
        for (Index m = half / 2; m >= 1; m /= 2) {
            for (Index j = 0; j < m; j++)
                roots[m + j] = roots[2 * m + 2 * j];
        }
    }

    // a[0..length) in [0, 2p) to its transform in bit-reversed order, in [0, 2p).
    void forward(Limb *a) const
    {
        if (third == 0) {
            forward(a, length);
            return;
        }
        threeWayForward(a);
        for (int i = 0; i < 3; i++)
            forward(a + i * third, third);
    }

    // The inverse of forward, but for a factor `length`: back to natural order.
    void inverse(Limb *a) const
    {
        if (third == 0) {
            inverse(a, length);
            return;
        }
        for (int i = 0; i < 3; i++)
            inverse(a + i * third, third);
        threeWayInverse(a);
    }

private:
    static constexpr Index cacheBlock = 1024;

    // x mod p into [0, 2p) for x < 4p.
    static Limb reduced(Limb x, Limb twoP) { return x >= twoP ? x - twoP : x; }

    // The three-way butterflies, with c the cube root of 1 (c^2 = -1 - c) and w the root of order
    // 3t: (a0, a1, a2) at j, j + t, j + 2t to (a0 + a1 + a2, (a0 + c a1 + c^2 a2) w^j,
    // (a0 + c^2 a1 + c a2) w^2j), the middle sums as a0 - a2 + c (a1 - a2) and a0 - a1 - c (a1 -
    // a2): one product by c.
    void threeWayForward(Limb *a) const
    {
        const Limb p = mod.p, twoP = 2 * p;
        const Factor *w = roots + third;
        Limb *a1 = a + third, *a2 = a1 + third;
        for (Index j = 0; j < third; j++) {
            const Limb u0 = a[j], u1 = a1[j], u2 = a2[j];
            const Limb c = cubeRoot.times(u1 - u2 + twoP, p);
            a[j] = reduced(reduced(u0 + u1, twoP) + u2, twoP);
            const Limb s1 = reduced(reduced(u0 - u2 + twoP, twoP) + c, twoP);
            const Limb s2 = reduced(reduced(u0 - u1 + twoP, twoP) - c + twoP, twoP);
            a1[j] = w[2 * j].times(s1, p);
            a2[j] = w[2 * j + 1].times(s2, p);
        }
    }

    // Their inverse, but for a factor 3: (b0, b1, b2) to s1 = b1 w^-j, s2 = b2 w^-2j, then (b0 +
    // s1 + s2, b0 + c^2 s1 + c s2, b0 + c s1 + c^2 s2), the last two as b0 - s1 + c (s2 - s1)
    // and b0 - s2 - c (s2 - s1).
    void threeWayInverse(Limb *a) const
    {
        const Limb p = mod.p, twoP = 2 * p;
        const Factor *w = roots + 3 * third;
        Limb *a1 = a + third, *a2 = a1 + third;
        for (Index j = 0; j < third; j++) {
            const Limb b0 = a[j];
            const Limb s1 = w[2 * j].times(a1[j], p), s2 = w[2 * j + 1].times(a2[j], p);
            const Limb c = cubeRoot.times(s2 - s1 + twoP, p);
            a[j] = reduced(reduced(b0 + s1, twoP) + s2, twoP);
            a1[j] = reduced(reduced(b0 - s1 + twoP, twoP) + c, twoP);
            a2[j] = reduced(reduced(b0 - s2 + twoP, twoP) - c + twoP, twoP);
        }
    }

    // The butterflies between the halves of a[0..2m): (u, v) to (u + v, (u - v) w^j).
    void forwardLevel(Limb *a, Index m) const
    {
        const Limb p = mod.p, twoP = 2 * p;
        Limb *high = a + m;
        const Factor *w = roots + m;
        for (Index j = 0; j < m; j++) {
            const Limb u = a[j], v = high[j];
            const Limb sum = u + v;
            a[j] = sum >= twoP ? sum - twoP : sum;
            high[j] = w[j].times(u - v + twoP, p);
        }
    }

    // The inverse butterflies: (u, v) to (u + v w^-j, u - v w^-j). w^-j is -w^(m - j), the root
    // being of order 2m, and w^0 is 1.
    void inverseLevel(Limb *a, Index m) const
    {
        const Limb p = mod.p, twoP = 2 * p;
        Limb *high = a + m;
        const Factor *w = roots + m;
        {
            const Limb u = a[0], v = high[0];
            const Limb sum = u + v, difference = u - v + twoP;
            a[0] = sum >= twoP ? sum - twoP : sum;
            high[0] = difference >= twoP ? difference - twoP : difference;
        }
        for (Index j = 1; j < m; j++) {
            const Limb u = a[j], t = w[m - j].times(high[j], p); // t = -v w^-j
            const Limb difference = u - t + twoP, sum = u + t;
            a[j] = difference >= twoP ? difference - twoP : difference;
            high[j] = sum >= twoP ? sum - twoP : sum;
        }
    }

    // The last level of the forward transform and the first of the inverse: pairs, w^0 = 1.
    void pairLevel(Limb *a, Index n) const
    {
        const Limb twoP = 2 * mod.p;
        for (Index s = 0; s < n; s += 2) {
            const Limb u = a[s], v = a[s + 1];
            const Limb sum = u + v, difference = u - v + twoP;
            a[s] = sum >= twoP ? sum - twoP : sum;
            a[s + 1] = difference >= twoP ? difference - twoP : difference;
        }
    }

    void forward(Limb *a, Index n) const
    {
        if (n > cacheBlock) {
            forwardLevel(a, n / 2);
            forward(a, n / 2);
            forward(a + n / 2, n / 2);
            return;
        }
        for (Index m = n / 2; m >= 2; m /= 2) {
            for (Index s = 0; s < n; s += 2 * m)
                forwardLevel(a + s, m);
        }
        pairLevel(a, n);
    }

    void inverse(Limb *a, Index n) const
    {
        if (n > cacheBlock) {
            inverse(a, n / 2);
            inverse(a + n / 2, n / 2);
            inverseLevel(a, n / 2);
            return;
        }
        pairLevel(a, n);
        for (Index m = 2; m < n; m *= 2) {
            for (Index s = 0; s < n; s += 2 * m)
                inverseLevel(a + s, m);
        }
    }

    const Modulus mod;
    Index length;
    Index third; // a third of the length, or 0 for a power of two
    Factor cubeRoot{};
    const Factor *roots;
};

// out[0..length) = x[0..n) reduced into [0, 2p), zeros above.
void loadResidues(Limb *out, const Limb *x, Index n, Index length, Limb p)
{
    const Limb twoP = 2 * p;
    for (Index i = 0; i < n; i++) {
        Limb v = x[i]; // below 2^64 < 6p
        v = v >= twoP ? v - twoP : v;
        out[i] = v >= twoP ? v - twoP : v;
    }
    zeroLimbs(out + n, length - n);
}

// residues[0..length) = the cyclic convolution of x and y modulo the prime, in [0, 2p); `other`
// holds `length` limbs of scratch, `roots` 2 * length factors.
void convolve(Limb *residues, const Limb *x, Index xn, const Limb *y, Index yn, Index length,
              const PrimeRoot &prime, Limb *other, Factor *roots)
{
    const Modulus mod(prime.prime);
    const Transform transform(mod, prime.root, length, roots);
    loadResidues(residues, x, xn, length, mod.p);
    transform.forward(residues);
    const Limb *transformedY = residues;
    if (x != y || xn != yn) {
        loadResidues(other, y, yn, length, mod.p);
        transform.forward(other);
        transformedY = other;
    }
    // a * b / 2^64 (Montgomery's product), then times 2^64 / length, leaves a * b / length.
    const Limb lengthInverse = mod.p - (mod.p - 1) / length;
    const Factor scale(mod, mod.toMontgomery(mod.plainProduct(mod.r, lengthInverse)));
    const Limb p = mod.p, negatedInverse = mod.negatedInverse;
    for (Index i = 0; i < length; i++) {
        const DoubleLimb product = DoubleLimb(residues[i]) * transformedY[i];
        residues[i] = scale.times(Modulus::reduce(product, p, negatedInverse), p);
    }
    transform.inverse(residues);
}

} // namespace

void BigIntPaths::multiplyByTransform(Limb *product, const Limb *x, Index xn, const Limb *y,
                                      Index yn)
{
    assert(xn >= 1 && yn >= 1 && xn + yn <= maxTransformLimbs);
    const Index coefficients = xn + yn - 1;
    const Index length = transformLength(coefficients);
    std::unique_ptr<Limb[]> storage(new Limb[4 * length]);
    std::unique_ptr<Factor[]> roots(new Factor[2 * length]);
    Limb *r1 = storage.get(), *r2 = r1 + length, *r3 = r2 + length, *other = r3 + length;
    convolve(r1, x, xn, y, yn, length, primes[0], other, roots.get());
    convolve(r2, x, xn, y, yn, length, primes[1], other, roots.get());
    convolve(r3, x, xn, y, yn, length, primes[2], other, roots.get());

    // Garner's form of the Chinese remainder theorem: the coefficient is
    // a1 + p1 a2 + p1 p2 a3 with a1 = r1, a2 = (r2 - a1) / p1 mod p2 and
    // a3 = (r3 - a1 - p1 a2) / (p1 p2) mod p3, each ai below pi.
    const Limb p1 = primes[0].prime, p2 = primes[1].prime, p3 = primes[2].prime;
    const Modulus mod2(p2), mod3(p3);
    const auto inverseOf = [](const Modulus &mod, Limb a) {
        return mod.power(a, mod.p - 2);
    };
    const Limb p1Mod2 = mod2.normal(p1), p1Mod3 = mod3.normal(p1);
    const Limb inverseP1 = mod2.toMontgomery(inverseOf(mod2, p1Mod2));
    const Limb inverseP1P2 =
            mod3.toMontgomery(inverseOf(mod3, mod3.plainProduct(p1Mod3, mod3.normal(p2))));
    const Limb p1Montgomery3 = mod3.toMontgomery(p1Mod3);
    const DoubleLimb p1p2 = DoubleLimb(p1) * p2;

    // The sum of the coefficients so far above limb i, three limbs and a carry.
    Limb sum0 = 0, sum1 = 0, sum2 = 0;
    for (Index i = 0; i < coefficients; i++) {
        const Limb a1 = r1[i] >= p1 ? r1[i] - p1 : r1[i];
        const Limb a1Mod2 = mod2.normal(a1);
        const Limb a2 = mod2.normal(mod2.multiply(mod2.normal(r2[i]) + p2 - a1Mod2, inverseP1));
        const Limb a1Mod3 = mod3.normal(a1);
        const Limb p1a2 = mod3.normal(mod3.multiply(a2, p1Montgomery3));
        Limb d = mod3.normal(r3[i]) + p3 - a1Mod3; // below 2 p3
        d = d >= p3 ? d - p3 : d;
        d = d + p3 - p1a2;
        const Limb a3 = mod3.normal(mod3.multiply(d, inverseP1P2));
        // a1 + p1 a2 + p1 p2 a3 < 2^186, as low:middle:high.
        const DoubleLimb a1a2 = DoubleLimb(p1) * a2 + a1;
        const DoubleLimb low = DoubleLimb(Limb(p1p2)) * a3 + Limb(a1a2);
        const DoubleLimb upper = DoubleLimb(highLimb(p1p2)) * a3 + highLimb(a1a2) + highLimb(low);
        // Add into the running sum, then the lowest limb is final.
        DoubleLimb s = DoubleLimb(sum0) + Limb(low);
        sum0 = Limb(s);
        s = DoubleLimb(sum1) + Limb(upper) + highLimb(s);
        sum1 = Limb(s);
        s = DoubleLimb(sum2) + highLimb(upper) + highLimb(s);
        sum2 = Limb(s);
        const Limb sum3 = highLimb(s);
        product[i] = sum0;
        sum0 = sum1;
        sum1 = sum2;
        sum2 = sum3;
    }
    // The product has xn + yn limbs: the carry above the last coefficient is its top limb, and
    // the rest must be zero.
    product[coefficients] = sum0;
    assert(sum1 == 0 && sum2 == 0);
}

#endif // __SIZEOF_INT128__
