// Division with remainder.
//
// The reference path is long division in base 2: for every quotient bit from the top it tries to
// subtract the divisor shifted to that bit, keeping the difference when no borrow is left. It
// fixes every result, length and capacity.
//
// The fast path is long division in base B = 2^64 (Knuth's algorithm D) on limbs:
// - Both operands are shifted left until the divisor's top limb has its top bit set; quotient
//   and remainder do not change but for the remainder's shift, undone at the end. The dividend
//   gains a limb on top (the guard) for the bits pushed out.
// - Invariant before each step j (from the top down): the dividend window u[j..j+vn] (vn + 1
//   limbs) is below B * v, so its quotient digit fits one limb. It holds at the start because
//   the guard is below 2^63 <= v's top limb, and afterwards because each window is the previous
//   remainder (below v) with the next limb appended.
// - The digit comes from the window's top three limbs divided by v's top two through a
//   precomputed reciprocal (the three-by-two step of Moller and Granlund): exact for those limbs,
//   so after subtracting the digit times the rest of v it is at most one too large, which shows
//   as a borrow out of the two-limb remainder and is mended by one add-back. Where the window's
//   top two limbs equal v's, the digit is B - 1 exactly.
// - After the last step u[0..vn) is the shifted remainder and the limbs above it are zero.
//
// Long divisors go recursively, still on the normalised operands; each quotient digit above is
// then a block of limbs rather than one limb:
// - A step divides a window of n + k limbs by the top n limbs d of v, the window's top n limbs
//   below d, so the quotient has k <= n limbs; the remainder replaces the window's low n limbs.
// - With k = n the quotient is found in two halves, the high one first, each a step of its own.
// - With k < n the window's top 2k limbs are divided by d's top k limbs (recursively, a quotient
//   of k limbs and a bit on top). For a normalised divisor that estimate exceeds the true
//   quotient by at most two. Subtracting the estimate times d's low n - k limbs from the n-limb
//   remainder of that division leaves the window less the estimate times d; while that is
//   negative (a borrow out of the top), the estimate drops by one and d is added back.
// - Below the threshold a step runs algorithm D over the window, whose invariant holds because
//   the window's top n limbs are below d.
// - The whole quotient goes a block of vn limbs at a time from the top (the top block shorter),
//   each block a step on the remainder so far with the next limbs appended.
// The work is a few products of each size on the way down, so the cost follows the cost of the
// multiplication times the depth; the scratch is vn limbs for the products besides what the
// multiplication takes.
#include "bigint/BigUnsigned.h"

#include "bigint/BlockOps_p.h"
#include "bigint/FastPaths_p.h"
#include "bigint/LimbOps_p.h"

#include <memory>

using namespace LimbOps;

