#include "bigint/NumberTheory.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QtTest>

class tst_NumberTheory : public QObject
{
    Q_OBJECT

private slots:
    void gcd_data();
    void gcd();
    void extendedEuclidean_data();
    void extendedEuclidean();
    void extendedEuclideanRejectsAliasedOutputs();
    void modinv_data();
    void modinv();
    void modexp_data();
    void modexp();
    void exp_data();
    void exp();
};

void tst_NumberTheory::gcd_data()
{
    QTest::addColumn<quint64>("a");
    QTest::addColumn<quint64>("b");
    QTest::addColumn<quint64>("expected");

    QTest::newRow("12, 18") << 12ull << 18ull << 6ull;
    QTest::newRow("0, 7") << 0ull << 7ull << 7ull;
    QTest::newRow("7, 0") << 7ull << 0ull << 7ull;
    QTest::newRow("0, 0") << 0ull << 0ull << 0ull;
    QTest::newRow("coprime") << 17ull << 0x100000000ull << 1ull;
    QTest::newRow("two blocks") << 0x600000000ull << 0x900000000ull << 0x300000000ull;
}

void tst_NumberTheory::gcd()
{
    QFETCH(quint64, a);
    QFETCH(quint64, b);
    QFETCH(quint64, expected);

    QCOMPARE(toU64(::gcd(fromU64(a), fromU64(b))), expected);
}

void tst_NumberTheory::extendedEuclidean_data()
{
    QTest::addColumn<qint64>("m");
    QTest::addColumn<qint64>("n");
    QTest::addColumn<qint64>("g");

    QTest::newRow("240, 46") << 240ll << 46ll << 2ll;
    QTest::newRow("0, 0 gives g 0, r 1, s 0") << 0ll << 0ll << 0ll;
    QTest::newRow("0, 5") << 0ll << 5ll << 5ll;
    QTest::newRow("negative m, positive g") << -4ll << 6ll << 2ll;
    QTest::newRow("g keeps the sign the flooring division gives") << 4ll << -6ll << -2ll;
    QTest::newRow("both negative") << -12ll << -18ll << -6ll;
    QTest::newRow("coprime") << 17ll << 3120ll << 1ll;
}

void tst_NumberTheory::extendedEuclidean()
{
    QFETCH(qint64, m);
    QFETCH(qint64, n);
    QFETCH(qint64, g);

    BigInteger gcd(99), r(99), s(99);
    ::extendedEuclidean(fromI64(m), fromI64(n), gcd, r, s);
    QVERIFY(gcd == fromI64(g));
    QVERIFY(r * fromI64(m) + s * fromI64(n) == gcd);
    if (m == 0 && n == 0) {
        QVERIFY(r == BigInteger(1));
        QVERIFY(s.isZero());
    }
}

void tst_NumberTheory::extendedEuclideanRejectsAliasedOutputs()
{
    const QByteArray text = "BigInteger extendedEuclidean: Outputs are aliased";
    BigInteger a(7), b(8);
    QCOMPARE(thrownText([&] {
                 ::extendedEuclidean(240, 46, a, b, b);
             }),
             text);
    QCOMPARE(thrownText([&] {
                 ::extendedEuclidean(240, 46, a, a, b);
             }),
             text);
    QCOMPARE(thrownText([&] {
                 ::extendedEuclidean(240, 46, b, a, b);
             }),
             text);
    QVERIFY(a == BigInteger(7) && b == BigInteger(8));
}

