#include "bigint/BigInteger.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QtTest>

#include <climits>
#include <cstring>
#include <functional>

namespace {

const QByteArray tooBig =
        "BigInteger::to<Primitive>: Value is too big to fit in the requested type";
const QByteArray magnitudeTooBig =
        "BigUnsigned::to<Primitive>: Value is too big to fit in the requested type";
const QByteArray negativeToUnsigned =
        "BigInteger::to<Primitive>: Cannot convert a negative integer to an unsigned type";
const QByteArray zeroSignBlocks = "BigInteger::BigInteger(const Blk *, Index, Sign): Cannot use a "
                                  "sign of zero with a nonzero magnitude";
const QByteArray zeroSignMagnitude = "BigInteger::BigInteger(const BigUnsigned &, Sign): Cannot "
                                     "use a sign of zero with a nonzero magnitude";
const QByteArray invalidBlocks = "BigInteger::BigInteger(const Blk *, Index, Sign): Invalid sign";
const QByteArray invalidMagnitude =
        "BigInteger::BigInteger(const BigUnsigned &, Sign): Invalid sign";

// Sign and every magnitude block, e.g. "-[3]", "+[0]" (a positive one-block zero) or "0[]".
QByteArray state(const BigInteger &x)
{
    QByteArray text = x.getSign() < 0 ? "-[" : (x.getSign() > 0 ? "+[" : "0[");
    const Blocks blocks = blocksOf(x.getMagnitude());
    for (int i = 0; i < blocks.size(); i++)
        text += (i ? "," : "") + QByteArray::number(blocks[i]);
    return text + "]";
}

// One operation on x and y (both zero at the start): the text thrown and both states afterwards.
struct Case
{
    const char *name;
    std::function<void(BigInteger &x, BigInteger &y)> run;
    QByteArray thrown;
    QByteArray x;
    QByteArray y;
};

typedef BigInteger I;
const I::Sign negative = I::negative, zero = I::zero;

void fromBlocksWithSign(I &x, const Blocks &blocks, int sign)
{
    x = I(blocks.constData(), I::Index(blocks.size()), I::Sign(sign));
}

// clang-format off
const QVector<Case> &cases()
{
    static const QVector<Case> all = {
        // The magnitude is one block: 64-bit arguments keep their sign but lose their high half.
        {"unsigned long 2^32", [](I &x, I &) { x = I(1ul << 32); }, {}, "+[0]", "0[]"},
        {"unsigned long 2^32 + 7", [](I &x, I &) { x = I(0x100000007ul); }, {}, "+[7]", "0[]"},
        {"long 2^32", [](I &x, I &) { x = I(1l << 32); }, {}, "+[]", "0[]"},
        {"long -2^32", [](I &x, I &) { x = I(-(1l << 32)); }, {}, "-[]", "0[]"},
        {"long -(2^32 + 3)", [](I &x, I &) { x = I(-0x100000003l); }, {}, "-[3]", "0[]"},
        {"long minimum", [](I &x, I &) { x = I(LONG_MIN); }, {}, "-[]", "0[]"},
        {"int minimum", [](I &x, I &) { x = I(INT_MIN); }, {}, "-[2147483648]", "0[]"},
        {"short minimum", [](I &x, I &) { x = I(short(SHRT_MIN)); }, {}, "-[32768]", "0[]"},
        {"unsigned short maximum", [](I &x, I &) { x = I((unsigned short)0xFFFF); }, {},
         "+[65535]", "0[]"},
        // The checking constructors: the sign is checked against the trimmed magnitude.
        {"negative zero blocks", [](I &x, I &) { fromBlocksWithSign(x, {0, 0}, negative); }, {},
         "0[]", "0[]"},
        {"blocks with sign zero", [](I &x, I &) { fromBlocksWithSign(x, {5, 0, 0}, zero); },
         zeroSignBlocks, "0[]", "0[]"},
        {"magnitude with sign zero", [](I &x, I &) { x = I(fromBlocks({5}), zero); },
         zeroSignMagnitude, "0[]", "0[]"},
        {"blocks with sign 2", [](I &x, I &) { fromBlocksWithSign(x, {5}, 2); }, invalidBlocks,
         "0[]", "0[]"},
        {"zero blocks with sign -2", [](I &x, I &) { fromBlocksWithSign(x, {}, -2); },
         invalidBlocks, "0[]", "0[]"},
        {"magnitude with sign 2", [](I &x, I &) { x = I(fromBlocks({5}), I::Sign(2)); },
         invalidMagnitude, "0[]", "0[]"},
        {"magnitude, negative", [](I &x, I &) { x = I(fromBlocks({5, 1}), negative); }, {},
         "-[5,1]", "0[]"},
        // Conversions: the sign first, then the size (the magnitude's text for unsigned types).
        {"toUnsignedInt of -1", [](I &, I &) { I(-1).toUnsignedInt(); }, negativeToUnsigned,
         "0[]", "0[]"},
        {"toUnsignedShort of -1", [](I &, I &) { I(-1).toUnsignedShort(); }, negativeToUnsigned,
         "0[]", "0[]"},
        {"toUnsignedLong of 2^32", [](I &, I &) { fromI64(1ll << 32).toUnsignedLong(); },
         magnitudeTooBig, "0[]", "0[]"},
        {"toUnsignedShort of 2^16", [](I &, I &) { I(0x10000).toUnsignedShort(); },
         magnitudeTooBig, "0[]", "0[]"},
        {"toLong of -(2^32 - 1)", [](I &x, I &) { x = fromI64(I(-0xFFFFFFFFl).toLong()); }, {},
         "-[4294967295]", "0[]"},
        {"toLong of 2^32", [](I &, I &) { fromI64(1ll << 32).toLong(); }, tooBig, "0[]", "0[]"},
        {"toInt of 2^31", [](I &, I &) { I(0x80000000u).toInt(); }, tooBig, "0[]", "0[]"},
        {"toInt of -2^31", [](I &, I &) { I(INT_MIN).toInt(); }, tooBig, "0[]", "0[]"},
        {"toInt of -(2^31 - 1)", [](I &x, I &) { x = I(I(-INT_MAX).toInt()); }, {},
         "-[2147483647]", "0[]"},
        {"toShort of -2^15", [](I &x, I &) { x = I(I(-0x8000).toShort()); }, {}, "-[32768]",
         "0[]"},
        {"toShort of 2^15", [](I &, I &) { I(0x8000).toShort(); }, tooBig, "0[]", "0[]"},
        {"toShort of -(2^15 + 1)", [](I &, I &) { I(-0x8001).toShort(); }, tooBig, "0[]", "0[]"},
        // The sign is the first field, a 32-bit integer: only a corrupt object holds another value.
        {"corrupt signs", [](I &x, I &y) {
             const int corrupt = 3;
             x = I(5), y = I(7);
             std::memcpy(static_cast<void *>(&x), &corrupt, sizeof corrupt);
             std::memcpy(static_cast<void *>(&y), &corrupt, sizeof corrupt);
             if (x.compareTo(I(1)) == BigUnsigned::greater) // the signs differ: nothing thrown
                 x.compareTo(y);
         }, "BigInteger internal error", "?[5]", "?[7]"},
        // Results that cancel have the sign zero.
        {"5 + -5", [](I &x, I &) { x.add(I(5), I(-5)); }, {}, "0[]", "0[]"},
        {"-7 - -7", [](I &x, I &) { x.subtract(I(-7), I(-7)); }, {}, "0[]", "0[]"},
        {"0 - 5", [](I &x, I &) { x.subtract(I(0), I(5)); }, {}, "-[5]", "0[]"},
        {"++ of -1", [](I &x, I &) { x = I(-1), x++; }, {}, "0[]", "0[]"},
        {"-- of 0", [](I &x, I &) { x--; }, {}, "-[1]", "0[]"},
        // Division: a zero divisor is no error here, only in the operators.
        {"-9 by zero", [](I &x, I &y) { x = I(-9), y = I(4), x.divideWithRemainder(I(), y); }, {},
         "-[9]", "0[]"},
        {"/ zero", [](I &x, I &y) { x = I(-5), y = x / I(); },
         "BigInteger::operator /: division by zero", "-[5]", "0[]"},
        {"% zero", [](I &x, I &y) { x = I(-5), y = x % I(); },
         "BigInteger::operator %: division by zero", "-[5]", "0[]"},
        {"/= zero", [](I &x, I &) { x = I(-5), x /= I(); },
         "BigInteger::operator /=: division by zero", "-[5]", "0[]"},
        {"%= zero", [](I &x, I &) { x = I(-5), x %= I(); },
         "BigInteger::operator %=: division by zero", "-[5]", "0[]"},
        {"quotient into the receiver", [](I &x, I &) { x = I(-7), x.divideWithRemainder(I(2), x); },
         "BigInteger::divideWithRemainder: Cannot write quotient and remainder into the same "
         "variable", "-[7]", "0[]"},
        // Aliasing: the receiver is an operand.
        {"x divided by x", [](I &x, I &y) { x = I(-7), x.divideWithRemainder(x, y); }, {}, "0[]",
         "+[1]"},
        {"quotient as the divisor",
         [](I &x, I &y) { x = I(-7), y = I(2), x.divideWithRemainder(y, y); },
         {}, "+[1]", "-[4]"},
        {"x.add(x, x), x.multiply(x, x)",
         [](I &x, I &) { x = I(-6), x.add(x, x), x.multiply(x, x); },
         {}, "+[144]", "0[]"},
        {"x.subtract(100, x), x.negate(x)", [](I &x, I &) {
             x = I(144), x.subtract(I(100), x), x.negate(x);
         }, {}, "+[44]", "0[]"},
        {"x.subtract(x, x)", [](I &x, I &) { x = I(-3), x.subtract(x, x); }, {}, "0[]", "0[]"},
    };
    return all;
}
// clang-format on

qint64 floorDivide(qint64 a, qint64 b)
{
    const qint64 q = a / b;
    return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}

} // namespace