namespace {

constexpr const char *sameVariableText =
        "BigUnsigned::divideWithRemainder: Cannot write quotient and remainder into the same "
        "variable";

// The steps of algorithm D for a normalised v of vn >= 2 limbs, u[0..un] as in divideLimbs, top
// made from v's top limbs.
void divideNormalised(Limb *quotient, Limb *u, Index un, const Limb *v, Index vn,
                      const TwoLimbDivisor &top)
{
    assert(vn >= 2 && vn <= un && v[vn - 1] == top.d1 && v[vn - 2] == top.d0);
    const DoubleLimb vTop = joinLimbs(top.d1, top.d0);
    for (Index j = un - vn + 1; j > 0;) {
        j--;
        Limb *window = u + j;
        const Limb u2 = window[vn], u1 = window[vn - 1], u0 = window[vn - 2];
        if (u2 == top.d1 && u1 == top.d0) {
            const Limb q = ~Limb(0);
            const Limb borrow = multiplySubtractLimb(window, v, vn, q);
            assert(borrow == u2);
            (void)borrow;
            window[vn] = 0;
            quotient[j] = q;
            continue;
        }
        DoubleLimb remainder;
        Limb q = top.divide(u2, u1, u0, &remainder);
        const Limb borrow = multiplySubtractLimb(window, v, vn - 2, q);
        DoubleLimb rest = remainder - borrow;
        if (remainder < borrow) { // one too large: add v back
            q--;
            const Limb carry = addLimbs(window, window, v, vn - 2);
            rest += vTop + carry;
        }
        window[vn - 2] = Limb(rest);
        window[vn - 1] = highLimb(rest);
        window[vn] = 0;
        quotient[j] = q;
    }
}

// high:low = x * y.
inline void multiplyToTwo(Limb x, Limb y, Limb &high, Limb &low)
{
    const DoubleLimb product = DoubleLimb(x) * y;
    high = highLimb(product);
    low = Limb(product);
}

// high:low -= yHigh:yLow, modulo the square of the limb base.
inline void subtractTwo(Limb &high, Limb &low, Limb yHigh, Limb yLow)
{
    high -= yHigh + (low < yLow);
    low -= yLow;
}

// high:low += yHigh:yLow, modulo the square of the limb base.
inline void addTwo(Limb &high, Limb &low, Limb yHigh, Limb yLow)
{
    low += yLow;
    high += yHigh + (low < yLow);
}

// divideNormalised for a divisor of N = 2 to 4 limbs, the short moduli of modular arithmetic:
// the remainder so far stays in registers from one quotient digit to the next (the loop above
// stores it and loads it back, on the digit chain whose latency sets the pace), and the digit
// step works on limb pairs, which the compiler keeps in registers where it spills double limbs.
// u[un-N+1..un] must be below v.
template <Index N>
void divideShort(Limb *quotient, Limb *u, Index un, const Limb *vIn, const TwoLimbDivisor &top)
{
    static_assert(N >= 2 && N <= 4, "a short divisor");
    assert(N <= un && vIn[N - 1] == top.d1 && vIn[N - 2] == top.d0);
    const Limb d1 = top.d1, d0 = top.d0, reciprocal = top.reciprocal;
    Limb v[N], r[N]; // r: the remainder so far, the window's top N limbs
#pragma GCC unroll 8
    for (Index i = 0; i < N; i++) {
        v[i] = vIn[i];
        r[i] = u[un - N + 1 + i];
    }
    for (Index j = un - N + 1; j > 0;) {
        j--;
        // The window is r[N-1..0] with the next limb below; w gets window - q * v.
        Limb w[N];
        w[0] = u[j];
#pragma GCC unroll 8
        for (Index i = 1; i < N; i++)
            w[i] = r[i - 1];
        Limb q;
        if (r[N - 1] == d1 && r[N - 2] == d0) {
            // The digit is B - 1: the window less v a limb up, plus v.
            q = ~Limb(0);
            Limb borrow = 0, carry = 0;
#pragma GCC unroll 8
            for (Index i = 0; i + 1 < N; i++) {
                const Limb difference = w[i + 1] - v[i] - borrow;
                borrow = w[i + 1] < v[i] || (w[i + 1] == v[i] && borrow);
                w[i + 1] = difference;
            }
#pragma GCC unroll 8
            for (Index i = 0; i < N; i++) {
                const Limb sum = w[i] + v[i] + carry;
                carry = sum < w[i] || (sum == w[i] && carry);
                w[i] = sum;
            }
        } else {
            // The three-by-two step of TwoLimbDivisor::divide on the top limbs r[N-1], r[N-2],
            // w[N-2], leaving the digit's two-limb remainder in r1:r0.
            const Limb n2 = r[N - 1], n1 = r[N - 2];
            Limb q0;
            multiplyToTwo(reciprocal, n2, q, q0);
            addTwo(q, q0, n2, n1);
            Limb r1 = n1 - q * d1, r0 = w[N - 2];
            Limb productHigh, productLow;
            multiplyToTwo(d0, q, productHigh, productLow);
            subtractTwo(r1, r0, d1, d0);
            subtractTwo(r1, r0, productHigh, productLow);
            const Limb undo = Limb(0) - Limb(r1 >= q0);
            q += 1 + undo;
            addTwo(r1, r0, d1 & undo, d0 & undo);
            if (r1 > d1 || (r1 == d1 && r0 >= d0)) {
                q++;
                subtractTwo(r1, r0, d1, d0);
            }
            // The rest of v times the digit off the limbs below.
            Limb borrow = 0;
#pragma GCC unroll 8
            for (Index i = 0; i + 2 < N; i++) {
                Limb high, low;
                multiplyToTwo(v[i], q, high, low);
                addTwo(high, low, 0, borrow);
                borrow = high + (w[i] < low);
                w[i] -= low;
            }
            const bool tooLarge = r1 == 0 && r0 < borrow;
            subtractTwo(r1, r0, 0, borrow);
            if (tooLarge) { // one too large: add v back
                q--;
                Limb carry = 0;
#pragma GCC unroll 8
                for (Index i = 0; i + 2 < N; i++) {
                    const Limb sum = w[i] + v[i] + carry;
                    carry = sum < w[i] || (sum == w[i] && carry);
                    w[i] = sum;
                }
                addTwo(r1, r0, d1, d0);
                addTwo(r1, r0, 0, carry);
            }
            w[N - 2] = r0;
            w[N - 1] = r1;
        }
#pragma GCC unroll 8
        for (Index i = 0; i < N; i++)
            r[i] = w[i];
        quotient[j] = q;
    }
#pragma GCC unroll 8
    for (Index i = 0; i < N; i++)
        u[i] = r[i];
    zeroLimbs(u + N, un + 1 - N);
}

// The recursive steps for a normalised v[0..vn) (top made from its top limbs), algorithm D below
// `threshold` limbs; `product` holds vn limbs for the corrections.
class RecursiveDivision
{
public:
    RecursiveDivision(const Limb *v, Index vn, const TwoLimbDivisor &top, Index threshold,
                      Limb *product)
        : v(v), vn(vn), top(top), threshold(threshold), product(product)
    {
        assert(threshold >= 4);
    }

