#include "bigint/NumberTheory.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QtTest>

#include <functional>

namespace {

typedef BigInteger I;
typedef BigUnsigned U;
const QByteArray commonFactor = "BigInteger modinv: x and n have a common factor";
const QByteArray modulusZero = "BigInteger::operator %: division by zero";

struct Case
{
    const char *name;
    std::function<U()> run;
    QByteArray thrown;
    Blocks result;
};

// clang-format off
const QVector<Case> &cases()
{
    static const QVector<Case> all = {
        {"gcd(12, 18)", [] { return gcd(12, 18); }, {}, {6}},
        {"gcd(0, 7)", [] { return gcd(0, 7); }, {}, {7}},
        {"gcd(7, 0)", [] { return gcd(7, 0); }, {}, {7}},
        {"gcd(0, 0)", [] { return gcd(0, 0); }, {}, {}},
        {"gcd of two blocks", [] { return gcd(fromU64(0x600000000), fromU64(0x900000000)); }, {},
         {0, 3}},
        {"modinv(3, 7)", [] { return modinv(3, 7); }, {}, {5}},
        {"modinv(-1, 5)", [] { return modinv(-1, 5); }, {}, {4}},
        {"modinv(5, 1)", [] { return modinv(5, 1); }, {}, {}},
        {"modinv(2, 4)", [] { return modinv(2, 4); }, commonFactor, {}},
        {"modinv(-1, 0): g is -1", [] { return modinv(-1, 0); }, commonFactor, {}},
        {"modinv(1, 0)", [] { return modinv(1, 0); }, modulusZero, {}},
        {"modexp(4, 13, 497)", [] { return modexp(4, 13, 497); }, {}, {445}},
        {"modexp(-2, 3, 5): the base is reduced first", [] { return modexp(-2, 3, 5); }, {}, {2}},
        {"modexp(7, 0, 1) is 1, unreduced", [] { return modexp(7, 0, 1); }, {}, {1}},
        {"modexp(7, 5, 1)", [] { return modexp(7, 5, 1); }, {}, {}},
        {"modexp(2, p - 1, p)", [] { return modexp(2, 0xFFFFFFFAu, 0xFFFFFFFBu); }, {}, {1}},
        {"modexp(3, 1000, 2^36)", [] { return modexp(3, 1000, fromU64(0x1000000000)); }, {},
         {0xD3B85B21, 0xB}},
        {"modexp(3, 5, 0)", [] { return modexp(3, 5, 0); }, modulusZero, {}},
        {"exp(-3, 3): the sign is dropped", [] { return exp(-3, 3); }, {}, {27}},
        {"exp(0, 0)", [] { return exp(0, 0); }, {}, {1}},
        {"exp(0, 5)", [] { return exp(0, 5); }, {}, {}},
        {"exp(2, 100)", [] { return exp(2, 100); }, {}, {0, 0, 0, 16}},
        {"exp(2^32 - 1, 2)", [] { return exp(0xFFFFFFFFu, 2); }, {}, {1, 0xFFFFFFFE}},
    };
    return all;
}
// clang-format on

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
    QTest::addColumn<int>("index");
    for (int i = 0; i < cases().size(); i++)
        QTest::newRow(cases()[i].name) << i;
}

void tst_NumberTheory::functions()
{
    QFETCH(int, index);
    const Case &c = cases()[index];
    U result;
    QCOMPARE(thrownText([&] {
                 result = c.run();
             }),
             c.thrown);
    QCOMPARE(blocksOf(result), c.result);
}

void tst_NumberTheory::extendedEuclidean_data()
{
    QTest::addColumn<qint64>("m");
    QTest::addColumn<qint64>("n");
    QTest::addColumn<qint64>("g");

    // The division floors, so g takes the sign of the last non-zero remainder.
    const qint64 rows[][3] = {{240, 46, 2}, {0, 0, 0},      {0, 5, 5},    {-4, 6, 2},
                              {4, -6, -2},  {-12, -18, -6}, {17, 3120, 1}};
    for (const auto &row : rows)
        QTest::addRow("%lld, %lld", (long long)row[0], (long long)row[1])
                << row[0] << row[1] << row[2];
}

void tst_NumberTheory::extendedEuclidean()
{
    QFETCH(qint64, m);
    QFETCH(qint64, n);
    QFETCH(qint64, g);

    I gcd(99), r(99), s(99);
    ::extendedEuclidean(fromI64(m), fromI64(n), gcd, r, s);
    QVERIFY(gcd == fromI64(g));
    QVERIFY(r * fromI64(m) + s * fromI64(n) == gcd);
    if (m == 0 && n == 0)
        QVERIFY(r == I(1) && s.isZero());
    // Outputs that share an object are refused before anything is written.
    const QByteArray aliased = "BigInteger extendedEuclidean: Outputs are aliased";
    const I x = fromI64(m), y = fromI64(n);
    I *outputs[][3] = {{&gcd, &r, &r}, {&r, &r, &s}, {&s, &r, &s}};
    for (I **o : outputs)
        QCOMPARE(thrownText([&] {
                     ::extendedEuclidean(x, y, *o[0], *o[1], *o[2]);
                 }),
                 aliased);
    QVERIFY(gcd == fromI64(g));
}

QTEST_GUILESS_MAIN(tst_NumberTheory)
#include "tst_numbertheory.moc"
