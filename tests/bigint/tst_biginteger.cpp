#include "bigint/BigInteger.h"
#include "bigint/NumberTheory.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QtTest>

#include <climits>
#include <cstring>

namespace {

typedef BigInteger I;

} // namespace

class tst_BigInteger : public QObject
{
    Q_OBJECT

private slots:
    void construction_data();
    void construction();
    void corruptSign();
    void exhaustiveAgainstNative();
    void extendedEuclidean_data();
    void extendedEuclidean();
};

void tst_BigInteger::construction_data()
{
    QTest::addColumn<BigInteger>("x");
    QTest::addColumn<int>("sign");
    QTest::addColumn<Blocks>("magnitude");
    QTest::addColumn<QByteArray>(
            "to"); // unsigned long, unsigned int, unsigned short, long, int, short

    const auto row = [](const char *what, const BigInteger &x, int sign, const Blocks &magnitude,
                        const char *to) {
        QTest::newRow(what) << x << sign << magnitude << QByteArray(to);
    };
    // The magnitude is one block: 64-bit arguments keep their sign but lose their high half.
    row("unsigned long 2^32", I(1ul << 32), 1, {0}, "0 0 0 0 0 0");
    row("unsigned long 2^32 + 7", I(0x100000007ul), 1, {7}, "7 7 7 7 7 7");
    row("long 2^32", I(1l << 32), 1, {}, "0 0 0 ! ! !");
    row("long -2^32", I(-(1l << 32)), -1, {}, "- - - ! ! !");
    row("long -(2^32 + 3)", I(-0x100000003l), -1, {3}, "- - - -3 -3 -3");
    row("long minimum", I(LONG_MIN), -1, {}, "- - - ! ! !");
    row("long -(2^32 - 1)", I(-0xFFFFFFFFl), -1, {0xFFFFFFFFu}, "- - - -4294967295 ! !");
    row("int minimum", I(INT_MIN), -1, {0x80000000u}, "- - - -2147483648 ! !");
    row("int -(2^31 - 1)", I(-INT_MAX), -1, {0x7FFFFFFFu}, "- - - -2147483647 -2147483647 !");
    row("short minimum", I(short(SHRT_MIN)), -1, {0x8000}, "- - - -32768 -32768 -32768");
    row("-(2^15 + 1)", I(-0x8001), -1, {0x8001}, "- - - -32769 -32769 !");
    row("2^15", I(0x8000), 1, {0x8000}, "32768 32768 32768 32768 32768 !");
    row("unsigned short maximum", I((unsigned short)0xFFFF), 1, {0xFFFF},
        "65535 65535 65535 65535 65535 !");
    row("unsigned 2^31", I(0x80000000u), 1, {0x80000000u},
        "2147483648 2147483648 < 2147483648 ! !");
    row("2^32", I(fromBlocks({0, 1})), 1, {0, 1}, "< < < ! ! !");
    // The checking constructors check the sign against the trimmed magnitude.
    const quint32 blocks[] = {0, 0};
    row("negative zero blocks", I(blocks, 2, I::negative), 0, {}, "0 0 0 0 0 0");
    row("negative magnitude", I(fromBlocks({5, 1}), I::negative), -1, {5, 1}, "- - - ! ! !");
}

void tst_BigInteger::construction()
{
    QFETCH(BigInteger, x);
    QTEST(int(x.getSign()), "sign");
    QTEST(blocksOf(x.getMagnitude()), "magnitude");
    QTEST(conversionsOf(x), "to");
}

void tst_BigInteger::corruptSign()
{
    // The sign is the first field, a 32-bit integer: only a corrupt object holds another value.
    // Signs that differ decide before the corrupt one is read.
    I x(5), y(7);
    const int corrupt = 3;
    std::memcpy(static_cast<void *>(&x), &corrupt, sizeof corrupt);
    std::memcpy(static_cast<void *>(&y), &corrupt, sizeof corrupt);
    QCOMPARE(x.compareTo(I(1)), BigUnsigned::greater);
    QCOMPARE(thrownText([&] {
                 x.compareTo(y);
             }),
             QByteArray("BigInteger internal error"));
}

void tst_BigInteger::exhaustiveAgainstNative()
{
    for (qint64 a = -40; a <= 40; a++) {
        for (qint64 b = -40; b <= 40; b++) {
            const I x = fromI64(a), y = fromI64(b);
            const QByteArray where = QByteArray::number(a) + ", " + QByteArray::number(b);
            const I sum = x + y, product = x * y;
            QVERIFY2(sum == fromI64(a + b) && sum - y == x && sum - x == y, where);
            QVERIFY2(x - y == fromI64(a - b) && -x == fromI64(-a), where);
            QVERIFY2(product == fromI64(a * b) && (b == 0 || product / y == x), where);
            QVERIFY2(int(x.compareTo(y)) == (a < b ? -1 : (a > b ? 1 : 0)), where);
            QVERIFY2((x < y) == (a < b) && (x <= y) == (a <= b) && (x == y) == (a == b)
                             && (x != y) == (a != b) && (x >= y) == (a >= b) && (x > y) == (a > b),
                     where);
            if (b != 0) {
                const qint64 q = a / b - (a % b != 0 && (a < 0) != (b < 0));
                QVERIFY2(x / y == fromI64(q) && x % y == fromI64(a - q * b), where);
            }
            I r = x;
            QVERIFY2(++r == fromI64(a + 1) && --r == x, where);
        }
    }
}

void tst_BigInteger::extendedEuclidean_data()
{
    QTest::addColumn<qint64>("m");
    QTest::addColumn<qint64>("n");
    QTest::addColumn<qint64>("g");
    QTest::addColumn<qint64>("r");
    QTest::addColumn<qint64>("s");

    // The division floors, so g takes the sign of the last non-zero remainder.
    const qint64 rows[][5] = {{240, 46, 2, -9, 47},  {0, 0, 0, 1, 0},   {0, 5, 5, 0, 1},
                              {-4, 6, 2, 1, 1},      {4, -6, -2, 1, 1}, {-12, -18, -6, -1, 1},
                              {17, 3120, 1, -367, 2}};
    for (const auto &row : rows) {
        QTest::addRow("%lld, %lld", (long long)row[0], (long long)row[1])
                << row[0] << row[1] << row[2] << row[3] << row[4];
    }
}

void tst_BigInteger::extendedEuclidean()
{
    QFETCH(qint64, m);
    QFETCH(qint64, n);

    BigInteger g(99), r(99), s(99);
    ::extendedEuclidean(fromI64(m), fromI64(n), g, r, s);
    QTEST(qint64(g.toLong()), "g");
    QTEST(qint64(r.toLong()), "r");
    QTEST(qint64(s.toLong()), "s");
    // Outputs that share an object are refused before anything is written.
    BigInteger *outputs[][3] = {{&g, &r, &r}, {&r, &r, &s}, {&s, &r, &s}};
    for (BigInteger **o : outputs) {
        QCOMPARE(thrownText([&] {
                     ::extendedEuclidean(fromI64(m), fromI64(n), *o[0], *o[1], *o[2]);
                 }),
                 QByteArray("BigInteger extendedEuclidean: Outputs are aliased"));
    }
    QTEST(qint64(g.toLong()), "g");
}

QTEST_GUILESS_MAIN(tst_BigInteger)
#include "tst_biginteger.moc"
