// Internal to the library; not installed.
#ifndef ORVEX_BIGINT_FASTPATHS_P_H
#define ORVEX_BIGINT_FASTPATHS_P_H

#include "bigint/BigInteger.h"
#include "bigint/BigUnsigned.h"
#include "bigint/LimbOps_p.h"

#include <memory>

// The integer operations have two paths: the reference algorithms, which fix every result,
// length, capacity and thrown text (those of non-normal values included), and fast paths taken
// only for operands in normal form, which leave exactly what the reference leaves. Both are
// callable here side by side: the tests compare them and the benchmarks measure each. The
// public operations run the fast routine, which falls back to the reference for operands that
// are not in normal form.
class BigIntPaths
{
public:
    using Index = BigUnsigned::Index;
    using Blk = BigUnsigned::Blk;
    using Limb = LimbOps::Limb;

    static bool isNormal(const BigUnsigned &x)
    {
        return x.getLength() == 0 || x.blockAt(x.getLength() - 1) != 0;
    }

    // Where the multiplication changes method, in limbs of both operands (the shorter one, for
    // unequal lengths). Set from ORVEX_BENCH_CALIBRATE=1 bench_integers (2-core AMD EPYC, g++
    // -O2, fastest of 4 runs in CPU time on a shared machine, so a few percent are noise). One
    // Karatsuba step with halves by rows against rows alone: products of 16 limbs 0.28 us against
    // 0.24 us, 24 limbs 0.50 against 0.53, 32 limbs 0.81 against 0.88, 48 limbs 1.69 against
    // 1.93; squares of 32 limbs 0.57 us against 0.50 us, 40 limbs 0.75 against 0.71, 48 limbs
    // 1.03 against 1.08, 64 limbs 1.66 against 1.93. One step of Toom's three-way split with
    // parts by that Karatsuba against Karatsuba alone (fastest of 2): products of 160 limbs 14.7
    // us against 12.9 us, 192 limbs 18.1 against 19.3, 384 limbs 55.5 against 61.6 (320 and 512
    // limbs 3 % slower); squares of 128 limbs 7.0 us against 6.9 us, 512 limbs 59.2 against
    // 65.8, and in a second run (fastest of 3) 192 limbs 12.7 against 13.5, 256 limbs 19.4
    // against 19.6, 320 limbs 24.5 against 29.4, 384 limbs 34.5 against 41.1 (the first run had
    // 256 and 320 limbs 9 to 15 % slower: between 128 and 512 limbs the two are within the noise).
    // Transforms from 4096 limbs: ORVEX_BENCH_CALIBRATE=1 bench_integers
    // --benchmark_filter=transform (g++ -O2, fastest of 5, quiet machine, the row kernels of
    // this threshold's time): the library's splits against transforms, products of 2048 limbs
    // 559 us against 647, 3072 limbs 1164 against 1181, 4096 limbs 1813 against 1397, 8192
    // limbs 4817 against 3579; squares of 2048 limbs 438 against 542, 3072 limbs 877 against 835,
    // 4096 limbs 1238 against 1198, 8192 limbs 3898 against 3033. Between the threshold and 2.5
    // times it only products that fill their transform go through one (see usesTransform).
#ifdef __SIZEOF_INT128__
    static constexpr Index transformLimbs = 4096;
    static constexpr Index transformSquareLimbs = 4096;
#else
    static constexpr Index transformLimbs = ~Index(0);
    static constexpr Index transformSquareLimbs = ~Index(0);
#endif
    struct MultiplyThresholds
    {
        Index karatsuba;
        Index karatsubaSquare;
        Index toom;
        Index toomSquare;
        // Number-theoretic transforms, from this many limbs of the shorter operand; where limbs
        // are not 64 bits wide, never.
        Index transform;
        Index transformSquare;
    };
    static constexpr MultiplyThresholds multiplyThresholds{
            24, 48, 192, 192, transformLimbs, transformSquareLimbs};
    // The longest product (xn + yn limbs) made by one transform; longer ones are split by Toom's
    // method into parts that are. A transform's scratch is 64 bytes per residue, the product's
    // length rounded up to 2^k or 3 * 2^k: at most 64 MiB.
    static constexpr Index maxTransformLimbs = Index(1) << 20;

    // Divisors of this many limbs or more are divided recursively (halves of the quotient, each
    // estimated from the top of the divisor and corrected by one product), below it by algorithm
    // D alone. Set from ORVEX_BENCH_CALIBRATE=1 bench_integers --benchmark_filter=calibrate-divide
    // (2-core machine under load, g++ -O2, median of 3, 2n limbs by n): 256 limbs 63 us from 48
    // against 95 us by algorithm D alone, 1024 limbs 0.67 ms against 1.40 ms; from 64 to 128 limbs
    // every threshold from 16 to 128 within the noise (128 limbs: 21 us from 48, 22 us without).
    static constexpr Index recursiveDivisionLimbs = 48;

