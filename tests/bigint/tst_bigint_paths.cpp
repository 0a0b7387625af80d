// Differential test of the fast paths against the reference algorithms: the same operation on the
// same operands and receivers, once each way, must leave the same blocks, lengths and capacities
// and throw the same texts. Operand lengths gather around the fast paths' thresholds. The seed is
// printed; set ORVEX_TEST_SEED to repeat a run.
#include "bigint/BigIntText.h"
#include "bigint/BigInteger.h"
#include "bigint/BigUnsigned.h"
#include "bigint/BigUnsignedInABase.h"
#include "bigint/BigUnsignedInABase_p.h"
#include "bigint/FastPaths_p.h"
#include "bigint/NumberTheory.h"
#include "bigint/NumberTheory_p.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QRandomGenerator>
#include <QtTest>

namespace {

constexpr quint32 blocksPerLimb = LimbOps::blocksPerLimb;
constexpr quint32 karatsubaBlocks = blocksPerLimb * BigIntPaths::multiplyThresholds.karatsuba;
constexpr quint32 karatsubaSquareBlocks =
        blocksPerLimb * BigIntPaths::multiplyThresholds.karatsubaSquare;
constexpr quint32 toomBlocks = blocksPerLimb * BigIntPaths::multiplyThresholds.toom;
constexpr quint32 toomSquareBlocks = blocksPerLimb * BigIntPaths::multiplyThresholds.toomSquare;

// What an operation leaves behind, as text: per value written its length, capacity and blocks
// (hashed), then the text thrown.
template <class Operation>
QByteArray outcomeOf(Operation &&operation)
{
    QByteArray outcome;
    const QByteArray thrown = thrownText([&] {
        operation(outcome);
    });
    return outcome + "thrown \"" + thrown + "\"";
}

void record(QByteArray &outcome, const BigUnsigned &x)
{
    const Blocks blocks = blocksOf(x);
    outcome += "length " + QByteArray::number(x.getLength()) + ", capacity "
            + QByteArray::number(x.getCapacity()) + ", blocks "
            + QByteArray::number(qHashRange(blocks.begin(), blocks.end()), 16) + "; ";
}

class Operands
{
public:
    explicit Operands(quint32 seed) : random(seed) {}
    bool chance(quint32 outOf) { return random.bounded(outOf) == 0; }
    quint32 below(quint32 bound) { return random.bounded(bound); }

    // A value of `count` blocks, favouring those that exercise carries, borrows and quotient
    // corrections, with a non-zero top block, or, not `normal`, with a zero block on top of that
    // (such values come from the truncating constructors and shifts of zero).
    BigUnsigned ofLength(quint32 count, bool normal = true)
    {
        static const quint32 special[] = {0, 0xFFFFFFFFu, 1, 0x80000000u};
        Blocks blocks;
        for (quint32 i = 0; i < count; i++) {
            const quint32 pick = below(8);
            blocks.append(pick < 4 ? special[pick] : random.generate());
        }
        if (count > 0 && blocks.last() == 0)
            blocks.last() = 1 + below(0xFFFFFFFFu);
        const BigUnsigned x = fromBlocks(blocks);
        if (normal || count == 0)
            return x;
        // A truncated 2^32 is one zero block; times a normal value, count + 1 zero blocks.
        return x | BigUnsigned(1ul << 32) * (x << 32);
    }

