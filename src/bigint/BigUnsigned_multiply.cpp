// Multiplication: the reference shift-and-add over the bits of the left operand, and the fast
// path on limbs (rows of limb products, a dedicated square, Karatsuba above a threshold).
#include "bigint/BigUnsigned.h"

#include "bigint/Aliasing_p.h"
#include "bigint/BlockOps_p.h"
#include "bigint/FastPaths_p.h"
#include "bigint/LimbOps_p.h"

#include <utility>

using namespace LimbOps;

namespace {

constexpr const char *overLongProductText =
        "BigUnsigned::multiply: Result too long for its bit length to fit an Index";

// result[0..xn+yn) = x * y by rows of limb products, xn >= yn >= 1; result overlaps neither.
void multiplySchoolbook(Limb *result, const Limb *x, Index xn, const Limb *y, Index yn)
{
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
    if (n == 1) {
        const DoubleLimb square = DoubleLimb(x[0]) * x[0];
        result[0] = Limb(square);
        result[1] = highLimb(square);
        return;
    }
    // Row i holds x[i] * x[j] for j > i, at limbs i + j.
    result[0] = 0;
    result[n] = multiplyLimb(result + 1, x + 1, n - 1, x[0]);
    for (Index i = 1; i + 1 < n; i++)
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

} // namespace

void BigIntPaths::squareLimbs(Limb *product, const Limb *x, Index n,
                              const MultiplyThresholds &thresholds)
{
    if (n == 0)
        return;
    const Index threshold = thresholds.karatsubaSquare;
    if (n < threshold) {
        squareSchoolbook(product, x, n);
        return;
    }
    LimbBuffer scratch(karatsubaScratchSize(n, threshold));
    multiplyKaratsuba(product, x, x, n, threshold, scratch.get());
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
    const Index threshold = thresholds.karatsuba;
    if (yn < threshold) {
        multiplySchoolbook(product, x, xn, y, yn);
        return;
    }
    // The longer operand in pieces as long as the shorter, each piece by Karatsuba's method.
    LimbBuffer scratch(2 * yn + karatsubaScratchSize(yn, threshold));
    Limb *piece = scratch.get();
    zeroLimbs(product, xn + yn);
    for (Index at = 0; at < xn; at += yn) {
        const Index pieceLength = xn - at < yn ? xn - at : yn;
        if (pieceLength == yn)
            multiplyKaratsuba(piece, x + at, y, yn, threshold, piece + 2 * yn);
        else
            multiplyLimbs(piece, y, yn, x + at, pieceLength, thresholds);
        const Limb carry = addLimbsInto(product + at, xn + yn - at, piece, yn + pieceLength);
        assert(carry == 0);
        (void)carry;
    }
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

void BigIntPaths::multiplyFast(BigUnsigned &r, const BigUnsigned &a, const BigUnsigned &b)
{
    if (!isNormal(a) || !isNormal(b)) {
        multiplyReference(r, a, b);
        return;
    }
    if (computedThroughTemporary(r, &BigIntPaths::multiplyFast, a, b))
        return;
    if (!startProduct(r, a, b))
        return;
    const Index xn = limbsFor(a.length), yn = limbsFor(b.length);
    LimbBuffer buffer(&a == &b ? 3 * xn : 2 * (xn + yn));
    Limb *x = buffer.get(), *y = x + xn, *product = y + yn;
    blocksToLimbs(x, a.blocks, a.length);
    if (&a == &b) { // a square: the limb routines see one operand twice, half the products
        product = y;
        y = x;
    } else {
        blocksToLimbs(y, b.blocks, b.length);
    }
    multiplyLimbs(product, x, xn, y, yn);
    limbsToBlocks(r.blocks, product, r.length);
    if (r.blocks[r.length - 1] == 0)
        r.length--;
    refuseOverLong(r);
}

void BigUnsigned::multiply(const BigUnsigned &a, const BigUnsigned &b)
{
    BigIntPaths::multiplyFast(*this, a, b);
}