    // r = a * b as BigUnsigned::multiply does it: bit by bit through shifted blocks, or fast.
    static void multiplyReference(BigUnsigned &r, const BigUnsigned &a, const BigUnsigned &b);
    static void multiplyFast(BigUnsigned &r, const BigUnsigned &a, const BigUnsigned &b,
                             const MultiplyThresholds &thresholds = multiplyThresholds);
    // The receiver x holds the dividend and gets the remainder, q the quotient, as
    // BigUnsigned::divideWithRemainder does it: base-2 long division, or fast.
    static void divideReference(BigUnsigned &x, const BigUnsigned &b, BigUnsigned &q);
    static void divideFast(BigUnsigned &x, const BigUnsigned &b, BigUnsigned &q,
                           Index recursiveLimbs = recursiveDivisionLimbs);
    // modexp's square-and-multiply, reducing by the reference operations, or on limbs with all
    // storage sized once.
    static BigUnsigned modexpReference(const BigInteger &base, const BigUnsigned &exponent,
                                       const BigUnsigned &modulus);
    static BigUnsigned modexpFast(const BigInteger &base, const BigUnsigned &exponent,
                                  const BigUnsigned &modulus);

    // Limb kernels. product[0..xn+yn) = x * y, overlapping neither operand; x == y with xn == yn
    // squares. xn and yn may be 0.
    static void multiplyLimbs(Limb *product, const Limb *x, Index xn, const Limb *y, Index yn,
                              const MultiplyThresholds &thresholds = multiplyThresholds);
    // product[0..xn+yn) = x * y through number-theoretic transforms, xn, yn >= 1 and xn + yn
    // <= maxTransformLimbs; x == y with xn == yn squares. Only where limbs are 64 bits wide.
    static void multiplyByTransform(Limb *product, const Limb *x, Index xn, const Limb *y,
                                    Index yn);
    // The length of the transforms for a product of `coefficients` + 1 limbs: the least 2^k or
    // 3 * 2^k (k >= 1) not below `coefficients`.
    static Index transformLength(Index coefficients)
    {
        Index length = 2;
        while (length < coefficients)
            length *= 2;
        return length >= 8 && length / 4 * 3 >= coefficients ? length / 4 * 3 : length;
    }
    // product[0..2n) = x * x, overlapping x nowhere.
    static void squareLimbs(Limb *product, const Limb *x, Index n,
                            const MultiplyThresholds &thresholds = multiplyThresholds);
    // Knuth's division of u[0..un] (un + 1 limbs, the top one a guard that must be zero) by
    // v[0..vn), 1 <= vn <= un, v's top limb non-zero: quotient[0..un-vn] gets the quotient,
    // u[0..vn) the remainder and the limbs of u above it zeros. v is left as it was; scratch
    // holds vn limbs. Divisors of `recursiveLimbs` limbs or more are divided recursively.
    static void divideLimbs(Limb *quotient, Limb *u, Index un, const Limb *v, Index vn,
                            Limb *scratch, Index recursiveLimbs = recursiveDivisionLimbs);

private:
    // Sizes r for the product of a and b; false, with r zero, when either is zero.
    static bool startProduct(BigUnsigned &r, const BigUnsigned &a, const BigUnsigned &b);
    static void refuseOverLong(BigUnsigned &r);
    // multiplyFast for normal operands of the same number of limbs, at most
    // ShortProducts::maxLimbs, r sized (where limbs are two blocks).
    static void multiplyShort(BigUnsigned &r, const BigUnsigned &a, const BigUnsigned &b);
    static void divideFastInto(BigUnsigned &x, const BigUnsigned &b, BigUnsigned &q,
                               Index recursiveLimbs);
    static BigUnsigned modexpOnLimbs(const BigUnsigned &reducedBase, const BigUnsigned &exponent,
                                     const BigUnsigned &modulus);
};