    // A receiver with some earlier value and a capacity of its own.
    BigUnsigned receiver()
    {
        BigUnsigned r = ofLength(below(2 * karatsubaBlocks + 8));
        r = ofLength(below(4u));
        return r;
    }

private:
    QRandomGenerator random;
};

// Rows of operand lengths in blocks: small ones, and each threshold with its neighbours. Toom's
// split from `toom` limbs on, transforms from `transform` limbs on, where not 0, so that short
// values reach them and their nesting.
void addLengthRows(const char *name, quint32 shorter, quint32 longer, quint32 toom = 0,
                   quint32 transform = 0)
{
    for (int offset = -2; offset <= 2; offset++) {
        QTest::addRow("%s %+d", name, offset) << quint32(int(shorter) + offset)
                                              << quint32(int(longer) + offset) << toom << transform;
    }
}

// Runs `check(fast, outcome)` on the reference path and the fast one and fails with both outcomes
// when they differ.
template <class Check>
void compare(const QByteArray &context, Check &&check)
{
    QByteArray reference, fast;
    for (bool isFast : {false, true}) {
        (isFast ? fast : reference) = outcomeOf([&](QByteArray &o) {
            check(isFast, o);
        });
    }
    if (fast != reference)
        QFAIL(context + "\n  reference: " + reference + "\n  fast: " + fast);
}

using BaseConversion::Digit;

// Rows of a threshold: the sizes `extra` and those at and around the threshold the library sets,
// and at a small threshold that reaches splits within splits on short values (2t + 1, 4t - 1).
void addThresholdRows(const char *name, quint32 threshold, quint32 t,
                      std::initializer_list<quint32> extra)
{
    QTest::addColumn<quint32>(name);
    QTest::addColumn<quint32>("threshold");
    for (quint32 size : extra)
        QTest::addRow("%s %u, threshold %u", name, size, threshold) << size << threshold;
    for (quint32 size : {threshold - 1, threshold, threshold + 1})
        QTest::addRow("%s %u, threshold %u", name, size, threshold) << size << threshold;
    for (quint32 size : {t - 1, t, t + 1, 2 * t + 1, 4 * t - 1})
        QTest::addRow("%s %u, threshold %u", name, size, t) << size << t;
}

} // namespace

class tst_BigIntPaths : public QObject
{
    Q_OBJECT

private slots:
    void multiply_data();
    void multiply();
    void transformLong_data();
    void transformLong();
    void divide_data();
    void divide();
    void modexp_data();
    void modexp();
    void toDigits_data();
    void toDigits();
    void fromDigits_data();
    void fromDigits();
    void gcd_data();
    void gcd();

private:
    QByteArray where(int index) const
    {
        return "seed " + QByteArray::number(seed) + ", case " + QByteArray::number(index);
    }

    const quint32 seed = testSeed(20261121);
};

void tst_BigIntPaths::multiply_data()
{
    QTest::addColumn<quint32>("shorter");
    QTest::addColumn<quint32>("longer");
    QTest::addColumn<quint32>("toom");
    QTest::addColumn<quint32>("transform");
    for (quint32 length = 1; length <= 5; length++)
        QTest::addRow("%u blocks", length) << length << length << 0u << 0u;
    QTest::newRow("1 by 7 blocks") << 1u << 7u << 0u << 0u;
    QTest::newRow("2 by 9 blocks") << 2u << 9u << 0u << 0u;
    addLengthRows("karatsuba", karatsubaBlocks, karatsubaBlocks);
    addLengthRows("karatsuba square", karatsubaSquareBlocks, karatsubaSquareBlocks);
    addLengthRows("karatsuba twice", 2 * karatsubaBlocks, 2 * karatsubaBlocks + 1);
    addLengthRows("karatsuba, longer in pieces", karatsubaBlocks, 3 * karatsubaBlocks + 7);
    addLengthRows("toom", toomBlocks, toomBlocks);
    if (toomSquareBlocks != toomBlocks)
        addLengthRows("toom square", toomSquareBlocks, toomSquareBlocks);
    addLengthRows("toom from 4 limbs", 4 * blocksPerLimb, 4 * blocksPerLimb, 4);
    addLengthRows("toom from 4 limbs, nested", 12 * blocksPerLimb, 12 * blocksPerLimb + 1, 4);
    addLengthRows("toom from 4 limbs, unbalanced", 16 * blocksPerLimb, 25 * blocksPerLimb, 4);
    // Lengths of 2^k and 3 * 2^k residues, a product of two limbs the shortest.
    addLengthRows("transform from 1 limb", 2 * blocksPerLimb, 2 * blocksPerLimb, 0, 1);
    addLengthRows("transform, unbalanced", 3 * blocksPerLimb, 20 * blocksPerLimb, 0, 3);
    addLengthRows("transform, longer", 40 * blocksPerLimb, 47 * blocksPerLimb, 0, 3);
    addLengthRows("transform under toom", 60 * blocksPerLimb, 60 * blocksPerLimb, 8, 12);
}

