// Differential test: random operands of 0 to 40 blocks, every result compared with GMP's.
// The seed is printed; set ORVEX_TEST_SEED to repeat a run.
#include "bigint/BigInteger.h"
#include "bigint/BigUnsigned.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QRandomGenerator>
#include <QtTest>

#include <gmp.h>

#include <climits>
#include <vector>

namespace {

constexpr int pairsPerTest = 5000;
constexpr quint32 defaultSeed = 20240517;

// An mpz_t that clears itself.
class Mpz
{
public:
    Mpz() { mpz_init(value); }
    ~Mpz() { mpz_clear(value); }
    Mpz(const Mpz &) = delete;
    Mpz &operator=(const Mpz &) = delete;
    operator mpz_ptr() { return value; }
    operator mpz_srcptr() const { return value; }

private:
    mpz_t value;
};

void setMpz(mpz_ptr out, const BigUnsigned &x)
{
    const Blocks blocks = blocksOf(x);
    mpz_import(out, size_t(blocks.size()), -1, sizeof(quint32), 0, 0, blocks.constData());
}

void setMpz(mpz_ptr out, const BigInteger &x)
{
    setMpz(out, x.getMagnitude());
    if (x.getSign() == BigInteger::negative)
        mpz_neg(out, out);
}

QByteArray hex(mpz_srcptr x)
{
    std::vector<char> text(mpz_sizeinbase(x, 16) + 2);
    return QByteArray(mpz_get_str(text.data(), 16, x));
}

QByteArray hex(const BigUnsigned &x)
{
    Mpz m;
    setMpz(m, x);
    return hex(m);
}

QByteArray hex(const BigInteger &x)
{
    Mpz m;
    setMpz(m, x);
    return hex(m);
}

// Equal in value, and in normal form (a signed value's sign zero exactly for a zero magnitude).
bool same(const BigUnsigned &x, mpz_srcptr expected)
{
    Mpz m;
    setMpz(m, x);
    return isNormal(x) && mpz_cmp(m, expected) == 0;
}

bool same(const BigInteger &x, mpz_srcptr expected)
{
    Mpz m;
    setMpz(m, x);
    return isNormal(x.getMagnitude())
            && (x.getSign() == BigInteger::zero) == x.getMagnitude().isZero()
            && mpz_cmp(m, expected) == 0;
}

int signOf(int comparison)
{
    return comparison < 0 ? -1 : (comparison > 0 ? 1 : 0);
}

// Random operands whose blocks favour the values that exercise carries and borrows.
class Operands
{
public:
    explicit Operands(quint32 seed) : random(seed) {}

    BigUnsigned magnitude(int maxBlocks = 40)
    {
        Blocks blocks(int(random.bounded(maxBlocks + 1)));
        for (quint32 &block : blocks)
            block = randomBlock();
        return fromBlocks(blocks);
    }

    BigInteger integer()
    {
        const BigUnsigned mag = magnitude();
        return BigInteger(mag, random.bounded(2) ? BigInteger::negative : BigInteger::positive);
    }

    // A dividend that shares the divisor's length and top, so that long division has work to do.
    BigUnsigned dividendFor(const BigUnsigned &divisor)
    {
        return divisor * magnitude(8) + magnitude(divisor.getLength());
    }

    int shiftAmount() { return int(random.bounded(1601u)) - 300; }

    bool chance(quint32 outOf) { return random.bounded(outOf) == 0; }

private:
    quint32 randomBlock()
    {
        switch (random.bounded(8u)) {
        case 0:
            return 0;
        case 1:
            return 0xFFFFFFFFu;
        case 2:
            return 1;
        case 3:
            return 0x80000000u;
        default:
            return random.generate();
        }
    }

    QRandomGenerator random;
};

} // namespace

class tst_BigIntGmp : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void unsignedArithmetic();
    void unsignedBitwiseAndShifts();
    void unsignedIncrementAndDecrement();
    void signedArithmetic();
    void signedIncrementAndDecrement();
    void cleanupTestCase();

