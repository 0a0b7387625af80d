#include "bigint/BigInteger.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QtTest>

#include <climits>
#include <cstring>

namespace {

const QByteArray tooBig =
        "BigInteger::to<Primitive>: Value is too big to fit in the requested type";
const QByteArray magnitudeTooBig =
        "BigUnsigned::to<Primitive>: Value is too big to fit in the requested type";
const QByteArray negativeToUnsigned =
        "BigInteger::to<Primitive>: Cannot convert a negative integer to an unsigned type";

BigInteger construct(const QByteArray &type, quint64 bits)
{
    if (type == "unsigned long")
        return BigInteger((unsigned long)bits);
    if (type == "long")
        return BigInteger((long)bits);
    if (type == "unsigned int")
        return BigInteger((unsigned int)bits);
    if (type == "int")
        return BigInteger((int)bits);
    if (type == "unsigned short")
        return BigInteger((unsigned short)bits);
    if (type == "short")
        return BigInteger((short)bits);
    qFatal("unknown type %s", type.constData());
}

// The result as 64 bits, sign-extended for the signed types.
quint64 convert(const BigInteger &x, const QByteArray &conversion)
{
    if (conversion == "toUnsignedLong")
        return x.toUnsignedLong();
    if (conversion == "toUnsignedInt")
        return x.toUnsignedInt();
    if (conversion == "toUnsignedShort")
        return x.toUnsignedShort();
    if (conversion == "toLong")
        return quint64(x.toLong());
    if (conversion == "toInt")
        return quint64(qint64(x.toInt()));
    if (conversion == "toShort")
        return quint64(qint64(x.toShort()));
    qFatal("unknown conversion %s", conversion.constData());
}

// Floor division of native integers, the reference for the exhaustive check.
qint64 floorDivide(qint64 a, qint64 b)
{
    qint64 q = a / b;
    return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}

} // namespace

class tst_BigInteger : public QObject
{
    Q_OBJECT

private slots:
    void primitiveConstructors_data();
    void primitiveConstructors();
    void checkingConstructors_data();
    void checkingConstructors();
    void conversions_data();
    void conversions();
    void compare_data();
    void compare();
    void corruptSignThrows();
    void addAndSubtract_data();
    void addAndSubtract();
    void multiply();
    void floorDivision_data();
    void floorDivision();
    void divideReceiverRules();
    void divisionOperatorsByZero_data();
    void divisionOperatorsByZero();
    void negate();
    void incrementAndDecrement_data();
    void incrementAndDecrement();
    void aliasing();
    void exhaustiveAgainstNative();
};

void tst_BigInteger::primitiveConstructors_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<quint64>("argument");
    QTest::addColumn<int>("sign");
    QTest::addColumn<Blocks>("magnitude");

    QTest::newRow("unsigned long zero") << QByteArray("unsigned long") << 0ull << 0 << Blocks{};
    QTest::newRow("unsigned long 2^32 is positive with a one-block zero")
            << QByteArray("unsigned long") << 0x100000000ull << 1 << Blocks{0};
    QTest::newRow("unsigned long 2^32 + 7")
            << QByteArray("unsigned long") << 0x100000007ull << 1 << Blocks{7};
    QTest::newRow("long 2^32 is positive with a zero magnitude")
            << QByteArray("long") << 0x100000000ull << 1 << Blocks{};
    QTest::newRow("long -2^32 is negative with a zero magnitude")
            << QByteArray("long") << quint64(-0x100000000ll) << -1 << Blocks{};
    QTest::newRow("long -1") << QByteArray("long") << quint64(-1) << -1 << Blocks{1};
    QTest::newRow("long -(2^32 + 3) keeps the low half negated")
            << QByteArray("long") << quint64(-0x100000003ll) << -1 << Blocks{3};
    QTest::newRow("long minimum") << QByteArray("long") << quint64(LONG_MIN) << -1 << Blocks{};
    QTest::newRow("int minimum gives 2^31")
            << QByteArray("int") << quint64(INT_MIN) << -1 << Blocks{0x80000000};
    QTest::newRow("int zero") << QByteArray("int") << 0ull << 0 << Blocks{};
    QTest::newRow("int 5") << QByteArray("int") << 5ull << 1 << Blocks{5};
    QTest::newRow("unsigned int maximum")
            << QByteArray("unsigned int") << 0xFFFFFFFFull << 1 << Blocks{0xFFFFFFFF};
    QTest::newRow("short minimum gives 2^15")
            << QByteArray("short") << quint64(SHRT_MIN) << -1 << Blocks{0x8000};
    QTest::newRow("unsigned short maximum")
            << QByteArray("unsigned short") << 0xFFFFull << 1 << Blocks{0xFFFF};
}