    // quotient[0..un-vn] = u[0..un] / v, u[0..vn) the remainder, the limbs above it zero; the top
    // vn limbs of u are below v (u[un] is a zero guard).
    void divide(Limb *quotient, Limb *u, Index un) const
    {
        const Index quotientLength = un - vn + 1;
        Index k = quotientLength % vn == 0 ? vn : quotientLength % vn;
        for (Index at = quotientLength - k;; at -= vn, k = vn) {
            step(quotient + at, u + at, vn, k);
            if (at == 0)
                break;
        }
        zeroLimbs(u + vn, un + 1 - vn);
    }

private:
    // window[0..n+k) by d, the top n limbs of v, window[k..n+k) below d, 1 <= k <= n:
    // quotient[0..k) gets the quotient, window[0..n) the remainder; window[n..n+k) is left
    // undefined.
    void step(Limb *quotient, Limb *window, Index n, Index k) const
    {
        const Limb *d = v + vn - n;
        if (k < threshold) {
            divideNormalised(quotient, window, n + k - 1, d, n, top);
            return;
        }
        if (k == n) {
            const Index low = n / 2;
            step(quotient + low, window + low, n, n - low);
            step(quotient, window, n, low);
            return;
        }
        // The estimate and its remainder from the top 2k limbs by d's top k limbs.
        const Index m = n - k;
        Limb quotientTop = divideTwice(quotient, window + m, k);
        BigIntPaths::multiplyLimbs(product, quotient, k, d, m);
        Limb borrow = subtractLimbs(window, window, product, n);
        if (quotientTop != 0)
            borrow += subtractLimbs(window + k, window + k, d, m);
        while (borrow != 0) {
            quotientTop -= decrementLimbs(quotient, k);
            borrow -= addLimbs(window, window, d, n);
        }
        assert(quotientTop == 0);
    }