private:
    QByteArray where(int index) const
    {
        return "seed " + QByteArray::number(seed) + ", case " + QByteArray::number(index);
    }

    quint32 seed = defaultSeed;
    long long cases = 0;
};

void tst_BigIntGmp::initTestCase()
{
    bool ok = false;
    const quint32 chosen = qEnvironmentVariable("ORVEX_TEST_SEED").toUInt(&ok);
    if (ok)
        seed = chosen;
    qInfo("seed %u (set ORVEX_TEST_SEED to repeat or change it)", seed);
}

void tst_BigIntGmp::unsignedArithmetic()
{
    Operands operands(seed);
    Mpz ma, mb, expected, expectedRemainder;
    for (int i = 0; i < pairsPerTest; i++) {
        const BigUnsigned b = operands.magnitude();
        const BigUnsigned a = operands.chance(3) ? operands.dividendFor(b) : operands.magnitude();
        setMpz(ma, a);
        setMpz(mb, b);
        const QByteArray context = where(i) + ": a = " + hex(a) + ", b = " + hex(b);

        BigUnsigned r;
        mpz_add(expected, ma, mb);
        r.add(a, b);
        QVERIFY2(same(r, expected), "add, " + context);
        r = a;
        r += b; // aliased
        QVERIFY2(same(r, expected), "add aliased, " + context);

        if (mpz_cmp(ma, mb) >= 0) {
            mpz_sub(expected, ma, mb);
            r.subtract(a, b);
            QVERIFY2(same(r, expected), "subtract, " + context);
        } else {
            QVERIFY2(thrownText([&] {
                         r = a - b;
                     }).endsWith("Negative result in unsigned calculation"),
                     "subtract, " + context);
        }

        mpz_mul(expected, ma, mb);
        r.multiply(a, b);
        QVERIFY2(same(r, expected), "multiply, " + context);

        BigUnsigned q;
        r = a;
        r.divideWithRemainder(b, q);
        if (mpz_sgn(static_cast<mpz_srcptr>(mb)) != 0) {
            mpz_tdiv_qr(expected, expectedRemainder, ma, mb);
            QVERIFY2(same(q, expected), "quotient, " + context);
            QVERIFY2(same(r, expectedRemainder), "remainder, " + context);
        } else {
            QVERIFY2(q.isZero() && r == a, "division by zero, " + context);
        }

        const int cmp = signOf(mpz_cmp(ma, mb));
        QVERIFY2(int(a.compareTo(b)) == cmp, "compare, " + context);
        QVERIFY2((a == b) == (cmp == 0) && (a < b) == (cmp < 0) && (a >= b) == (cmp >= 0),
                 "relational operators, " + context);
        cases++;
    }
}

void tst_BigIntGmp::unsignedBitwiseAndShifts()
{
    Operands operands(seed + 1);
    Mpz ma, mb, expected;
    for (int i = 0; i < pairsPerTest; i++) {
        const BigUnsigned a = operands.magnitude(), b = operands.magnitude();
        const int n = operands.shiftAmount();
        setMpz(ma, a);
        setMpz(mb, b);
        const QByteArray context =
                where(i) + ": a = " + hex(a) + ", b = " + hex(b) + ", n = " + QByteArray::number(n);

        BigUnsigned r;
        mpz_and(expected, ma, mb);
        r.bitAnd(a, b);
        QVERIFY2(same(r, expected), "and, " + context);
        mpz_ior(expected, ma, mb);
        r.bitOr(a, b);
        QVERIFY2(same(r, expected), "or, " + context);
        mpz_xor(expected, ma, mb);
        r = a;
        r ^= b; // aliased
        QVERIFY2(same(r, expected), "xor, " + context);

        // A left shift of zero by a block or more keeps zero blocks on top, so only its value is
        // compared; every other result must be normal too.
        if (n >= 0)
            mpz_mul_2exp(expected, ma, mp_bitcnt_t(n));
        else
            mpz_fdiv_q_2exp(expected, ma, mp_bitcnt_t(-n));
        r.bitShiftLeft(a, n);
        QVERIFY2(a.isZero() ? blocksOf(r).count(0u) == int(r.getLength()) : same(r, expected),
                 "shift left, " + context);
        if (n >= 0)
            mpz_fdiv_q_2exp(expected, ma, mp_bitcnt_t(n));
        else
            mpz_mul_2exp(expected, ma, mp_bitcnt_t(-n));
        r = a;
        r >>= n; // aliased
        QVERIFY2(a.isZero() ? blocksOf(r).count(0u) == int(r.getLength()) : same(r, expected),
                 "shift right, " + context);
        cases++;
    }
}

