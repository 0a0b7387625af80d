// Differential test of the fast paths against the reference algorithms: the same operation on the
// same operands and receivers, once each way, must leave the same blocks, lengths and capacities
// and throw the same texts. Operand lengths gather around the fast paths' thresholds. The seed is
// printed; set ORVEX_TEST_SEED to repeat a run.
#include "bigint/BigIntText.h"
#include "bigint/BigInteger.h"
#include "bigint/BigUnsigned.h"
#include "bigint/BigUnsignedInABase.h"
#include "bigint/FastPaths_p.h"
#include "bigint/NumberTheory.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QRandomGenerator>
#include <QtTest>

#include <functional>

namespace {

constexpr quint32 defaultSeed = 20261121;
using BigIntFastPaths::karatsubaThreshold;

// What an operation leaves behind, as text: per value written its length, capacity and blocks
// (hashed), then the text thrown.
typedef std::function<void(QByteArray &outcome)> Operation;

QByteArray runOn(bool fast, const Operation &operation)
{
    BigIntFastPaths::enabled = fast;
    QByteArray outcome;
    const QByteArray thrown = thrownText([&] {
        operation(outcome);
    });
    BigIntFastPaths::enabled = true;
    return outcome + "thrown \"" + thrown + "\"";
}

void record(QByteArray &outcome, const BigUnsigned &x)
{
    const Blocks blocks = blocksOf(x);
    outcome += "length " + QByteArray::number(x.getLength()) + ", capacity "
            + QByteArray::number(x.getCapacity()) + ", blocks "
            + QByteArray::number(qHashRange(blocks.begin(), blocks.end()), 16) + "; ";
}

class Operands : public RandomBlocks
{
public:
    using RandomBlocks::RandomBlocks;

    // A value of `count` blocks with a non-zero top block, or, not `normal`, with a zero block
    // on top of that (such values come from the truncating constructors and shifts of zero).
    BigUnsigned ofLength(quint32 count, bool normal = true)
    {
        BigUnsigned x = value(count);
        if (count > 0 && x.getLength() < count)
            x.setBlock(count - 1, 1 + below(0xFFFFFFFFu));
        if (normal || count == 0)
            return x;
        // A truncated 2^32 is one zero block; times a normal value, count + 1 zero blocks.
        return x | BigUnsigned(1ul << 32) * (x << 32);
    }

    // A length near one of the interesting points: small, or around a threshold or its double.
    quint32 length()
    {
        static const quint32 points[] = {1, 2, 3, karatsubaThreshold, 2 * karatsubaThreshold};
        const quint32 point = points[below(5u)];
        const quint32 spread = point < 4 ? point : 3;
        return point - spread + below(2 * spread + 1);
    }

    // A receiver with some earlier value and a capacity of its own.
    BigUnsigned receiver()
    {
        BigUnsigned r = ofLength(below(2 * karatsubaThreshold + 8));
        r = ofLength(below(4u));
        return r;
    }
};

} // namespace

class tst_BigIntPaths : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void multiplyAndDivide();
    void textConversions();
    void numberTheory();

private:
    void compare(const Operation &operation, const QByteArray &context)
    {
        const QByteArray reference = runOn(false, operation), fast = runOn(true, operation);
        if (fast != reference)
            QFAIL(context + "\n  reference: " + reference + "\n  fast: " + fast);
    }

    QByteArray where(int index) const
    {
        return "seed " + QByteArray::number(seed) + ", case " + QByteArray::number(index);
    }

    quint32 seed = defaultSeed;
};

void tst_BigIntPaths::initTestCase()
{
    seed = testSeed(defaultSeed);
}