    // window[0..2n) by d, the top n limbs of v: quotient[0..n) gets the low n limbs of the
    // quotient, returned the limb above them (0 or 1), window[0..n) the remainder.
    Limb divideTwice(Limb *quotient, Limb *window, Index n) const
    {
        const Limb *d = v + vn - n;
        Limb quotientTop = 0;
        if (compareLimbs(window + n, d, n) >= 0) {
            subtractLimbs(window + n, window + n, d, n);
            quotientTop = 1;
        }
        step(quotient, window, n, n);
        return quotientTop;
    }

    const Limb *v;
    Index vn;
    const TwoLimbDivisor &top;
    Index threshold;
    Limb *product;
};

} // namespace

namespace {

unsigned normalisingShift(const Limb *v, Index vn)
{
    assert(vn >= 1 && v[vn - 1] != 0);
    return leadingZeroBits(v[vn - 1]);
}

// The top two limbs of v shifted left by `shift` (below a one-limb v: a zero limb).
TwoLimbDivisor shiftedTop(const Limb *v, Index vn, unsigned shift)
{
    Limb high = v[vn - 1] << shift, low = vn >= 2 ? v[vn - 2] << shift : 0;
    if (shift > 0 && vn >= 2)
        high |= v[vn - 2] >> (bitsPerLimb - shift);
    if (shift > 0 && vn >= 3)
        low |= v[vn - 3] >> (bitsPerLimb - shift);
    return TwoLimbDivisor(high, low);
}

} // namespace

LimbDivisor::LimbDivisor(const Limb *divisor, Index length, Limb *storage, Index recursiveLimbs)
    : v(divisor),
      vn(length),
      shift(normalisingShift(divisor, length)),
      top(shiftedTop(divisor, length, shift)),
      recursiveLimbs(recursiveLimbs)
{
    if (vn >= 2 && shift > 0) {
        shiftLeftLimbs(storage, v, vn, shift);
        v = storage;
    }
}

void LimbDivisor::divide(Limb *quotient, Limb *u, Index un) const
{
    assert(vn <= un && u[un] == 0);
    const unsigned k = dividendShift();
    if (k > 0)
        u[un] = shiftLeftLimbs(u, u, un, k);
    divideShifted(quotient, u, un);
    if (k > 0)
        shiftRightLimbs(u, u, vn, k);
}

void LimbDivisor::divideShifted(Limb *quotient, Limb *u, Index un) const
{
    if (vn == 1) {
        u[0] = SingleDivisor(v[0]).divide(quotient, u, un);
        zeroLimbs(u + 1, un);
        return;
    }
    // Top vn limbs below v make a zero top quotient limb, and the window one limb lower already
    // meets the invariant: start there (a remainder squared or times a smaller factor always does).
    if (un > vn && u[un] == 0 && compareLimbs(u + un - vn, v, vn) < 0) {
        quotient[un - vn] = 0;
        un--;
    }
    if (vn >= recursiveLimbs) {
        LimbBuffer product(vn);
        RecursiveDivision(v, vn, top, recursiveLimbs, product.get()).divide(quotient, u, un);
        return;
    }
    switch (vn) {
    case 2:
        return divideShort<2>(quotient, u, un, v, top);
    case 3:
        return divideShort<3>(quotient, u, un, v, top);
    case 4:
        return divideShort<4>(quotient, u, un, v, top);
    default:
        return divideNormalised(quotient, u, un, v, vn, top);
    }
}

void BigIntPaths::divideLimbs(Limb *quotient, Limb *u, Index un, const Limb *v, Index vn,
                              Limb *scratch, Index recursiveLimbs)
{
    LimbDivisor(v, vn, scratch, recursiveLimbs).divide(quotient, u, un);
}