void tst_BigIntPaths::multiply()
{
    QFETCH(quint32, shorter);
    QFETCH(quint32, longer);
    QFETCH(quint32, toom);
    QFETCH(quint32, transform);
    BigIntPaths::MultiplyThresholds thresholds = BigIntPaths::multiplyThresholds;
    if (toom != 0)
        thresholds.toom = thresholds.toomSquare = toom;
    if (transform != 0)
        thresholds.transform = thresholds.transformSquare = transform;
    Operands operands(seed ^ (shorter << 16 | longer));
    // At the library's Toom thresholds the reference takes long: the normal operands only.
    const int trials = toom != 0 || transform != 0              ? 6
            : shorter + 2 >= qMin(toomBlocks, toomSquareBlocks) ? 2
                                                                : 4;
    for (int trial = 0; trial < trials; trial++) {
        // Now and then a value with zero blocks on top, which the fast path leaves alone.
        BigUnsigned a = operands.ofLength(longer, trial != 2);
        BigUnsigned b = operands.ofLength(shorter, trial != 3);
        if (trial == 4) {
            // x0 + B^4 by 1 + B^4 (B the limb base) splits into parts of two limbs and leaves
            // x0 + 6 for the exact division by 3; a limb of 0x55.. above one of B / 2 makes it
            // borrow across a limb it empties, which random operands all but never do.
            const int bits = int(LimbOps::bitsPerLimb);
            const BigUnsigned base = BigUnsigned(1) << bits, top = BigUnsigned(1) << 4 * bits;
            a = top + (base - 1) / 3 * base + (base >> 1) - 6;
            b = top + 1;
        }
        if (trial == 5) // all ones: carries run through the whole recombination
            a = b = (BigUnsigned(1) << int(32 * longer)) - 1;
        const BigUnsigned start = operands.receiver();
        compare(where(trial), [&](bool fast, QByteArray &o) {
            const auto multiply = [&](BigUnsigned &r, const BigUnsigned &x, const BigUnsigned &y) {
                if (fast)
                    BigIntPaths::multiplyFast(r, x, y, thresholds);
                else
                    BigIntPaths::multiplyReference(r, x, y);
            };
            BigUnsigned r(start);
            multiply(r, b, a);
            record(o, r);
            multiply(r, r, r);
            record(o, r);
            BigUnsigned s(start);
            multiply(s, a, a);
            record(o, s);
        });
    }
}

// Transforms longer than their cache block, as a power of two and in thirds, against the splits:
// random limbs, all ones (the largest coefficients), a square.
void tst_BigIntPaths::transformLong_data()
{
    QTest::addColumn<quint32>("xn");
    QTest::addColumn<quint32>("yn");
    QTest::newRow("2048 residues") << 1000u << 1000u;
    QTest::newRow("3 * 2048 residues") << 2600u << 2600u;
    QTest::newRow("unbalanced, 3 * 1024 residues") << 3000u << 10u;
}

void tst_BigIntPaths::transformLong()
{
#ifndef __SIZEOF_INT128__
    QSKIP("Transforms need limbs of 64 bits");
#else
    QFETCH(quint32, xn);
    QFETCH(quint32, yn);
    using LimbOps::Limb;
    BigIntPaths::MultiplyThresholds splits = BigIntPaths::multiplyThresholds;
    splits.transform = splits.transformSquare = ~0u;
    QRandomGenerator random(seed ^ xn);
    for (int trial = 0; trial < 3; trial++) {
        QVector<Limb> x(xn), y(yn), viaTransform(xn + yn), viaSplits(xn + yn);
        for (Limb &limb : x)
            limb = trial == 1 ? ~Limb(0) : random.generate64();
        for (Limb &limb : y)
            limb = trial == 1 ? ~Limb(0) : random.generate64();
        const Limb *second = trial == 2 && xn == yn ? x.data() : y.data();
        BigIntPaths::multiplyByTransform(viaTransform.data(), x.data(), xn, second, yn);
        BigIntPaths::multiplyLimbs(viaSplits.data(), x.data(), xn, second, yn, splits);
        QVERIFY2(viaTransform == viaSplits, where(trial));
    }
#endif
}

