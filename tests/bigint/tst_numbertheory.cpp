#include "bigint/NumberTheory.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QtTest>

class tst_NumberTheory : public QObject
{
    Q_OBJECT

private slots:
    void functions_data();
    void functions();
    void extendedEuclidean_data();
    void extendedEuclidean();
};

void tst_NumberTheory::functions_data()
{
    QTest::addColumn<QByteArray>("function");
    QTest::addColumn<BigInteger>("x");
    QTest::addColumn<BigUnsigned>("y");
    QTest::addColumn<BigUnsigned>("modulus");
    QTest::addColumn<BigUnsigned>("result");
    QTest::addColumn<QByteArray>("thrown");

    const QByteArray commonFactor = "BigInteger modinv: x and n have a common factor";
    const QByteArray modulusZero = "BigInteger::operator %: division by zero";
    const BigUnsigned none;
    QTest::newRow("gcd(12, 18)") << QByteArray("gcd") << BigInteger(12) << BigUnsigned(18) << none
                                 << BigUnsigned(6) << QByteArray();
    QTest::newRow("gcd(7, 0)") << QByteArray("gcd") << BigInteger(7) << none << none
                               << BigUnsigned(7) << QByteArray();
    QTest::newRow("gcd(0, 0)") << QByteArray("gcd") << BigInteger() << none << none << none
                               << QByteArray();
    QTest::newRow("modinv(3, 7)") << QByteArray("modinv") << BigInteger(3) << BigUnsigned(7) << none
                                  << BigUnsigned(5) << QByteArray();
    QTest::newRow("modinv(-1, 5)") << QByteArray("modinv") << BigInteger(-1) << BigUnsigned(5)
                                   << none << BigUnsigned(4) << QByteArray();
    QTest::newRow("modinv(5, 1)") << QByteArray("modinv") << BigInteger(5) << BigUnsigned(1) << none
                                  << none << QByteArray();
    QTest::newRow("modinv(2, 4)") << QByteArray("modinv") << BigInteger(2) << BigUnsigned(4) << none
                                  << none << commonFactor;
    QTest::newRow("modinv(-1, 0): g is -1")
            << QByteArray("modinv") << BigInteger(-1) << none << none << none << commonFactor;
    QTest::newRow("modinv(1, 0)") << QByteArray("modinv") << BigInteger(1) << none << none << none
                                  << modulusZero;
    QTest::newRow("modexp(4, 13, 497)") << QByteArray("modexp") << BigInteger(4) << BigUnsigned(13)
                                        << BigUnsigned(497) << BigUnsigned(445) << QByteArray();
    QTest::newRow("modexp(-2, 3, 5): the base reduced first")
            << QByteArray("modexp") << BigInteger(-2) << BigUnsigned(3) << BigUnsigned(5)
            << BigUnsigned(2) << QByteArray();
    QTest::newRow("modexp(7, 0, 1): 1, unreduced")
            << QByteArray("modexp") << BigInteger(7) << none << BigUnsigned(1) << BigUnsigned(1)
            << QByteArray();
    QTest::newRow("modexp(3, 5, 0)") << QByteArray("modexp") << BigInteger(3) << BigUnsigned(5)
                                     << none << none << modulusZero;
    QTest::newRow("exp(-3, 3): the sign dropped")
            << QByteArray("exp") << BigInteger(-3) << BigUnsigned(3) << none << BigUnsigned(27)
            << QByteArray();
    QTest::newRow("exp(0, 0)") << QByteArray("exp") << BigInteger() << none << none
                               << BigUnsigned(1) << QByteArray();
    QTest::newRow("exp(2, 100)") << QByteArray("exp") << BigInteger(2) << BigUnsigned(100) << none
                                 << fromBlocks({0, 0, 0, 16}) << QByteArray();
}

void tst_NumberTheory::functions()
{
    QFETCH(QByteArray, function);
    QFETCH(BigInteger, x);
    QFETCH(BigUnsigned, y);
    QFETCH(BigUnsigned, modulus);

    BigUnsigned result;
    QTEST(thrownText([&] {
              if (function == "gcd")
                  result = gcd(x.getMagnitude(), y);
              else if (function == "modinv")
                  result = modinv(x, y);
              else if (function == "modexp")
                  result = modexp(x, y, modulus);
              else
                  result = exp(x, y);
          }),
          "thrown");
    QTEST(result, "result");
}

void tst_NumberTheory::extendedEuclidean_data()
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

void tst_NumberTheory::extendedEuclidean()
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

QTEST_GUILESS_MAIN(tst_NumberTheory)
#include "tst_numbertheory.moc"
