// The integer library against GMP on random programs (BigIntDifferential.h). The seed is printed;
// set ORVEX_TEST_SEED to repeat a run.
#include "bigint/BigIntDifferential.h"

#include <QRandomGenerator>
#include <QtTest>

class tst_BigIntGmp : public QObject
{
    Q_OBJECT

private slots:
    void randomPrograms();
};

void tst_BigIntGmp::randomPrograms()
{
    QRandomGenerator random(testSeed(20240517));
    std::vector<quint32> program(150);
    for (int i = 0; i < 1000; i++) {
        random.fillRange(program.data(), program.size());
        BigIntDifferential::run(reinterpret_cast<const std::uint8_t *>(program.data()),
                                program.size() * sizeof(quint32));
    }
}

QTEST_GUILESS_MAIN(tst_BigIntGmp)
#include "tst_bigint_gmp.moc"