void tst_BigIntPaths::divide_data()
{
    QTest::addColumn<quint32>("divisorLength");
    QTest::addColumn<quint32>("dividendLength");
    QTest::addColumn<Blocks>("dividend");
    QTest::addColumn<Blocks>("divisor");
    QTest::addColumn<quint32>("threshold"); // of the recursive division, in limbs
    const quint32 t = BigIntPaths::recursiveDivisionLimbs;
    // Quotient digits one too large, which only these rare operands reach: the estimate from the
    // top limbs passes, and the product of the whole divisor must be added back.
    const Blocks one7 = {0, 0, 0, 0, 0, 0, 1};
    QTest::newRow("add back") << 0u << 0u << one7 << Blocks{1, 0, 0, 0, 0, 0x80000000u} << t;
    QTest::newRow("add back, low limb all ones")
            << 0u << 0u << one7 << Blocks{0xFFFFFFFFu, 0x7FFFFFFFu, 0, 0, 0, 0x80000000u} << t;
    QTest::newRow("add back, longer dividend")
            << 0u << 0u << Blocks{0, 0, 0, 0, 0, 0, 0, 0, 1}
            << Blocks{0xFFFFFFFFu, 0xFFFFFFFFu, 0, 0, 0, 0x80000000u} << t;
    for (quint32 divisor = 1; divisor <= 7; divisor++) {
        QTest::addRow("%u-block divisor", divisor)
                << divisor << 2 * divisor + 1 << Blocks() << Blocks() << t;
    }
    QTest::newRow("dividend shorter") << 5u << 4u << Blocks() << Blocks() << t;
    QTest::newRow("equal lengths") << 6u << 6u << Blocks() << Blocks() << t;
    // Recursive division at its threshold, and at a small one: quotients shorter than it, as long
    // as the divisor (halves on halves) and longer (in blocks of the divisor's length).
    for (quint32 limbs : {t - 1, t, t + 1}) {
        QTest::addRow("%u-limb divisor", limbs)
                << blocksPerLimb * limbs - 1 << 2 * blocksPerLimb * limbs + 3 << Blocks()
                << Blocks() << t;
    }
    for (quint32 limbs : {3u, 4u, 5u, 9u, 15u}) {
        for (quint32 quotient : {2u, limbs, 3 * limbs + 1}) {
            QTest::addRow("%u-limb divisor, %u-limb quotient, threshold 4", limbs, quotient)
                    << blocksPerLimb * limbs - limbs % 2 << blocksPerLimb * (limbs + quotient)
                    << Blocks() << Blocks() << 4u;
        }
    }
}

void tst_BigIntPaths::divide()
{
    QFETCH(quint32, divisorLength);
    QFETCH(quint32, dividendLength);
    QFETCH(Blocks, dividend);
    QFETCH(Blocks, divisor);
    QFETCH(quint32, threshold);
    Operands operands(seed ^ (divisorLength << 16 | dividendLength) ^ threshold << 8);
    const int trials = dividend.isEmpty() ? 9 : 1;
    for (int trial = 0; trial < trials; trial++) {
        BigUnsigned b = operands.ofLength(divisorLength, trial != 3);
        BigUnsigned x = operands.ofLength(dividendLength, trial != 2);
        // Dividends made from the divisor reach the corrections of the quotient digits: a
        // remainder below the divisor, the divisor times a small number less one, the divisor
        // times the limb base less one (a digit of all ones), the divisor two limbs up with a
        // little below it (top limbs equal to the divisor, a top digit of one), and the divisor
        // times a power of the limb base less one (as many digits of all ones as the quotient).
        if (trial == 4)
            x = x * b + operands.ofLength(b.getLength());
        if (trial == 5 && !b.isZero())
            x = b * operands.ofLength(1 + operands.below(3)) - BigUnsigned(1);
        if (trial == 6 && !b.isZero())
            x = (b << int(32 * blocksPerLimb)) - BigUnsigned(1);
        if (trial == 7 && !b.isZero())
            x = (b << int(64 * blocksPerLimb)) + operands.ofLength(2);
        if (trial == 8 && !b.isZero())
            x = (b << int(32 * dividendLength)) - BigUnsigned(1);
        if (!dividend.isEmpty()) {
            x = fromBlocks(dividend);
            b = fromBlocks(divisor);
        }
        const BigUnsigned start = operands.receiver();
        const BigUnsigned quotientStart = operands.receiver();
        compare(where(trial), [&](bool fast, QByteArray &o) {
            const auto divide = [&](BigUnsigned &u, const BigUnsigned &v, BigUnsigned &w) {
                fast ? BigIntPaths::divideFast(u, v, w, threshold)
                     : BigIntPaths::divideReference(u, v, w);
            };
            BigUnsigned r(start), q(quotientStart);
            r = x;
            divide(r, b, q);
            record(o, r);
            record(o, q);
            divide(q, q, r); // the divisor is the receiver: divided by a copy
            record(o, r);
            record(o, q);
            divide(r, b, r);
        });
    }
}