void tst_BigIntGmp::unsignedIncrementAndDecrement()
{
    Operands operands(seed + 2);
    Mpz ma, expected;
    for (int i = 0; i < pairsPerTest; i++) {
        const BigUnsigned a = operands.magnitude();
        setMpz(ma, a);
        const QByteArray context = where(i) + ": a = " + hex(a);
        BigUnsigned r = a;
        ++r;
        mpz_add_ui(expected, ma, 1);
        QVERIFY2(same(r, expected), "increment, " + context);
        if (!a.isZero()) {
            r = a;
            --r;
            mpz_sub_ui(expected, ma, 1);
            QVERIFY2(same(r, expected), "decrement, " + context);
        }
        cases++;
    }
}

void tst_BigIntGmp::signedArithmetic()
{
    Operands operands(seed + 3);
    Mpz ma, mb, expected, expectedRemainder;
    for (int i = 0; i < pairsPerTest; i++) {
        const BigInteger a = operands.integer(), b = operands.integer();
        setMpz(ma, a);
        setMpz(mb, b);
        const QByteArray context = where(i) + ": a = " + hex(a) + ", b = " + hex(b);

        BigInteger r;
        mpz_add(expected, ma, mb);
        r.add(a, b);
        QVERIFY2(same(r, expected), "add, " + context);
        mpz_sub(expected, ma, mb);
        r = a;
        r -= b; // aliased
        QVERIFY2(same(r, expected), "subtract, " + context);
        mpz_mul(expected, ma, mb);
        r.multiply(a, b);
        QVERIFY2(same(r, expected), "multiply, " + context);
        mpz_neg(expected, ma);
        QVERIFY2(same(-a, expected), "negate, " + context);

        BigInteger q;
        r = a;
        r.divideWithRemainder(b, q);
        if (mpz_sgn(static_cast<mpz_srcptr>(mb)) != 0) {
            mpz_fdiv_qr(expected, expectedRemainder, ma, mb);
            QVERIFY2(same(q, expected), "floor quotient, " + context);
            QVERIFY2(same(r, expectedRemainder), "floor remainder, " + context);
        } else {
            QVERIFY2(q.isZero() && r == a, "division by zero, " + context);
        }

        const int cmp = signOf(mpz_cmp(ma, mb));
        QVERIFY2(int(a.compareTo(b)) == cmp, "compare, " + context);
        QVERIFY2((a == b) == (cmp == 0) && (a < b) == (cmp < 0) && (a >= b) == (cmp >= 0),
                 "relational operators, " + context);
        cases++;
    }
}

void tst_BigIntGmp::signedIncrementAndDecrement()
{
    Operands operands(seed + 4);
    Mpz ma, expected;
    for (int i = 0; i < pairsPerTest; i++) {
        const BigInteger a = operands.chance(4) ? BigInteger(int(i % 5) - 2) : operands.integer();
        setMpz(ma, a);
        const QByteArray context = where(i) + ": a = " + hex(a);
        BigInteger r = a;
        ++r;
        mpz_add_ui(expected, ma, 1);
        QVERIFY2(same(r, expected), "increment, " + context);
        r = a;
        --r;
        mpz_sub_ui(expected, ma, 1);
        QVERIFY2(same(r, expected), "decrement, " + context);
        cases++;
    }
}

void tst_BigIntGmp::cleanupTestCase()
{
    qInfo("%lld differential cases, seed %u", cases, seed);
}

QTEST_GUILESS_MAIN(tst_BigIntGmp)
#include "tst_bigint_gmp.moc"
