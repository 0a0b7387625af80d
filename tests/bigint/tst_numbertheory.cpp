#include "bigint/NumberTheory.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QtTest>

class tst_NumberTheory : public QObject
{
    Q_OBJECT

private slots:
    void extendedEuclidean_data();
    void extendedEuclidean();
};

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