// Products of short operands, the moduli of modular arithmetic and the values of a few words
// that most programs multiply: column by column (each product limb summed in three limbs of
// registers before it is stored), with no dispatch on lengths or scratch. The loops over limbs
// here and in the short division are unrolled by pragma, before the arrays they fill are assigned
// registers: left rolled, the compiler keeps those arrays on the stack.
namespace ShortProducts {

using LimbOps::Limb;
using Index = BigUnsigned::Index;

// Operands of up to this many limbs are short.
constexpr Index maxLimbs = 4;

// c2:c1:c0 += x * y, the sum known to fit.
inline void addProduct(Limb &c0, Limb &c1, Limb &c2, Limb x, Limb y, bool twice = false)
{
#ifdef ORVEX_LIMB_ASSEMBLY
    Limb high, low;
    LimbOps::multiplyWide(x, y, &high, &low);
    __asm__("addq %3, %0\n\tadcq %4, %1\n\tadcq $0, %2"
            : "+&r"(c0), "+&r"(c1), "+&r"(c2)
            : "r"(low), "r"(high)
            : "cc");
    if (twice) {
        __asm__("addq %3, %0\n\tadcq %4, %1\n\tadcq $0, %2"
                : "+&r"(c0), "+&r"(c1), "+&r"(c2)
                : "r"(low), "r"(high)
                : "cc");
    }
#else
    const LimbOps::DoubleLimb product = LimbOps::DoubleLimb(x) * y;
    for (int turn = 0; turn < (twice ? 2 : 1); turn++) {
        const Limb low = Limb(product);
        const Limb high = LimbOps::highLimb(product) + ((c0 += low) < low); // a high limb < B - 1
        c2 += (c1 += high) < high;
    }
#endif
}

// product[0..2N) = x[0..N) * y[0..N); x == y squares, each cross product formed once and added
// twice. product overlaps neither operand.
template <Index N>
inline void multiply(Limb *product, const Limb *x, const Limb *y)
{
    const bool square = x == y;
    Limb c0 = 0, c1 = 0, c2 = 0;
#pragma GCC unroll 8
    for (Index k = 0; k + 1 < 2 * N; k++) {
#pragma GCC unroll 8
        for (Index i = 0; i < N; i++) {
            if (i > k || k - i >= N)
                continue;
            if (!square)
                addProduct(c0, c1, c2, x[i], y[k - i]);
            else if (2 * i < k)
                addProduct(c0, c1, c2, x[i], x[k - i], true);
            else if (2 * i == k)
                addProduct(c0, c1, c2, x[i], x[i]);
        }
        product[k] = c0;
        c0 = c1;
        c1 = c2;
        c2 = 0;
    }
    product[2 * N - 1] = c0;
}

// As multiply<N>, for operands of n limbs, 1 <= n <= maxLimbs.
inline void multiply(Limb *product, const Limb *x, const Limb *y, Index n)
{
    switch (n) {
    case 1:
        return multiply<1>(product, x, y);
    case 2:
        return multiply<2>(product, x, y);
    case 3:
        return multiply<3>(product, x, y);
    default:
        assert(n == 4);
        return multiply<4>(product, x, y);
    }
}

} // namespace ShortProducts

// A divisor of limbs made ready once for many divisions (algorithm D): shifted until its top bit
// is set, with the reciprocal of its top two limbs.
class LimbDivisor
{
public:
    using Index = BigUnsigned::Index;
    using Limb = LimbOps::Limb;

    // v[0..vn), vn >= 1, the top limb non-zero; `storage` holds vn limbs for the shifted copy and
    // outlives the divisor, and so does v. From `recursiveLimbs` limbs on, v divides recursively.
    LimbDivisor(const Limb *v, Index vn, Limb *storage,
                Index recursiveLimbs = BigIntPaths::recursiveDivisionLimbs);
    // As BigIntPaths::divideLimbs: quotient[0..un-vn] = u[0..un] / v, u[0..vn) the remainder, the
    // limbs above it zero; un >= vn and u[un] a zero guard.
    void divide(Limb *quotient, Limb *u, Index un) const;
    // The left shift divideShifted expects of its dividend (the one that sets the divisor's top
    // bit; 0 for a one-limb divisor, which shifts on the fly).
    unsigned dividendShift() const { return vn >= 2 ? shift : 0; }
    // As divide, for a dividend already shifted left by dividendShift(); the remainder in
    // u[0..vn) stays shifted. Saves a repeated division the shifts in and out.
    void divideShifted(Limb *quotient, Limb *u, Index un) const;

private:
    const Limb *v;
    Index vn;
    unsigned shift;
    LimbOps::TwoLimbDivisor top;
    Index recursiveLimbs;
};

// Limb storage for a fast path: on the stack when small, else on the heap.
class LimbBuffer
{
public:
    explicit LimbBuffer(BigUnsigned::Index n) : data(n <= localSize ? local : new LimbOps::Limb[n])
    {
        if (data != local)
            heap.reset(data);
    }
    LimbBuffer(const LimbBuffer &) = delete;
    LimbBuffer &operator=(const LimbBuffer &) = delete;
    LimbOps::Limb *get() { return data; }

private:
    static constexpr BigUnsigned::Index localSize = 256;
    LimbOps::Limb local[localSize];
    std::unique_ptr<LimbOps::Limb[]> heap;
    LimbOps::Limb *data;
};

#endif // ORVEX_BIGINT_FASTPATHS_P_H