void tst_BigIntPaths::modexp_data()
{
    QTest::addColumn<quint32>("modulusLength");
    QTest::addColumn<quint32>("baseLength");
    QTest::addColumn<quint32>("exponentLength");
    QTest::newRow("zero modulus") << 0u << 2u << 1u;
    QTest::newRow("zero exponent") << 3u << 2u << 0u;
    QTest::newRow("zero base") << 3u << 0u << 1u;
    for (quint32 length = 1; length <= 9; length++)
        QTest::addRow("%u-block modulus", length) << length << length + 1 << 2u;
    QTest::newRow("base shorter than the modulus") << 9u << 2u << 2u;
    QTest::newRow("long modulus") << 17u << 18u << 1u;
}

void tst_BigIntPaths::modexp()
{
    QFETCH(quint32, modulusLength);
    QFETCH(quint32, baseLength);
    QFETCH(quint32, exponentLength);
    Operands operands(seed ^ (modulusLength << 16 | baseLength << 8 | exponentLength));
    for (int trial = 0; trial < 4; trial++) {
        const BigUnsigned modulus = operands.ofLength(modulusLength);
        const BigInteger base(operands.ofLength(baseLength),
                              trial % 2 ? BigInteger::negative : BigInteger::positive);
        const BigUnsigned exponent = operands.ofLength(exponentLength);
        compare(where(trial), [&](bool fast, QByteArray &o) {
            record(o,
                   (fast ? &BigIntPaths::modexpFast : &BigIntPaths::modexpReference)(base, exponent,
                                                                                     modulus));
        });
    }
}

void tst_BigIntPaths::toDigits_data()
{
    // Values long enough for the recursive division at the top split.
    addThresholdRows("blocks", BaseConversion::toDigitsSplitBlocks, 4,
                     {1, 4 * blocksPerLimb * BigIntPaths::recursiveDivisionLimbs + 1});
}

void tst_BigIntPaths::toDigits()
{
    QFETCH(quint32, blocks);
    QFETCH(quint32, threshold);
    Operands operands(seed + blocks);
    for (int i = 0; i < 12; i++) {
        const BigUnsigned x = operands.ofLength(blocks - operands.below(2));
        const unsigned base = i < 3 ? 10
                : i < 6             ? 2 + operands.below(35)
                                    : 2 + operands.below(65534);
        const QByteArray context = where(i) + ": base " + QByteArray::number(base);
        compare(context, [&](bool fast, QByteArray &o) {
            // Not zeros: a digit left unwritten shows.
            QVector<Digit> digits(int(32 * x.getLength() + 1), Digit(7));
            const BigUnsigned::Index count = fast
                    ? BaseConversion::digitsFast(x, base, digits.data(), threshold)
                    : BaseConversion::digitsByDivision(x, base, digits.data());
            o += QByteArray::number(count) + " digits, "
                    + QByteArray::number(qHashRange(digits.begin(), digits.begin() + count), 16);
        });
    }
    // The constructor takes the fast path for normal values only: zero blocks on top can leave a
    // zero digit on top, as the reference does.
    const BigUnsigned nonNormal = operands.ofLength(blocks, false);
    const BigUnsignedInABase digits(nonNormal, 10);
    QVector<Digit> expected(int(32 * nonNormal.getLength() + 1));
    expected.resize(int(BaseConversion::digitsByDivision(nonNormal, 10, expected.data())));
    QVector<Digit> got;
    for (BigUnsignedInABase::Index i = 0; i < digits.getLength(); i++)
        got.append(digits.blockAt(i));
    QCOMPARE(got, expected);
}

void tst_BigIntPaths::fromDigits_data()
{
    addThresholdRows("chunks", BaseConversion::fromDigitsSplitChunks, 3, {0, 1});
}