class tst_BigInteger : public QObject
{
    Q_OBJECT

private slots:
    void operations_data();
    void operations();
    void floorDivision_data();
    void floorDivision();
    void exhaustiveAgainstNative();
};

void tst_BigInteger::operations_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < cases().size(); i++)
        QTest::newRow(cases()[i].name) << i;
}

void tst_BigInteger::operations()
{
    QFETCH(int, index);
    const Case &c = cases()[index];
    BigInteger x, y;
    QCOMPARE(thrownText([&] {
                 c.run(x, y);
             }),
             c.thrown);
    // "?" stands for a sign that is none of the three values.
    QCOMPARE(c.x.startsWith('?') ? '?' + state(x).mid(1) : state(x), c.x);
    QCOMPARE(c.y.startsWith('?') ? '?' + state(y).mid(1) : state(y), c.y);
}

void tst_BigInteger::floorDivision_data()
{
    QTest::addColumn<qint64>("a");
    QTest::addColumn<qint64>("b");
    QTest::addColumn<qint64>("quotient");
    QTest::addColumn<qint64>("remainder");

    const qint64 rows[][4] = {{7, 2, 3, 1},
                              {-7, 2, -4, 1},
                              {7, -2, -4, -1},
                              {-7, -2, 3, -1},
                              {4, 3, 1, 1},
                              {-4, 3, -2, 2},
                              {4, -3, -2, -2},
                              {-4, -3, 1, -1},
                              {-6, 3, -2, 0},
                              {6, -3, -2, 0},
                              {-1, 5, -1, 4},
                              {0, -5, 0, 0},
                              {-0x100000000ll, 0xFFFFFFFFll, -2, 0xFFFFFFFEll}};
    for (const auto &row : rows)
        QTest::addRow("%lld by %lld", (long long)row[0], (long long)row[1])
                << row[0] << row[1] << row[2] << row[3];
}

