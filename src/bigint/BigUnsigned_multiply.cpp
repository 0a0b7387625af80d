// Multiplication: the reference shift-and-add over the bits of the left operand, and the fast
// path on limbs (rows of limb products, a dedicated square, Karatsuba above a threshold and
// Toom's three-way split above another).
#include "bigint/BigUnsigned.h"

#include "bigint/Aliasing_p.h"
#include "bigint/BlockOps_p.h"
#include "bigint/FastPaths_p.h"
#include "bigint/LimbOps_p.h"

#include <algorithm>
#include <cstring>
#include <utility>

// Short products straight from the blocks, read and written a limb of two blocks at a time.
#if defined(__SIZEOF_INT128__) && defined(__BYTE_ORDER__) \
        && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
#  define ORVEX_SHORT_PRODUCTS 1
#endif

using namespace LimbOps;

namespace {

constexpr const char *overLongProductText =
        "BigUnsigned::multiply: Result too long for its bit length to fit an Index";

// result[0..xn+yn) = x * y by rows of limb products, xn >= yn >= 1; result overlaps neither.
void multiplySchoolbook(Limb *result, const Limb *x, Index xn, const Limb *y, Index yn)
{
    // Short operands by columns in registers: 4 limbs took 1.6 clock ticks per limb product
    // there against 2.5 to 2.9 by three rows.
    if (xn == yn && xn <= ShortProducts::maxLimbs) {
        ShortProducts::multiply(result, x, y, xn);
        return;
    }
    result[xn] = multiplyLimb(result, x, xn, y[0]);
    Index i = 1;
    for (; i + 2 <= yn; i += 2)
        result[xn + i + 1] = multiplyAddTwoLimbs(result + i, x, xn, y[i], y[i + 1]);
    if (i < yn)
        result[xn + i] = multiplyAddLimb(result + i, x, xn, y[i]);
}

// result[0..2n) = x * x, n >= 1: each cross product once, doubled, then the squares of the limbs
// added; result may not overlap x.
void squareSchoolbook(Limb *result, const Limb *x, Index n)
{
    if (n <= ShortProducts::maxLimbs) { // 4 limbs: 1.3 ticks per limb squared against 2.2 to 2.7
        ShortProducts::multiply(result, x, x, n);
        return;
    }
    // Row i holds x[i] * x[j] for j > i, at limbs i + j; its top limb goes to limb n + i.
    result[0] = 0;
    result[n] = multiplyLimb(result + 1, x + 1, n - 1, x[0]);
    Index i = 1;
    // Rows i and i + 1 in one pass over x[i + 2..n), x[i] * x[i + 1] added on its own first,
    // its high limb and carry going into the pass. Below 8 limbs the rows go one by one: squares
    // of 5 to 7 limbs took 2.3 to 2.5 clock ticks per limb squared in pairs against 1.6 to 2.1
    // one by one (of 8 limbs both 1.6).
    for (; n >= 8 && i + 2 < n; i += 2) {
        const DoubleLimb product = DoubleLimb(x[i]) * x[i + 1];
        const DoubleLimb corner = DoubleLimb(result[2 * i + 1]) + Limb(product);
        result[2 * i + 1] = Limb(corner);
        result[n + i + 1] = multiplyAddTwoLimbs(result + 2 * i + 2, x + i + 2, n - i - 2, x[i],
                                                x[i + 1], highLimb(product) + highLimb(corner));
    }
    for (; i + 1 < n; i++)
        result[n + i] = multiplyAddLimb(result + 2 * i + 1, x + i + 1, n - i - 1, x[i]);
    result[2 * n - 1] = 0;
    addDoubledSquares(result, x, n);
}

// Scratch limbs multiplyKaratsuba needs for two n-limb operands.
Index karatsubaScratchSize(Index n, Index threshold)
{
    Index size = 0;
    for (; n >= threshold && n >= 4; n = n - n / 2)
        size += 6 * (n - n / 2) + 2;
    return size;
}

// result[0..2n) = x[0..n) * y[0..n) by Karatsuba's three half-size products, down to rows of
// limb products below `threshold` limbs; x == y squares. scratch holds
// karatsubaScratchSize(n, threshold) limbs; result overlaps neither the operands nor the scratch.
void multiplyKaratsuba(Limb *result, const Limb *x, const Limb *y, Index n, Index threshold,
                       Limb *scratch)
{
    if (n < threshold || n < 4) {
        if (x == y)
            squareSchoolbook(result, x, n);
        else
            multiplySchoolbook(result, x, n, y, n);
        return;
    }
    // x = x1 * B^low + x0 with x0 of `low` limbs, x1 of `high` (= low or low + 1) limbs.
    const Index low = n / 2;
    const Index high = n - low;
    Limb *xDifference = scratch;
    Limb *yDifference = xDifference + high;
    Limb *middle = yDifference + high; // 2 * high + 1 limbs
    Limb *cross = middle + 2 * high + 1; // 2 * high limbs
    Limb *deeper = cross + 2 * high;

    // |x0 - x1| and |y0 - y1|, remembering whether the product of the differences is negative.
    bool negative = false;
    for (int operand = 0; operand < (x == y ? 1 : 2); operand++) {
        const Limb *v = operand == 0 ? x : y;
        Limb *difference = operand == 0 ? xDifference : yDifference;
        copyLimbs(difference, v, low); // x0 or y0 widened to `high` limbs
        if (high != low)
            difference[low] = 0;
        const bool lowIsSmaller = compareLimbs(difference, v + low, high) < 0;
        if (lowIsSmaller)
            subtractLimbs(difference, v + low, difference, high);
        else
            subtractLimbs(difference, difference, v + low, high);
        negative ^= lowIsSmaller;
    }
    if (x == y) // the product of a difference with itself
        negative = false;

    multiplyKaratsuba(result, x, y, low, threshold, deeper);
    multiplyKaratsuba(result + 2 * low, x + low, y + low, high, threshold, deeper);
    // A square stays a square: both differences are the same.
    multiplyKaratsuba(cross, xDifference, x == y ? xDifference : yDifference, high, threshold,
                      deeper);

    // middle = x0*y0 + x1*y1 -+ |x0 - x1| * |y0 - y1|, which is x0*y1 + x1*y0 >= 0.
    copyLimbs(middle, result + 2 * low, 2 * high);
    middle[2 * high] = 0;
    addLimbsInto(middle, 2 * high + 1, result, 2 * low);
    if (negative)
        addLimbsInto(middle, 2 * high + 1, cross, 2 * high);
    else
        subtractLimbsFrom(middle, 2 * high + 1, cross, 2 * high);
    const Limb carry = addLimbsInto(result + low, 2 * n - low, middle, 2 * high + 1);
    assert(carry == 0);
    (void)carry;
}

using Thresholds = BigIntPaths::MultiplyThresholds;

// Below this many limbs Toom's split would leave a third part of no limbs (at 4) or of one limb
// under parts too short to be worth it.
constexpr Index toomMinimum = 5;

bool usesToom(Index n, const Thresholds &thresholds, bool square)
{
    return n >= (square ? thresholds.toomSquare : thresholds.toom) && n >= toomMinimum;
}

// Whether a product of two n-limb operands (one, squared), or of n limbs by more with
// `coefficients` limbs less one, goes through transforms: from the threshold on where the product
// fills its transform to 15/16 or more, and from 2.5 times the threshold at any fill. A
// transform's length steps from 2^k to 3 * 2^k, and up to twice that threshold a product a fifth
// short of its length took longer than the splits (5000 limbs 2.86 ms against 2.27, where 4096
// took 1.69 against 1.86, 11000 limbs 5.2 ms against 6.3).
bool usesTransform(Index n, const Thresholds &thresholds, bool square, Index coefficients = 0)
{
    const Index threshold = square ? thresholds.transformSquare : thresholds.transform;
    if (coefficients == 0)
        coefficients = 2 * n - 1;
    if (n < threshold || coefficients >= BigIntPaths::maxTransformLimbs)
        return false;
    return 2ull * n >= 5ull * threshold
            || 16ull * coefficients >= 15ull * BigIntPaths::transformLength(coefficients);
}

Index karatsubaThreshold(const Thresholds &thresholds, bool square)
{
    return square ? thresholds.karatsubaSquare : thresholds.karatsuba;
}

// Whether an n-limb operand is split at all (rather than multiplied by rows of limb products).
bool splits(Index n, const Thresholds &thresholds, bool square)
{
    return usesTransform(n, thresholds, square) || usesToom(n, thresholds, square)
            || (n >= karatsubaThreshold(thresholds, square) && n >= 4);
}

// Scratch limbs multiplyBalanced needs for two n-limb operands (one, squared).
Index balancedScratchSize(Index n, const Thresholds &thresholds, bool square)
{
    if (usesTransform(n, thresholds, square))
        return 0; // the transforms allocate their own
    if (!usesToom(n, thresholds, square))
        return karatsubaScratchSize(n, karatsubaThreshold(thresholds, square));
    // Not monotonic in n where the method changes: the largest need of the three part sizes.
    const Index k = (n + 2) / 3;
    const Index deeper = std::max({balancedScratchSize(k + 1, thresholds, square),
                                   balancedScratchSize(k, thresholds, square),
                                   balancedScratchSize(n - 2 * k, thresholds, square)});
    return 12 * (k + 1) + deeper;
}

void multiplyBalanced(Limb *result, const Limb *x, const Limb *y, Index n,
                      const Thresholds &thresholds, Limb *scratch);

// quotient[0..n) = x[0..n) / 3, x a multiple of 3; quotient may be x. Each quotient limb is the
// remaining low limb times the inverse of 3 modulo the limb base; what three times it reaches
// above that limb is taken from the next one.
void divideExactlyBy3(Limb *quotient, const Limb *x, Index n)
{
    constexpr Limb inverse = Limb(~Limb(0) / 3 * 2 + 1); // 3 * inverse == 1 modulo the base
    Limb borrow = 0;
    for (Index i = 0; i < n; i++) {
        const Limb limb = x[i];
        const Limb q = Limb(limb - borrow) * inverse;
        quotient[i] = q;
        borrow = highLimb(DoubleLimb(q) * 3) + (limb < borrow);
    }
    assert(borrow == 0);
}

// With x = x2 B^2k + x1 B^k + x0 (x2 of `top` limbs): at1 = x0 + x1 + x2, atMinus1 =
// |x0 - x1 + x2| and at2 = x0 + 2 x1 + 4 x2, each of k + 1 limbs; returns whether x0 - x1 + x2
// is negative.
bool evaluateToom3(Limb *at1, Limb *atMinus1, Limb *at2, const Limb *x, Index k, Index top)
{
    const Limb *x0 = x, *x1 = x + k, *x2 = x + 2 * k;
    copyLimbs(atMinus1, x0, k); // x0 + x2 first
    atMinus1[k] = addLimbsInto(atMinus1, k, x2, top);
    at1[k] = atMinus1[k] + addLimbs(at1, atMinus1, x1, k);
    bool negative = false;
    if (atMinus1[k] == 0 && compareLimbs(atMinus1, x1, k) < 0) {
        subtractLimbs(atMinus1, x1, atMinus1, k);
        negative = true;
    } else {
        atMinus1[k] -= subtractLimbs(atMinus1, atMinus1, x1, k);
    }
    // (2 x2 + x1) * 2 + x0: below 7 B^k, so k + 1 limbs hold every step.
    at2[top] = shiftLeftLimbs(at2, x2, top, 1);
    zeroLimbs(at2 + top + 1, k - top);
    addLimbsInto(at2, k + 1, x1, k);
    shiftLeftLimbs(at2, at2, k + 1, 1);
    addLimbsInto(at2, k + 1, x0, k);
    return negative;
}

// result[0..2n) = x * y, both of n >= toomMinimum limbs (x == y squares), by Toom's three-way
// split: with x = x2 B^2k + x1 B^k + x0 and y alike (k = ceil(n / 3)), the product is a
// polynomial c4 t^4 + ... + c0 at t = B^k, found from its values at 0, 1, -1, 2 and infinity:
// five products of about n / 3 limbs instead of nine. scratch holds
// balancedScratchSize(n, thresholds, square) limbs; result overlaps neither operands nor scratch.
void multiplyToom3(Limb *result, const Limb *x, const Limb *y, Index n,
                   const Thresholds &thresholds, Limb *scratch)
{
    const bool square = x == y;
    const Index k = (n + 2) / 3, top = n - 2 * k, m = k + 1;
    Limb *xAt1 = scratch, *xAtMinus1 = xAt1 + m, *xAt2 = xAtMinus1 + m;
    Limb *yAt1 = xAt2 + m, *yAtMinus1 = yAt1 + m, *yAt2 = yAtMinus1 + m;
    Limb *w1 = yAt2 + m, *wMinus1 = w1 + 2 * m, *w2 = wMinus1 + 2 * m; // 2m limbs each
    Limb *deeper = w2 + 2 * m;

    bool negative = evaluateToom3(xAt1, xAtMinus1, xAt2, x, k, top);
    if (square) { // the values of a square are squares: the sign at -1 drops out
        yAt1 = xAt1;
        yAtMinus1 = xAtMinus1;
        yAt2 = xAt2;
        negative = false;
    } else {
        negative ^= evaluateToom3(yAt1, yAtMinus1, yAt2, y, k, top);
    }
    Limb *c0 = result, *c4 = result + 4 * k; // the values at 0 and infinity go in place
    multiplyBalanced(c0, x, y, k, thresholds, deeper);
    multiplyBalanced(c4, x + 2 * k, y + 2 * k, top, thresholds, deeper);
    multiplyBalanced(w1, xAt1, yAt1, m, thresholds, deeper);
    multiplyBalanced(wMinus1, xAtMinus1, yAtMinus1, m, thresholds, deeper);
    multiplyBalanced(w2, xAt2, yAt2, m, thresholds, deeper);

    // Interpolation; every intermediate value is a sum of coefficients, so none goes negative.
    // w2 = (w(2) - w(-1)) / 3 = c1 + c2 + 3 c3 + 5 c4
    if (negative)
        addLimbs(w2, w2, wMinus1, 2 * m);
    else
        subtractLimbs(w2, w2, wMinus1, 2 * m);
    divideExactlyBy3(w2, w2, 2 * m);
    // wMinus1 = (w(1) - w(-1)) / 2 = c1 + c3
    if (negative)
        addLimbs(wMinus1, w1, wMinus1, 2 * m);
    else
        subtractLimbs(wMinus1, w1, wMinus1, 2 * m);
    shiftRightLimbs(wMinus1, wMinus1, 2 * m, 1);
    // w1 = w(1) - c0 = c1 + c2 + c3 + c4
    subtractLimbsFrom(w1, 2 * m, c0, 2 * k);
    // w2 = (w2 - w1) / 2 = c3 + 2 c4
    subtractLimbs(w2, w2, w1, 2 * m);
    shiftRightLimbs(w2, w2, 2 * m, 1);
    // w1 = w1 - (c1 + c3) - c4 = c2
    subtractLimbs(w1, w1, wMinus1, 2 * m);
    subtractLimbsFrom(w1, 2 * m, c4, 2 * top);
    // w2 = c3, wMinus1 = c1
    subtractLimbsFrom(w2, 2 * m, c4, 2 * top);
    subtractLimbsFrom(w2, 2 * m, c4, 2 * top);
    subtractLimbs(wMinus1, wMinus1, w2, 2 * m);

    // Recombination: c2 fills the gap between c0 and c4 and reaches into c4 with at most a limb
    // (c2 < 3 B^2k); c1 and c3 (c3 < 2 B^(k + top)) are added across.
    copyLimbs(result + 2 * k, w1, 2 * k);
    Limb carry = addLimbsInto(c4, 2 * top, w1 + 2 * k, 2);
    carry |= addLimbsInto(result + k, 2 * n - k, wMinus1, 2 * m);
    const Index c3Length = std::min(2 * m, k + 2 * top);
    assert(trimmedLength(w2, 2 * m) <= c3Length);
    carry |= addLimbsInto(result + 3 * k, 2 * n - 3 * k, w2, c3Length);
    assert(carry == 0);
    (void)carry;
}

// result[0..2n) = x * y, both of n limbs (x == y squares), by the method n calls for. scratch
// holds balancedScratchSize(n, thresholds, square) limbs.
void multiplyBalanced(Limb *result, const Limb *x, const Limb *y, Index n,
                      const Thresholds &thresholds, Limb *scratch)
{
    const bool square = x == y;
    if (usesTransform(n, thresholds, square))
        BigIntPaths::multiplyByTransform(result, x, n, y, n);
    else if (usesToom(n, thresholds, square))
        multiplyToom3(result, x, y, n, thresholds, scratch);
    else
        multiplyKaratsuba(result, x, y, n, karatsubaThreshold(thresholds, square), scratch);
}

// Scratch limbs multiplyUnbalanced needs, xn >= yn >= 1.
Index unbalancedScratchSize(Index xn, Index yn, const Thresholds &thresholds)
{
    if (!splits(yn, thresholds, false))
        return 0;
    if (xn == yn)
        return balancedScratchSize(yn, thresholds, false);
    const Index rest = xn % yn;
    return 2 * yn
            + std::max(balancedScratchSize(yn, thresholds, false),
                       rest == 0 ? 0 : unbalancedScratchSize(yn, rest, thresholds));
}

// product[0..xn+yn) = x * y, xn >= yn >= 1, x != y: the longer operand in pieces as long as the
// shorter, each piece a balanced product. scratch holds unbalancedScratchSize(xn, yn) limbs.
void multiplyUnbalanced(Limb *product, const Limb *x, Index xn, const Limb *y, Index yn,
                        const Thresholds &thresholds, Limb *scratch)
{
    if (!splits(yn, thresholds, false)) {
        multiplySchoolbook(product, x, xn, y, yn);
        return;
    }
    if (xn == yn) {
        multiplyBalanced(product, x, y, yn, thresholds, scratch);
        return;
    }
    Limb *piece = scratch, *deeper = scratch + 2 * yn;
    multiplyBalanced(product, x, y, yn, thresholds, deeper);
    for (Index at = yn; at < xn; at += yn) {
        const Index pieceLength = xn - at < yn ? xn - at : yn;
        if (pieceLength == yn)
            multiplyBalanced(piece, x + at, y, yn, thresholds, deeper);
        else
            multiplyUnbalanced(piece, y, yn, x + at, pieceLength, thresholds, deeper);
        // Above what is written so far the piece is copied, below it added.
        copyLimbs(product + at + yn, piece + yn, pieceLength);
        const Limb carry = addLimbsInto(product + at, yn + pieceLength, piece, yn);
        assert(carry == 0);
        (void)carry;
    }
}

} // namespace