void tst_BigInteger::primitiveConstructors()
{
    QFETCH(QByteArray, type);
    QFETCH(quint64, argument);
    QFETCH(int, sign);
    QFETCH(Blocks, magnitude);

    const BigInteger x = construct(type, argument);
    QCOMPARE(int(x.getSign()), sign);
    QCOMPARE(blocksOf(x.getMagnitude()), magnitude);
}

void tst_BigInteger::checkingConstructors_data()
{
    QTest::addColumn<Blocks>("blocks");
    QTest::addColumn<int>("sign");
    QTest::addColumn<int>("expectedSign");
    QTest::addColumn<Blocks>("magnitude");
    QTest::addColumn<QByteArray>("thrownFromBlocks");
    QTest::addColumn<QByteArray>("thrownFromMagnitude");

    const QByteArray zeroSignBlocks =
            "BigInteger::BigInteger(const Blk *, Index, Sign): Cannot use a "
            "sign of zero with a nonzero magnitude";
    const QByteArray zeroSignMagnitude =
            "BigInteger::BigInteger(const BigUnsigned &, Sign): Cannot "
            "use a sign of zero with a nonzero magnitude";
    const QByteArray invalidBlocks =
            "BigInteger::BigInteger(const Blk *, Index, Sign): Invalid sign";
    const QByteArray invalidMagnitude =
            "BigInteger::BigInteger(const BigUnsigned &, Sign): Invalid sign";

    QTest::newRow("positive") << Blocks{5, 1} << 1 << 1 << Blocks{5, 1} << QByteArray()
                              << QByteArray();
    QTest::newRow("negative") << Blocks{5} << -1 << -1 << Blocks{5} << QByteArray() << QByteArray();
    QTest::newRow("negative zero blocks give zero")
            << Blocks{0, 0} << -1 << 0 << Blocks{} << QByteArray() << QByteArray();
    QTest::newRow("sign zero with zero")
            << Blocks{} << 0 << 0 << Blocks{} << QByteArray() << QByteArray();
    QTest::newRow("sign zero with a trimmed non-zero magnitude")
            << Blocks{5, 0, 0} << 0 << 0 << Blocks{} << zeroSignBlocks << zeroSignMagnitude;
    QTest::newRow("sign 2 is invalid")
            << Blocks{5} << 2 << 0 << Blocks{} << invalidBlocks << invalidMagnitude;
    QTest::newRow("sign -2 with zero is invalid")
            << Blocks{} << -2 << 0 << Blocks{} << invalidBlocks << invalidMagnitude;
}

