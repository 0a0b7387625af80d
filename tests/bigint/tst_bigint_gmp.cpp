// Differential test: random operands of 0 to 40 blocks, every result compared with GMP's.
// The seed is printed; set ORVEX_TEST_SEED to repeat a run.
#include "bigint/BigIntText.h"
#include "bigint/BigInteger.h"
#include "bigint/BigUnsigned.h"
#include "bigint/BigUnsignedInABase.h"
#include "bigint/NumberTheory.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QRandomGenerator>
#include <QtTest>

#include <gmp.h>

#include <climits>
#include <vector>

namespace {

constexpr int pairsPerTest = 5000;
// Base conversion and number theory divide once per digit or step: smaller operands, fewer cases.
constexpr int textCases = 2000;
constexpr int numberTheoryCases = 2000;
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

    BigInteger integer(int maxBlocks = 40)
    {
        const BigUnsigned mag = magnitude(maxBlocks);
        return BigInteger(mag, random.bounded(2) ? BigInteger::negative : BigInteger::positive);
    }

    // A dividend that shares the divisor's length and top, so that long division has work to do.
    BigUnsigned dividendFor(const BigUnsigned &divisor)
    {
        return divisor * magnitude(8) + magnitude(divisor.getLength());
    }

    int shiftAmount() { return int(random.bounded(1601u)) - 300; }

    bool chance(quint32 outOf) { return random.bounded(outOf) == 0; }

    quint32 below(quint32 bound) { return random.bounded(bound); }

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
    void textRoundTrips();
    void gcdAndExtendedEuclidean();
    void modinvAndModexp();
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

void tst_BigIntGmp::textRoundTrips()
{
    Operands operands(seed + 5);
    Mpz expected, parsed;
    for (int i = 0; i < textCases; i++) {
        const BigInteger x = operands.integer(8);
        const int base = 2 + int(operands.below(35));
        setMpz(expected, x);
        const QByteArray context =
                where(i) + ": x = " + hex(x) + ", base " + QByteArray::number(base);

        // GMP writes upper-case digits for a negative base argument.
        std::vector<char> buffer(mpz_sizeinbase(expected, base) + 2);
        const QByteArray gmpUpper = mpz_get_str(buffer.data(), -base, expected);
        const QByteArray magnitudeText = gmpUpper.startsWith('-') ? gmpUpper.mid(1) : gmpUpper;
        const QByteArray ours =
                QByteArray::fromStdString(std::string(BigUnsignedInABase(x.getMagnitude(), base)));
        QVERIFY2(ours == magnitudeText, "to text, " + context);

        // Parse a mixed-case spelling with leading zeros back.
        QByteArray spelled = QByteArray(int(operands.below(3)), '0') + magnitudeText;
        for (char &c : spelled) {
            if (operands.chance(2))
                c = char(QChar::fromLatin1(c).toLower().toLatin1());
        }
        const BigUnsigned back =
                BigUnsignedInABase(spelled.toStdString(), BigUnsignedInABase::Base(base));
        QVERIFY2(mpz_set_str(parsed, spelled.constData(), base) == 0, "GMP parse, " + context);
        QVERIFY2(same(back, parsed), "from text, " + context);

        // Decimal text of the signed value, both ways.
        std::vector<char> decimal(mpz_sizeinbase(expected, 10) + 2);
        const QByteArray gmpDecimal = mpz_get_str(decimal.data(), 10, expected);
        QVERIFY2(QByteArray::fromStdString(bigIntegerToString(x)) == gmpDecimal,
                 "decimal text, " + context);
        QVERIFY2(stringToBigInteger(gmpDecimal.toStdString()) == x, "decimal parse, " + context);
        cases++;
    }
}

void tst_BigIntGmp::gcdAndExtendedEuclidean()
{
    Operands operands(seed + 6);
    Mpz ma, mb, expected, identity, term;
    for (int i = 0; i < numberTheoryCases; i++) {
        // A shared factor now and then, so that the greatest common divisor is more than 1.
        const BigUnsigned factor = operands.chance(2) ? operands.magnitude(2) : BigUnsigned(1);
        const BigInteger m(operands.magnitude(5) * factor,
                           operands.chance(2) ? BigInteger::negative : BigInteger::positive);
        const BigInteger n(operands.magnitude(5) * factor,
                           operands.chance(2) ? BigInteger::negative : BigInteger::positive);
        setMpz(ma, m);
        setMpz(mb, n);
        const QByteArray context = where(i) + ": m = " + hex(m) + ", n = " + hex(n);

        mpz_gcd(expected, ma, mb);
        QVERIFY2(same(gcd(m.getMagnitude(), n.getMagnitude()), expected), "gcd, " + context);

        // g is a greatest common divisor up to its sign, and r*m + s*n == g.
        BigInteger g, r, s;
        extendedEuclidean(m, n, g, r, s);
        setMpz(identity, g);
        mpz_abs(identity, identity);
        QVERIFY2(mpz_cmp(identity, expected) == 0, "extended gcd, " + context + ", g = " + hex(g));
        QVERIFY2(r * m + s * n == g, "extended identity, " + context);
        cases++;
    }
}

void tst_BigIntGmp::modinvAndModexp()
{
    Operands operands(seed + 7);
    Mpz mx, mn, me, expected;
    for (int i = 0; i < numberTheoryCases; i++) {
        const BigInteger x = operands.integer(6);
        const BigUnsigned n = operands.magnitude(4);
        const BigUnsigned e = operands.magnitude(2);
        setMpz(mx, x);
        setMpz(mn, n);
        setMpz(me, e);
        const QByteArray context =
                where(i) + ": x = " + hex(x) + ", n = " + hex(n) + ", e = " + hex(e);

        if (n.isZero()) {
            QVERIFY2(thrownText([&] {
                         modexp(x, e, n);
                     }).endsWith("division by zero"),
                     "modexp by zero, " + context);
            cases++;
            continue;
        }
        // Deliberate on our side: exponent 0 gives 1 unreduced, also modulo 1.
        if (e.isZero())
            mpz_set_ui(expected, 1);
        else
            mpz_powm(expected, mx, me, mn);
        QVERIFY2(same(modexp(x, e, n), expected), "modexp, " + context);

        BigUnsigned inverse;
        const QByteArray thrown = thrownText([&] {
            inverse = modinv(x, n);
        });
        // GMP calls everything invertible modulo 1; so does modinv, giving 0.
        if (mpz_invert(expected, mx, mn) != 0) {
            QVERIFY2(thrown.isEmpty() && same(inverse, expected), "modinv, " + context);
        } else {
            QVERIFY2(thrown == "BigInteger modinv: x and n have a common factor",
                     "modinv without an inverse, " + context);
        }
        cases++;
    }
}

void tst_BigIntGmp::cleanupTestCase()
{
    qInfo("%lld differential cases, seed %u", cases, seed);
}

QTEST_GUILESS_MAIN(tst_BigIntGmp)
#include "tst_bigint_gmp.moc"