void BigIntPaths::squareLimbs(Limb *product, const Limb *x, Index n,
                              const MultiplyThresholds &thresholds)
{
    if (n == 0)
        return;
    if (!splits(n, thresholds, true)) {
        squareSchoolbook(product, x, n);
        return;
    }
    LimbBuffer scratch(balancedScratchSize(n, thresholds, true));
    multiplyBalanced(product, x, x, n, thresholds, scratch.get());
}

void BigIntPaths::multiplyLimbs(Limb *product, const Limb *x, Index xn, const Limb *y, Index yn,
                                const MultiplyThresholds &thresholds)
{
    if (x == y && xn == yn) {
        squareLimbs(product, x, xn, thresholds);
        return;
    }
    if (xn < yn) {
        std::swap(x, y);
        std::swap(xn, yn);
    }
    if (yn == 0) {
        zeroLimbs(product, xn);
        return;
    }
    if (!splits(yn, thresholds, false)) {
        multiplySchoolbook(product, x, xn, y, yn);
        return;
    }
    if (usesTransform(yn, thresholds, false, xn + yn - 1)) {
        multiplyByTransform(product, x, xn, y, yn);
        return;
    }
    LimbBuffer scratch(unbalancedScratchSize(xn, yn, thresholds));
    multiplyUnbalanced(product, x, xn, y, yn, thresholds, scratch.get());
}