void tst_BigInteger::checkingConstructors()
{
    QFETCH(Blocks, blocks);
    QFETCH(int, sign);
    QFETCH(int, expectedSign);
    QFETCH(Blocks, magnitude);
    QFETCH(QByteArray, thrownFromBlocks);
    QFETCH(QByteArray, thrownFromMagnitude);

    BigInteger x;
    QCOMPARE(thrownText([&] {
                 x = BigInteger(blocks.constData(), BigInteger::Index(blocks.size()),
                                BigInteger::Sign(sign));
             }),
             thrownFromBlocks);
    QCOMPARE(int(x.getSign()), expectedSign);
    QCOMPARE(blocksOf(x.getMagnitude()), magnitude);

    BigInteger y;
    QCOMPARE(thrownText([&] {
                 y = BigInteger(fromBlocks(blocks), BigInteger::Sign(sign));
             }),
             thrownFromMagnitude);
    QCOMPARE(int(y.getSign()), expectedSign);
    QCOMPARE(blocksOf(y.getMagnitude()), magnitude);
}

void tst_BigInteger::conversions_data()
{
    QTest::addColumn<qint64>("value");
    QTest::addColumn<QByteArray>("conversion");
    QTest::addColumn<quint64>("expected");
    QTest::addColumn<QByteArray>("thrown");

    auto row = [](const char *name, qint64 value, const char *conversion, quint64 expected,
                  const QByteArray &thrown) {
        QTest::newRow(name) << value << QByteArray(conversion) << expected << thrown;
    };
    row("toUnsignedLong of 0", 0, "toUnsignedLong", 0, QByteArray());
    row("toUnsignedLong of 2^32 - 1", 0xFFFFFFFFll, "toUnsignedLong", 0xFFFFFFFFull, QByteArray());
    row("toUnsignedLong of 2^32", 0x100000000ll, "toUnsignedLong", 0, magnitudeTooBig);
    row("toUnsignedInt of -1", -1, "toUnsignedInt", 0, negativeToUnsigned);
    row("toUnsignedInt of 2^32", 0x100000000ll, "toUnsignedInt", 0, magnitudeTooBig);
    row("toUnsignedShort of -1", -1, "toUnsignedShort", 0, negativeToUnsigned);
    row("toUnsignedShort of 0x10000", 0x10000, "toUnsignedShort", 0, magnitudeTooBig);
    row("toLong of -(2^32 - 1)", -0xFFFFFFFFll, "toLong", quint64(-0xFFFFFFFFll), QByteArray());
    row("toLong of 2^32 - 1", 0xFFFFFFFFll, "toLong", 0xFFFFFFFFull, QByteArray());
    row("toLong of 2^32", 0x100000000ll, "toLong", 0, tooBig);
    row("toLong of -2^32", -0x100000000ll, "toLong", 0, tooBig);
    row("toInt of 2^31 - 1", INT_MAX, "toInt", INT_MAX, QByteArray());
    row("toInt of 2^31", 0x80000000ll, "toInt", 0, tooBig);
    row("toInt of -(2^31 - 1)", -INT_MAX, "toInt", quint64(qint64(-INT_MAX)), QByteArray());
    row("toInt of -2^31 throws", INT_MIN, "toInt", 0, tooBig);
    row("toInt of 0", 0, "toInt", 0, QByteArray());
    row("toShort of 0x7FFF", 0x7FFF, "toShort", 0x7FFF, QByteArray());
    row("toShort of 0x8000", 0x8000, "toShort", 0, tooBig);
    row("toShort of -0x8000 converts", -0x8000, "toShort", quint64(-0x8000ll), QByteArray());
    row("toShort of -0x8001", -0x8001, "toShort", 0, tooBig);
    row("toShort of -1", -1, "toShort", quint64(-1), QByteArray());
}

void tst_BigInteger::conversions()
{
    QFETCH(qint64, value);
    QFETCH(QByteArray, conversion);
    QFETCH(quint64, expected);
    QFETCH(QByteArray, thrown);

    quint64 result = 0;
    QCOMPARE(thrownText([&] {
                 result = convert(fromI64(value), conversion);
             }),
             thrown);
    QCOMPARE(result, expected);
}