void tst_BigIntPaths::multiplyAndDivide()
{
    // Quotient estimates one too large, which only these rare operands reach: the estimate from
    // the top limbs (two-block words) passes its check, and the product of the whole divisor
    // must be added back.
    const QVector<QPair<Blocks, Blocks>> addBack = {
            {{0, 0, 0, 0, 0, 0, 1}, {1, 0, 0, 0, 0, 0x80000000u}},
            {{0, 0, 0, 0, 0, 0, 1}, {0xFFFFFFFFu, 0x7FFFFFFFu, 0, 0, 0, 0x80000000u}},
            {{0, 0, 0, 0, 0, 0, 0, 0, 1}, {0xFFFFFFFFu, 0xFFFFFFFFu, 0, 0, 0, 0x80000000u}},
    };
    Operands operands(seed);
    for (int i = -addBack.size(); i < 400; i++) {
        const bool normal = !operands.chance(8);
        const BigUnsigned a = operands.ofLength(operands.length(), normal);
        const bool normalDivisor = !operands.chance(8); // named: argument order is unspecified
        BigUnsigned b = operands.ofLength(operands.length(), normalDivisor);
        // Dividends made from the divisor reach the quotient corrections of the estimate.
        BigUnsigned dividend = operands.chance(2) ? a * b + operands.ofLength(b.getLength()) : a;
        if (operands.chance(4) && !b.isZero())
            dividend = b * operands.ofLength(1 + operands.below(3)) - BigUnsigned(1);
        if (i < 0) {
            dividend = fromBlocks(addBack[i + addBack.size()].first);
            b = fromBlocks(addBack[i + addBack.size()].second);
        }
        const BigUnsigned start = operands.receiver();
        const BigUnsigned quotientStart = operands.receiver();
        const QByteArray context = where(i) + ": lengths " + QByteArray::number(a.getLength())
                + ", " + QByteArray::number(b.getLength());

        compare(
                [&](QByteArray &o) {
                    BigUnsigned r(start);
                    r.multiply(a, b);
                    record(o, r);
                    r.multiply(r, r);
                    record(o, r);
                },
                context + " (multiply)");
        compare(
                [&](QByteArray &o) {
                    BigUnsigned r(start), q(quotientStart);
                    r = dividend;
                    r.divideWithRemainder(b, q);
                    record(o, r);
                    record(o, q);
                },
                context + " (divide)");
        compare(
                [&](QByteArray &o) {
                    BigUnsigned r(dividend);
                    r %= b;
                    record(o, r);
                    record(o, dividend / b);
                    BigInteger q, signedR(dividend, BigInteger::negative);
                    signedR.divideWithRemainder(BigInteger(b), q);
                    record(o, signedR.getMagnitude());
                    record(o, q.getMagnitude());
                },
                context + " (division operators)");
    }
}

void tst_BigIntPaths::textConversions()
{
    Operands operands(seed + 1);
    for (int i = 0; i < 300; i++) {
        const bool normal = !operands.chance(8);
        const BigUnsigned x = operands.ofLength(operands.below(24), normal);
        const BigUnsignedInABase::Base base = operands.chance(2)
                ? BigUnsignedInABase::Base(operands.chance(2) ? 10 : 2 + operands.below(35))
                : BigUnsignedInABase::Base(2 + operands.below(65534));
        const QByteArray context = where(i) + ": length " + QByteArray::number(x.getLength())
                + ", base " + QByteArray::number(base);
        compare(
                [&](QByteArray &o) {
                    const BigUnsignedInABase digits(x, base);
                    BigUnsigned asDigits;
                    for (BigUnsignedInABase::Index j = 0; j < digits.getLength(); j++)
                        asDigits.setBlock(j, digits.blockAt(j));
                    record(o, asDigits);
                    o += QByteArray::number(digits.getCapacity());
                    record(o, BigUnsigned(digits));
                    if (base <= 36) {
                        const std::string text(digits);
                        record(o, BigUnsigned(BigUnsignedInABase(text, base)));
                    }
                },
                context);
    }
}

void tst_BigIntPaths::numberTheory()
{
    Operands operands(seed + 2);
    for (int i = 0; i < 60; i++) {
        // Normal moduli only: a divisor with zero blocks on top leaves remainders that need not
        // shrink, so gcd need not end and modexp's values grow without bound.
        const BigUnsigned modulus = operands.ofLength(operands.below(12));
        const BigUnsigned base = operands.ofLength(operands.below(14));
        const BigUnsigned exponent = operands.ofLength(operands.below(3));
        const BigInteger signedBase(
                base, operands.chance(2) ? BigInteger::negative : BigInteger::positive);
        const QByteArray context =
                where(i) + ": modulus length " + QByteArray::number(modulus.getLength());
        compare(
                [&](QByteArray &o) {
                    record(o, gcd(base, modulus));
                    record(o, modexp(signedBase, exponent, modulus));
                },
                context);
    }
}

QTEST_GUILESS_MAIN(tst_BigIntPaths)
#include "tst_bigint_paths.moc"