void tst_NumberTheory::modinv_data()
{
    QTest::addColumn<qint64>("x");
    QTest::addColumn<quint64>("n");
    QTest::addColumn<quint64>("expected");
    QTest::addColumn<QByteArray>("thrown");

    const QByteArray commonFactor = "BigInteger modinv: x and n have a common factor";
    QTest::newRow("3 mod 7") << 3ll << 7ull << 5ull << QByteArray();
    QTest::newRow("-1 mod 5") << -1ll << 5ull << 4ull << QByteArray();
    QTest::newRow("5 mod 1") << 5ll << 1ull << 0ull << QByteArray();
    QTest::newRow("x above n") << 10ll << 7ull << 5ull << QByteArray();
    QTest::newRow("2 mod 4") << 2ll << 4ull << 0ull << commonFactor;
    QTest::newRow("0 mod 5") << 0ll << 5ull << 0ull << commonFactor;
    QTest::newRow("-1 mod 0 (g is -1)") << -1ll << 0ull << 0ull << commonFactor;
    QTest::newRow("1 mod 0") << 1ll << 0ull << 0ull
                             << QByteArray("BigInteger::operator %: division by zero");
}

void tst_NumberTheory::modinv()
{
    QFETCH(qint64, x);
    QFETCH(quint64, n);
    QFETCH(quint64, expected);
    QFETCH(QByteArray, thrown);

    quint64 result = 0;
    QCOMPARE(thrownText([&] {
                 result = toU64(::modinv(fromI64(x), fromU64(n)));
             }),
             thrown);
    QCOMPARE(result, expected);
}

void tst_NumberTheory::modexp_data()
{
    QTest::addColumn<qint64>("base");
    QTest::addColumn<quint64>("exponent");
    QTest::addColumn<quint64>("modulus");
    QTest::addColumn<quint64>("expected");

    QTest::newRow("4^13 mod 497") << 4ll << 13ull << 497ull << 445ull;
    QTest::newRow("negative base reduced first") << -2ll << 3ull << 5ull << 2ull;
    QTest::newRow("exponent 0 mod 1 is 1, unreduced") << 7ll << 0ull << 1ull << 1ull;
    QTest::newRow("mod 1") << 7ll << 5ull << 1ull << 0ull;
    QTest::newRow("zero base") << 0ll << 5ull << 13ull << 0ull;
    QTest::newRow("Fermat") << 2ll << 0xFFFFFFFAull << 0xFFFFFFFBull << 1ull;
    QTest::newRow("two-block modulus") << 3ll << 1000ull << 0x1000000000ull << 0xBD3B85B21ull;
}

void tst_NumberTheory::modexp()
{
    QFETCH(qint64, base);
    QFETCH(quint64, exponent);
    QFETCH(quint64, modulus);
    QFETCH(quint64, expected);

    QCOMPARE(toU64(::modexp(fromI64(base), fromU64(exponent), fromU64(modulus))), expected);
    QCOMPARE(thrownText([&] {
                 ::modexp(fromI64(base), fromU64(exponent), BigUnsigned());
             }),
             QByteArray("BigInteger::operator %: division by zero"));
}

void tst_NumberTheory::exp_data()
{
    QTest::addColumn<qint64>("base");
    QTest::addColumn<quint64>("exponent");
    QTest::addColumn<Blocks>("expected");

    QTest::newRow("sign dropped") << -3ll << 3ull << Blocks{27};
    QTest::newRow("x^0") << 12345ll << 0ull << Blocks{1};
    QTest::newRow("0^0") << 0ll << 0ull << Blocks{1};
    QTest::newRow("0^5") << 0ll << 5ull << Blocks{};
    QTest::newRow("2^100") << 2ll << 100ull << Blocks{0, 0, 0, 16};
    QTest::newRow("(2^32 - 1)^2") << 0xFFFFFFFFll << 2ull << Blocks{1, 0xFFFFFFFE};
}

void tst_NumberTheory::exp()
{
    QFETCH(qint64, base);
    QFETCH(quint64, exponent);
    QFETCH(Blocks, expected);

    const BigUnsigned result = ::exp(fromI64(base), fromU64(exponent));
    QCOMPARE(blocksOf(result), expected);
}

QTEST_GUILESS_MAIN(tst_NumberTheory)
#include "tst_numbertheory.moc"