void BigIntPaths::divideReference(BigUnsigned &x, const BigUnsigned &b, BigUnsigned &q)
{
    if (&x == &q)
        throw sameVariableText;
    if (&x == &b || &q == &b) {
        BigUnsigned divisor(b);
        divideReference(x, divisor, q);
        return;
    }
    // Deliberate: a zero divisor is no error here; the quotient is 0, the remainder the dividend.
    if (b.isZero() || x.length < b.length) {
        q.length = 0;
        return;
    }

    // For every quotient bit from the top, try to subtract the divisor shifted to that bit into
    // the scratch array, and keep the difference when no borrow is left. A guard block on top of
    // the dividend takes the bits the shifted divisor pushes out.
    const Index dividendLength = x.length;
    x.reserveAndKeep(dividendLength + 1);
    x.length = dividendLength + 1;
    x.blocks[dividendLength] = 0;
    std::unique_ptr<Blk[]> scratch(new Blk[dividendLength + 1]);

    q.reserve(dividendLength - b.length + 1);
    q.length = dividendLength - b.length + 1;
    for (Index i = 0; i < q.length; i++)
        q.blocks[i] = 0;

    for (Index i = q.length; i > 0;) {
        i--;
        for (unsigned k = BlockOps::bitsPerBlock; k > 0;) {
            k--;
            Index end;
            bool borrow =
                    BlockOps::subtractShiftedFrom(scratch.get() + i, x.blocks + i,
                                                  dividendLength - i, b.blocks, b.length, k, &end);
            if (!borrow) {
                q.blocks[i] |= Blk(1) << k;
                BlockOps::copyBlocks(x.blocks + i, scratch.get() + i, end);
            }
        }
    }
    if (q.blocks[q.length - 1] == 0)
        q.length--;
    x.trimLeadingZeros();
}

void BigIntPaths::divideFast(BigUnsigned &x, const BigUnsigned &b, BigUnsigned &q,
                             Index recursiveLimbs)
{
    if (!isNormal(x) || !isNormal(b)) {
        divideReference(x, b, q);
        return;
    }
    if (&x == &q)
        throw sameVariableText;
    if (&x == &b || &q == &b) {
        BigUnsigned divisor(b);
        divideFast(x, divisor, q, recursiveLimbs);
        return;
    }
    if (b.isZero() || x.length < b.length) {
        q.length = 0;
        return;
    }
    divideFastInto(x, b, q, recursiveLimbs);
}

// The sizes of the reference (a guard block on the dividend, room for every quotient block), the
// arithmetic on limbs.
void BigIntPaths::divideFastInto(BigUnsigned &x, const BigUnsigned &b, BigUnsigned &q,
                                 Index recursiveLimbs)
{
    const Index dividendLength = x.length;
    x.reserveAndKeep(dividendLength + 1);
    q.reserve(dividendLength - b.length + 1);
    q.length = dividendLength - b.length + 1;

    const Index un = limbsFor(dividendLength), vn = limbsFor(b.length);
    LimbBuffer buffer(un + 1 + 2 * vn + un - vn + 1);
    Limb *u = buffer.get(), *v = u + un + 1, *scratch = v + vn, *quotient = scratch + vn;
    blocksToLimbs(u, x.blocks, dividendLength);
    u[un] = 0;
    blocksToLimbs(v, b.blocks, b.length);
    divideLimbs(quotient, u, un, v, vn, scratch, recursiveLimbs);
    // The limbs hold at least as many blocks as q and the remainder; the blocks above are zero.
    limbsToBlocks(q.blocks, quotient, q.length);
    if (q.blocks[q.length - 1] == 0)
        q.length--;
    limbsToBlocks(x.blocks, u, b.length);
    x.length = b.length;
    x.trimLeadingZeros();
}

void BigUnsigned::divideWithRemainder(const BigUnsigned &b, BigUnsigned &q)
{
    BigIntPaths::divideFast(*this, b, q);
}
