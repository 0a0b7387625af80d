#include "bigint/NumberTheory.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QtTest>

namespace {

void row(const char *name, const char *function, const BigInteger &x, const BigUnsigned &y,
         const BigUnsigned &modulus, const BigUnsigned &result, const QByteArray &thrown = {})
{
    QTest::newRow(name) << QByteArray(function) << x << y << modulus << result << thrown;
}

} // namespace

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
    row("gcd(12, 18)", "gcd", 12, 18, 0, 6);
    row("gcd(7, 0)", "gcd", 7, 0, 0, 7);
    row("gcd(0, 0)", "gcd", 0, 0, 0, 0);
    row("modinv(3, 7)", "modinv", 3, 7, 0, 5);
    row("modinv(-1, 5)", "modinv", -1, 5, 0, 4);
    row("modinv(5, 1)", "modinv", 5, 1, 0, 0);
    row("modinv(2, 4)", "modinv", 2, 4, 0, 0, commonFactor);
    row("modinv(-1, 0): g is -1", "modinv", -1, 0, 0, 0, commonFactor);
    row("modinv(1, 0)", "modinv", 1, 0, 0, 0, modulusZero);
    row("modexp(4, 13, 497)", "modexp", 4, 13, 497, 445);
    row("modexp(-2, 3, 5): the base reduced first", "modexp", -2, 3, 5, 2);
    row("modexp(7, 0, 1): 1, unreduced", "modexp", 7, 0, 1, 1);
    row("modexp(3, 5, 0)", "modexp", 3, 5, 0, 0, modulusZero);
    row("exp(-3, 3): the sign dropped", "exp", -3, 3, 0, 27);
    row("exp(0, 0)", "exp", 0, 0, 0, 1);
    row("exp(2, 100)", "exp", 2, 100, 0, fromBlocks({0, 0, 0, 16}));
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