void tst_BigInteger::compare_data()
{
    QTest::addColumn<qint64>("a");
    QTest::addColumn<qint64>("b");

    const qint64 values[] = {0,
                             1,
                             -1,
                             2,
                             -2,
                             0xFFFFFFFFll,
                             -0xFFFFFFFFll,
                             0x100000000ll,
                             -0x100000000ll,
                             0x7FFFFFFFFFFFFFFFll,
                             -0x7FFFFFFFFFFFFFFFll};
    for (qint64 a : values) {
        for (qint64 b : values)
            QTest::addRow("%lld vs %lld", (long long)a, (long long)b) << a << b;
    }
}

void tst_BigInteger::compare()
{
    QFETCH(qint64, a);
    QFETCH(qint64, b);

    const BigInteger x = fromI64(a), y = fromI64(b);
    const int expected = a < b ? -1 : (a > b ? 1 : 0);
    QCOMPARE(int(x.compareTo(y)), expected);
    QCOMPARE(x == y, a == b);
    QCOMPARE(x != y, a != b);
    QCOMPARE(x < y, a < b);
    QCOMPARE(x <= y, a <= b);
    QCOMPARE(x > y, a > b);
    QCOMPARE(x >= y, a >= b);
}

void tst_BigInteger::corruptSignThrows()
{
    // The sign is the first field, a 32-bit integer; only a corrupt object can hold another value.
    BigInteger x(5), y(7);
    const int corrupt = 3;
    std::memcpy(static_cast<void *>(&x), &corrupt, sizeof corrupt);
    std::memcpy(static_cast<void *>(&y), &corrupt, sizeof corrupt);
    QCOMPARE(thrownText([&] {
                 x.compareTo(y);
             }),
             QByteArray("BigInteger internal error"));
    QCOMPARE(int(x.compareTo(BigInteger(1))), 1); // the signs differ, so nothing is thrown
}

void tst_BigInteger::addAndSubtract_data()
{
    // Each row a + b = c; the test also checks c - a = b and c - b = a.
    QTest::addColumn<qint64>("a");
    QTest::addColumn<qint64>("b");
    QTest::addColumn<qint64>("c");

    QTest::newRow("zeros") << 0ll << 0ll << 0ll;
    QTest::newRow("zero and negative") << 0ll << -5ll << -5ll;
    QTest::newRow("same signs") << -3ll << -4ll << -7ll;
    QTest::newRow("opposite, equal magnitudes") << 5ll << -5ll << 0ll;
    QTest::newRow("opposite, first larger") << 9ll << -5ll << 4ll;
    QTest::newRow("opposite, second larger") << 5ll << -9ll << -4ll;
    QTest::newRow("borrow across a block") << 0x100000000ll << -1ll << 0xFFFFFFFFll;
    QTest::newRow("carry into a block") << -0xFFFFFFFFll << -1ll << -0x100000000ll;
}

void tst_BigInteger::addAndSubtract()
{
    QFETCH(qint64, a);
    QFETCH(qint64, b);
    QFETCH(qint64, c);

    const BigInteger x = fromI64(a), y = fromI64(b), z = fromI64(c);
    BigInteger r;
    r.add(x, y);
    QCOMPARE(r, z);
    QCOMPARE(y + x, z);
    r.subtract(z, x);
    QCOMPARE(r, y);
    r.subtract(z, y);
    QCOMPARE(r, x);
    QCOMPARE(int((z - z).getSign()), 0);
    QCOMPARE(int(r.getSign()), a < 0 ? -1 : (a > 0 ? 1 : 0));

    // subtract(0, b) is -b, subtract(-7, -7) is a true zero.
    r.subtract(BigInteger(0), y);
    QCOMPARE(r, fromI64(-b));
    r.subtract(BigInteger(-7), BigInteger(-7));
    QCOMPARE(int(r.getSign()), 0);
    QVERIFY(r.getMagnitude().isZero());
}