void tst_BigIntPaths::fromDigits()
{
    QFETCH(quint32, chunks);
    QFETCH(quint32, threshold);
    Operands operands(seed + chunks);
    // Horner's rule a digit at a time is slow on long strings: fewer draws there.
    for (int i = 0; i < (chunks > 64 ? 3 : 30); i++) {
        const unsigned base = i < 10 ? 10
                : i < 20             ? 2 + operands.below(35)
                                     : 2 + operands.below(65534);
        // A chunk is as many digits as fit a 64-bit word.
        unsigned perChunk = 0;
        for (quint64 power = 1; power <= ~quint64(0) / base; power *= base)
            perChunk++;
        const quint32 count =
                chunks == 0 ? 1 : (chunks - 1) * perChunk + 1 + operands.below(perChunk);
        QVector<Digit> digits;
        for (quint32 j = 0; j < count; j++) {
            const quint32 pick = operands.below(4);
            digits.append(Digit(pick == 0 ? 0 : pick == 1 ? base - 1 : operands.below(base)));
        }
        // The capacity of Horner's steps depends on the lowest non-zero digit j, as long as
        // base^j fits a block: runs of zeros up to that length and one past it.
        quint32 blockDigits = 0;
        for (quint64 power = base; power < (quint64(1) << 32); power *= base)
            blockDigits++;
        const quint32 runs[] = {0, 0, 1, blockDigits, blockDigits + 1};
        const quint32 zeros = std::min(runs[operands.below(5)], count - 1);
        for (quint32 j = 0; j < zeros; j++)
            digits[int(j)] = 0;
        digits[int(count) - 1] = Digit(1 + operands.below(base - 1));
        const QByteArray context = where(i) + ": base " + QByteArray::number(base) + ", "
                + QByteArray::number(count) + " digits";
        compare(context, [&](bool fast, QByteArray &o) {
            record(o,
                   fast ? BaseConversion::valueFast(digits.constData(), count, base, threshold)
                        : BaseConversion::valueByHorner(digits.constData(), count, base));
        });
        // Decimal text is read without the digit array; zeros on top are dropped.
        if (base == 10 && threshold == BaseConversion::fromDigitsSplitChunks) {
            std::string text(operands.below(3), '0');
            for (quint32 j = count; j > 0; j--)
                text += char('0' + digits[int(j) - 1]);
            compare(context + ", decimal text", [&](bool fast, QByteArray &o) {
                record(o,
                       fast ? stringToBigUnsigned(text)
                            : BaseConversion::valueByHorner(digits.constData(), count, 10));
            });
        }
    }
}

void tst_BigIntPaths::gcd_data()
{
    addThresholdRows("blocks", GcdPaths::lehmerBlocks, 3, {1, 40});
}

void tst_BigIntPaths::gcd()
{
    QFETCH(quint32, blocks);
    QFETCH(quint32, threshold);
    Operands operands(seed + blocks);
    for (int i = 0; i < 40; i++) {
        // A common factor, operands of unequal lengths (long divisions between the batches),
        // zero, and a value with zero blocks on top (the reference's) among them.
        const BigUnsigned factor = operands.ofLength(operands.below(3));
        BigUnsigned a = operands.ofLength(blocks) * factor;
        BigUnsigned b = operands.ofLength(operands.chance(3) ? operands.below(blocks + 1) : blocks)
                * factor;
        if (operands.chance(8))
            b = a + BigUnsigned(1);
        if (operands.chance(10))
            b = BigUnsigned();
        if (operands.chance(2))
            std::swap(a, b);
        // Only as the first operand and longer than the second, so that the first remainder
        // makes it normal: a divisor with zero blocks on top need not shrink the remainder, and
        // the reference would not end.
        if (operands.chance(10))
            a = operands.ofLength(qMax(blocks, b.getLength()), false);
        const QByteArray context = where(i) + ": lengths " + QByteArray::number(a.getLength())
                + ", " + QByteArray::number(b.getLength());
        compare(context, [&](bool fast, QByteArray &o) {
            record(o,
                   fast ? GcdPaths::gcdLehmer(a, b, threshold) : GcdPaths::gcdByRemainders(a, b));
        });
    }
}

QTEST_GUILESS_MAIN(tst_BigIntPaths)
#include "tst_bigint_paths.moc"