bool BigIntPaths::startProduct(BigUnsigned &r, const BigUnsigned &a, const BigUnsigned &b)
{
    if (a.isZero() || b.isZero()) {
        r.length = 0;
        return false;
    }
    // Only the top block of a product may turn out zero: a product two blocks over the limit is
    // refused at once, one block over only once it is known (refuseOverLong).
    if (a.length + b.length - 1ul > BlockOps::maxBlocks)
        throw overLongProductText;
    r.reserve(a.length + b.length);
    r.length = a.length + b.length;
    return true;
}

// A product one block over the limit: the receiver is left zero, a known state, as subtract
// leaves it.
void BigIntPaths::refuseOverLong(BigUnsigned &r)
{
    if (r.length > BlockOps::maxBlocks) {
        r.length = 0;
        throw overLongProductText;
    }
}

void BigIntPaths::multiplyReference(BigUnsigned &r, const BigUnsigned &a, const BigUnsigned &b)
{
    if (computedThroughTemporary(r, &BigIntPaths::multiplyReference, a, b))
        return;
    if (!startProduct(r, a, b))
        return;
    BlockOps::Blk *blocks = r.blocks;
    for (Index i = 0; i < r.length; i++)
        blocks[i] = 0;
    for (Index i = 0; i < a.length; i++) {
        for (unsigned k = 0; k < BlockOps::bitsPerBlock; k++) {
            if ((a.blocks[i] >> k) & 1) {
                bool carry =
                        BlockOps::addShiftedInto(blocks + i, r.length - i, b.blocks, b.length, k);
                assert(!carry);
                (void)carry;
            }
        }
    }
    if (blocks[r.length - 1] == 0)
        r.length--;
    refuseOverLong(r);
}