void tst_BigInteger::multiply()
{
    const qint64 values[] = {0, 3, -3, 0x10000, -0x10000};
    for (qint64 a : values) {
        for (qint64 b : values) {
            BigInteger r;
            r.multiply(fromI64(a), fromI64(b));
            QCOMPARE(r, fromI64(a * b));
            QCOMPARE(fromI64(a) * fromI64(b), fromI64(a * b));
        }
    }
}

void tst_BigInteger::floorDivision_data()
{
    QTest::addColumn<qint64>("a");
    QTest::addColumn<qint64>("b");
    QTest::addColumn<qint64>("quotient");
    QTest::addColumn<qint64>("remainder");

    QTest::newRow("7 by 2") << 7ll << 2ll << 3ll << 1ll;
    QTest::newRow("-7 by 2") << -7ll << 2ll << -4ll << 1ll;
    QTest::newRow("7 by -2") << 7ll << -2ll << -4ll << -1ll;
    QTest::newRow("-7 by -2") << -7ll << -2ll << 3ll << -1ll;
    QTest::newRow("4 by 3") << 4ll << 3ll << 1ll << 1ll;
    QTest::newRow("-4 by 3") << -4ll << 3ll << -2ll << 2ll;
    QTest::newRow("4 by -3") << 4ll << -3ll << -2ll << -2ll;
    QTest::newRow("-4 by -3") << -4ll << -3ll << 1ll << -1ll;
    QTest::newRow("-6 by 3, exact") << -6ll << 3ll << -2ll << 0ll;
    QTest::newRow("6 by -3, exact") << 6ll << -3ll << -2ll << 0ll;
    QTest::newRow("-1 by 5") << -1ll << 5ll << -1ll << 4ll;
    QTest::newRow("-2^32 by 2^32 - 1") << -0x100000000ll << 0xFFFFFFFFll << -2ll << 0xFFFFFFFEll;
    QTest::newRow("0 by -5") << 0ll << -5ll << 0ll << 0ll;
    QTest::newRow("by zero keeps the dividend") << -9ll << 0ll << 0ll << -9ll;
}

void tst_BigInteger::floorDivision()
{
    QFETCH(qint64, a);
    QFETCH(qint64, b);
    QFETCH(qint64, quotient);
    QFETCH(qint64, remainder);

    BigInteger r = fromI64(a), q(77);
    r.divideWithRemainder(fromI64(b), q);
    QCOMPARE(q, fromI64(quotient));
    QCOMPARE(r, fromI64(remainder));
    // A zero result has the sign zero (fromI64 gives a true zero).
    QCOMPARE(int(q.getSign()), quotient < 0 ? -1 : (quotient > 0 ? 1 : 0));
    QCOMPARE(int(r.getSign()), remainder < 0 ? -1 : (remainder > 0 ? 1 : 0));
    if (b != 0) {
        QCOMPARE(fromI64(a) / fromI64(b), fromI64(quotient));
        QCOMPARE(fromI64(a) % fromI64(b), fromI64(remainder));
    }
}

void tst_BigInteger::divideReceiverRules()
{
    BigInteger x(-7);
    QCOMPARE(thrownText([&] {
                 x.divideWithRemainder(BigInteger(2), x);
             }),
             QByteArray("BigInteger::divideWithRemainder: Cannot write quotient and remainder "
                        "into the same variable"));
    QCOMPARE(x, BigInteger(-7));

    BigInteger q;
    x.divideWithRemainder(x, q);
    QCOMPARE(q, BigInteger(1));
    QCOMPARE(int(x.getSign()), 0);

    BigInteger y(-7);
    q = BigInteger(2);
    y.divideWithRemainder(q, q);
    QCOMPARE(q, BigInteger(-4));
    QCOMPARE(y, BigInteger(1));
}