void tst_BigInteger::floorDivision()
{
    QFETCH(qint64, a);
    QFETCH(qint64, b);
    QFETCH(qint64, quotient);
    QFETCH(qint64, remainder);

    BigInteger r = fromI64(a), q(77);
    r.divideWithRemainder(fromI64(b), q);
    // fromI64 gives a zero the sign zero, so this also checks the signs of zero results.
    QCOMPARE(state(q), state(fromI64(quotient)));
    QCOMPARE(state(r), state(fromI64(remainder)));
    QCOMPARE(state(fromI64(a) / fromI64(b)), state(fromI64(quotient)));
    QCOMPARE(state(fromI64(a) % fromI64(b)), state(fromI64(remainder)));
}

void tst_BigInteger::exhaustiveAgainstNative()
{
    for (qint64 a = -40; a <= 40; a++) {
        for (qint64 b = -40; b <= 40; b++) {
            const BigInteger x = fromI64(a), y = fromI64(b);
            const QByteArray where = QByteArray::number(a) + ", " + QByteArray::number(b);
            auto check = [&](const BigInteger &r, qint64 expected) {
                QVERIFY2(state(r) == state(fromI64(expected)), where);
            };
            check(x + y, a + b);
            check(x - y, a - b);
            check(x * y, a * b);
            check(-x, -a);
            QVERIFY2(int(x.compareTo(y)) == (a < b ? -1 : (a > b ? 1 : 0)), where);
            QVERIFY2((x < y) == (a < b) && (x == y) == (a == b) && (x >= y) == (a >= b), where);
            if (b != 0) {
                const qint64 q = floorDivide(a, b);
                check(x / y, q);
                check(x % y, a - q * b);
            }
            BigInteger r = x;
            ++r;
            check(r, a + 1);
            r--;
            r--;
            check(r, a - 1);
        }
    }
}

QTEST_GUILESS_MAIN(tst_BigInteger)
#include "tst_biginteger.moc"