void BigIntPaths::multiplyFast(BigUnsigned &r, const BigUnsigned &a, const BigUnsigned &b,
                               const MultiplyThresholds &thresholds)
{
    if (!isNormal(a) || !isNormal(b)) {
        multiplyReference(r, a, b);
        return;
    }
    if (computedThroughTemporary(r, &BigIntPaths::multiplyFast, a, b, thresholds))
        return;
    if (!startProduct(r, a, b))
        return;
    const Index xn = limbsFor(a.length), yn = limbsFor(b.length);
#ifdef ORVEX_SHORT_PRODUCTS
    if (xn == yn && xn <= ShortProducts::maxLimbs) {
        multiplyShort(r, a, b);
        return;
    }
#endif
    LimbBuffer buffer(&a == &b ? 3 * xn : 2 * (xn + yn));
    Limb *x = buffer.get(), *y = x + xn, *product = y + yn;
    blocksToLimbs(x, a.blocks, a.length);
    if (&a == &b) { // a square: the limb routines see one operand twice, half the products
        product = y;
        y = x;
    } else {
        blocksToLimbs(y, b.blocks, b.length);
    }
    multiplyLimbs(product, x, xn, y, yn, thresholds);
    limbsToBlocks(r.blocks, product, r.length);
    // The top block read from the limb in a register rather than back from memory just written.
    const Index top = r.length - 1;
    if (Blk(product[top / blocksPerLimb] >> (top % blocksPerLimb * 32)) == 0)
        r.length--;
    refuseOverLong(r);
}