void tst_BigInteger::divisionOperatorsByZero_data()
{
    QTest::addColumn<QByteArray>("operation");
    QTest::addColumn<QByteArray>("thrown");

    QTest::newRow("/") << QByteArray("/") << QByteArray("BigInteger::operator /: division by zero");
    QTest::newRow("%") << QByteArray("%") << QByteArray("BigInteger::operator %: division by zero");
    QTest::newRow("/=") << QByteArray("/=")
                        << QByteArray("BigInteger::operator /=: division by zero");
    QTest::newRow("%=") << QByteArray("%=")
                        << QByteArray("BigInteger::operator %=: division by zero");
}

void tst_BigInteger::divisionOperatorsByZero()
{
    QFETCH(QByteArray, operation);
    QFETCH(QByteArray, thrown);

    BigInteger x(-5), zero, result(9);
    QCOMPARE(thrownText([&] {
                 if (operation == "/")
                     result = x / zero;
                 else if (operation == "%")
                     result = x % zero;
                 else if (operation == "/=")
                     x /= zero;
                 else
                     x %= zero;
             }),
             thrown);
    QCOMPARE(x, BigInteger(-5));
    QCOMPARE(result, BigInteger(9));
}

void tst_BigInteger::negate()
{
    BigInteger x(5);
    x.negate(x);
    QCOMPARE(x, BigInteger(-5));
    QCOMPARE(-x, BigInteger(5));
    QCOMPARE(int((-BigInteger(0)).getSign()), 0);
}

void tst_BigInteger::incrementAndDecrement_data()
{
    QTest::addColumn<qint64>("before");

    const qint64 values[] = {-0x100000000ll, -2, -1, 0, 1, 2, 0xFFFFFFFFll};
    for (qint64 v : values)
        QTest::addRow("%lld", (long long)v) << v;
}

void tst_BigInteger::incrementAndDecrement()
{
    QFETCH(qint64, before);

    BigInteger x = fromI64(before);
    ++x;
    QCOMPARE(x, fromI64(before + 1));
    QCOMPARE(int(x.getSign()), before + 1 < 0 ? -1 : (before + 1 > 0 ? 1 : 0));
    --x;
    QCOMPARE(x, fromI64(before));
    x--;
    QCOMPARE(x, fromI64(before - 1));
    x++;
    QCOMPARE(x, fromI64(before));
}

void tst_BigInteger::aliasing()
{
    BigInteger x(-6);
    x.add(x, x);
    QCOMPARE(x, BigInteger(-12));
    x.multiply(x, x);
    QCOMPARE(x, BigInteger(144));
    x.subtract(BigInteger(100), x);
    QCOMPARE(x, BigInteger(-44));
    x.subtract(x, x);
    QCOMPARE(int(x.getSign()), 0);
    x = BigInteger(-3);
    x += x;
    x *= x;
    x -= BigInteger(40);
    QCOMPARE(x, BigInteger(-4));
    x /= BigInteger(3);
    QCOMPARE(x, BigInteger(-2));
    x %= BigInteger(-3);
    QCOMPARE(x, BigInteger(-2));
}

void tst_BigInteger::exhaustiveAgainstNative()
{
    int checked = 0;
    for (qint64 a = -40; a <= 40; a++) {
        for (qint64 b = -40; b <= 40; b++) {
            const BigInteger x = fromI64(a), y = fromI64(b);
            const QByteArray where = QByteArray::number(a) + ", " + QByteArray::number(b);
            QVERIFY2(x + y == fromI64(a + b), where);
            QVERIFY2(x - y == fromI64(a - b), where);
            QVERIFY2(x * y == fromI64(a * b), where);
            QVERIFY2(int(x.compareTo(y)) == (a < b ? -1 : (a > b ? 1 : 0)), where);
            if (b != 0) {
                const qint64 q = floorDivide(a, b);
                QVERIFY2(x / y == fromI64(q), where);
                QVERIFY2(x % y == fromI64(a - q * b), where);
            }
            checked++;
        }
    }
    QCOMPARE(checked, 81 * 81);
}

QTEST_GUILESS_MAIN(tst_BigInteger)
#include "tst_biginteger.moc"