#ifdef ORVEX_SHORT_PRODUCTS

namespace {

// Limb i of the blocks x[0..n), n > 2i: a whole limb, or, at the top of an odd count, a block.
inline Limb limbAt(const Blk *x, Index n, Index i)
{
    if (n == 2 * i + 1)
        return x[2 * i];
    Limb limb;
    std::memcpy(&limb, x + 2 * i, sizeof limb);
    keepScalar(limb); // as in blocksToLimbs
    return limb;
}

// The operands of n blocks, 2N - 1 <= n <= 2N, as N limbs: the copy loops unrolled.
template <Index N>
void shortLimbs(Limb *limbs, const BigUnsigned::Blk *blocks, Index n)
{
#  pragma GCC unroll 8
    for (Index i = 0; i < N; i++)
        limbs[i] = limbAt(blocks, n, i);
}

// result[0..length) = a * b, both of 2N - 1 or 2N blocks; returns the top block.
template <Index N>
Blk multiplyShortLimbs(Blk *result, Index length, const Blk *a, Index aLength, const Blk *b,
                       Index bLength)
{
    Limb x[N], y[N], product[2 * N];
    shortLimbs<N>(x, a, aLength);
    if (a == b) {
        ShortProducts::multiply<N>(product, x, x);
    } else {
        shortLimbs<N>(y, b, bLength);
        ShortProducts::multiply<N>(product, x, y);
    }
    // length >= 4N - 2: all limbs but the top one are whole.
#  pragma GCC unroll 8
    for (Index i = 0; i + 1 < 2 * N; i++) {
        Limb limb = product[i];
        keepScalar(limb);
        std::memcpy(result + 2 * i, &limb, sizeof limb);
    }
    for (Index i = 4 * N - 2; i < length; i++)
        result[i] = Blk(product[i / 2] >> (i % 2 * 32));
    // Read from the limb in a register rather than back from memory just written.
    return Blk(product[(length - 1) / 2] >> ((length - 1) % 2 * 32));
}

} // namespace

void BigIntPaths::multiplyShort(BigUnsigned &r, const BigUnsigned &a, const BigUnsigned &b)
{
    static_assert(blocksPerLimb == 2, "blocks paired in limbs");
    const Index n = limbsFor(a.length);
    const Blk *x = a.blocks, *y = &a == &b ? x : b.blocks;
    Blk top;
    switch (n) {
    case 1:
        top = multiplyShortLimbs<1>(r.blocks, r.length, x, a.length, y, b.length);
        break;
    case 2:
        top = multiplyShortLimbs<2>(r.blocks, r.length, x, a.length, y, b.length);
        break;
    case 3:
        top = multiplyShortLimbs<3>(r.blocks, r.length, x, a.length, y, b.length);
        break;
    default:
        top = multiplyShortLimbs<4>(r.blocks, r.length, x, a.length, y, b.length);
        break;
    }
    if (top == 0)
        r.length--;
}

#endif

void BigUnsigned::multiply(const BigUnsigned &a, const BigUnsigned &b)
{
    BigIntPaths::multiplyFast(*this, a, b);
}
