// Differential test: random operands of 0 to 40 blocks (now and then up to 200, past the
// Karatsuba threshold), every result compared with GMP's. The seed is printed; set
// ORVEX_TEST_SEED to repeat a run.
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

constexpr int pairsPerTest = 3000;
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

template <class X>
QByteArray hex(const X &x)
{
    Mpz m;
    setMpz(m, x);
    std::vector<char> text(mpz_sizeinbase(m, 16) + 2);
    return QByteArray(mpz_get_str(text.data(), 16, m));
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

// Operands of 0 to 40 blocks, one in ten of up to 200.
class Operands : public RandomBlocks
{
public:
    using RandomBlocks::RandomBlocks;

    BigUnsigned magnitude(quint32 maxBlocks = 40)
    {
        return value(below((maxBlocks == 40 && chance(10) ? 200 : maxBlocks) + 1));
    }

    BigInteger integer(quint32 maxBlocks = 40)
    {
        const BigUnsigned m = magnitude(maxBlocks); // first: argument order is unspecified
        return BigInteger(m, chance(2) ? BigInteger::negative : BigInteger::positive);
    }

    // A dividend that shares the divisor's length and top, so that long division has work to do.
    BigUnsigned dividendFor(const BigUnsigned &divisor)
    {
        return divisor * magnitude(8) + magnitude(divisor.getLength());
    }

    int shiftAmount() { return int(below(1601u)) - 300; }
};

} // namespace

class tst_BigIntGmp : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void unsignedOperations();
    void signedOperations();
    void textRoundTrips();
    void numberTheory();
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
    seed = testSeed(defaultSeed);
}

void tst_BigIntGmp::unsignedOperations()
{
    Operands operands(seed);
    Mpz ma, mb, expected, expectedRemainder;
    for (int i = 0; i < pairsPerTest; i++, cases++) {
        const BigUnsigned b = operands.magnitude();
        const BigUnsigned a = operands.chance(3) ? operands.dividendFor(b) : operands.magnitude();
        const int n = operands.shiftAmount();
        setMpz(ma, a);
        setMpz(mb, b);
        const QByteArray context = where(i) + ": a = " + hex(a) + ", b = " + hex(b)
                + ", n = " + QByteArray::number(n) + ": ";
        BigUnsigned r = a;
        r += b; // aliased
        mpz_add(expected, ma, mb);
        QVERIFY2(same(r, expected), context + "add");
        if (mpz_cmp(ma, mb) >= 0) {
            mpz_sub(expected, ma, mb);
            QVERIFY2(same(a - b, expected), context + "subtract");
        } else {
            QVERIFY2(thrownText([&] {
                         r.subtract(a, b);
                     }).endsWith("Negative result in unsigned calculation"),
                     context + "subtract");
        }
        mpz_mul(expected, ma, mb);
        r.multiply(a, b);
        QVERIFY2(same(r, expected), context + "multiply");
        BigUnsigned q;
        r = a;
        r.divideWithRemainder(b, q);
        if (mpz_sgn(static_cast<mpz_srcptr>(mb)) != 0) {
            mpz_tdiv_qr(expected, expectedRemainder, ma, mb);
            QVERIFY2(same(q, expected) && same(r, expectedRemainder), context + "divide");
        } else {
            QVERIFY2(q.isZero() && r == a, context + "divide by zero");
        }
        QVERIFY2(int(a.compareTo(b)) == signOf(mpz_cmp(ma, mb)), context + "compare");
        mpz_and(expected, ma, mb);
        QVERIFY2(same(a & b, expected), context + "and");
        mpz_ior(expected, ma, mb);
        QVERIFY2(same(a | b, expected), context + "or");
        mpz_xor(expected, ma, mb);
        r = a;
        r ^= b; // aliased
        QVERIFY2(same(r, expected), context + "xor");
        // Shifting zero left by a block or more keeps zero blocks on top: compare values only.
        for (int direction : {1, -1}) {
            if (n * direction >= 0)
                mpz_mul_2exp(expected, ma, mp_bitcnt_t(n * direction));
            else
                mpz_fdiv_q_2exp(expected, ma, mp_bitcnt_t(-n * direction));
            r = a;
            if (direction > 0)
                r <<= n; // aliased
            else
                r.bitShiftRight(a, n);
            QVERIFY2(a.isZero() ? blocksOf(r).count(0u) == int(r.getLength()) : same(r, expected),
                     context + "shift");
        }
        r = a;
        ++r;
        mpz_add_ui(expected, ma, 1);
        QVERIFY2(same(r, expected), context + "increment");
        if (!a.isZero()) {
            --r;
            --r;
            mpz_sub_ui(expected, ma, 1);
            QVERIFY2(same(r, expected), context + "decrement");
        }
    }
}

void tst_BigIntGmp::signedOperations()
{
    Operands operands(seed + 1);
    Mpz ma, mb, expected, expectedRemainder;
    for (int i = 0; i < pairsPerTest; i++, cases++) {
        const BigInteger a = operands.chance(8) ? BigInteger(int(i % 5) - 2) : operands.integer();
        const BigInteger b = operands.integer();
        setMpz(ma, a);
        setMpz(mb, b);
        const QByteArray context = where(i) + ": a = " + hex(a) + ", b = " + hex(b) + ": ";
        BigInteger r;
        r.add(a, b);
        mpz_add(expected, ma, mb);
        QVERIFY2(same(r, expected), context + "add");
        r = a;
        r -= b; // aliased
        mpz_sub(expected, ma, mb);
        QVERIFY2(same(r, expected), context + "subtract");
        mpz_mul(expected, ma, mb);
        QVERIFY2(same(a * b, expected), context + "multiply");
        mpz_neg(expected, ma);
        QVERIFY2(same(-a, expected), context + "negate");
        BigInteger q;
        r = a;
        r.divideWithRemainder(b, q);
        if (mpz_sgn(static_cast<mpz_srcptr>(mb)) != 0) {
            mpz_fdiv_qr(expected, expectedRemainder, ma, mb);
            QVERIFY2(same(q, expected) && same(r, expectedRemainder), context + "floor division");
        } else {
            QVERIFY2(q.isZero() && r == a, context + "division by zero");
        }
        QVERIFY2(int(a.compareTo(b)) == signOf(mpz_cmp(ma, mb)), context + "compare");
        r = a;
        ++r;
        mpz_add_ui(expected, ma, 1);
        QVERIFY2(same(r, expected), context + "increment");
        r--;
        r--;
        mpz_sub_ui(expected, ma, 1);
        QVERIFY2(same(r, expected), context + "decrement");
    }
}

void tst_BigIntGmp::textRoundTrips()
{
    Operands operands(seed + 2);
    Mpz expected, parsed;
    for (int i = 0; i < textCases; i++, cases++) {
        const BigInteger x = operands.integer(operands.chance(10) ? 60 : 8);
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
        // A mixed-case spelling with leading zeros parses back.
        QByteArray spelled = QByteArray(int(operands.below(3)), '0') + magnitudeText;
        for (char &c : spelled) {
            if (operands.chance(2))
                c = char(QChar::fromLatin1(c).toLower().toLatin1());
        }
        const BigUnsigned back =
                BigUnsignedInABase(spelled.toStdString(), BigUnsignedInABase::Base(base));
        QVERIFY2(mpz_set_str(parsed, spelled.constData(), base) == 0 && same(back, parsed),
                 "from text, " + context);
        std::vector<char> decimal(mpz_sizeinbase(expected, 10) + 2);
        const QByteArray gmpDecimal = mpz_get_str(decimal.data(), 10, expected);
        QVERIFY2(QByteArray::fromStdString(bigIntegerToString(x)) == gmpDecimal
                         && stringToBigInteger(gmpDecimal.toStdString()) == x,
                 "decimal text, " + context);
    }
}

void tst_BigIntGmp::numberTheory()
{
    Operands operands(seed + 3);
    Mpz mm, mn, me, expected, g;
    for (int i = 0; i < numberTheoryCases; i++, cases++) {
        // A shared factor now and then, so that the greatest common divisor is more than 1.
        const BigUnsigned factor = operands.chance(2) ? operands.magnitude(2) : BigUnsigned(1);
        const BigInteger m = operands.integer(5) * BigInteger(factor);
        const BigInteger n = operands.integer(5) * BigInteger(factor);
        const BigUnsigned e = operands.magnitude(2);
        setMpz(mm, m);
        setMpz(mn, n);
        setMpz(me, e);
        const QByteArray context =
                where(i) + ": m = " + hex(m) + ", n = " + hex(n) + ", e = " + hex(e) + ": ";
        mpz_gcd(expected, mm, mn);
        QVERIFY2(same(gcd(m.getMagnitude(), n.getMagnitude()), expected), context + "gcd");
        // g is a greatest common divisor up to its sign, and r*m + s*n == g.
        BigInteger gcdSigned, r, s;
        extendedEuclidean(m, n, gcdSigned, r, s);
        setMpz(g, gcdSigned);
        mpz_abs(g, g);
        QVERIFY2(mpz_cmp(g, expected) == 0 && r * m + s * n == gcdSigned, context + "extended gcd");
        const BigUnsigned &modulus = n.getMagnitude();
        mpz_abs(mn, mn);
        if (modulus.isZero()) {
            QVERIFY2(thrownText([&] {
                         modexp(m, e, modulus);
                     }) == "BigInteger::operator %: division by zero",
                     context + "modexp by zero");
            continue;
        }
        // Deliberate on our side: exponent 0 gives 1 unreduced, also modulo 1.
        if (e.isZero())
            mpz_set_ui(expected, 1);
        else
            mpz_powm(expected, mm, me, mn);
        QVERIFY2(same(modexp(m, e, modulus), expected), context + "modexp");
        BigUnsigned inverse;
        const QByteArray thrown = thrownText([&] {
            inverse = modinv(m, modulus);
        });
        // GMP calls everything invertible modulo 1; so does modinv, giving 0.
        if (mpz_invert(expected, mm, mn) != 0)
            QVERIFY2(thrown.isEmpty() && same(inverse, expected), context + "modinv");
        else
            QVERIFY2(thrown == "BigInteger modinv: x and n have a common factor",
                     context + "modinv");
    }
}

void tst_BigIntGmp::cleanupTestCase()
{
    qInfo("%lld differential cases, seed %u", cases, seed);
}

QTEST_GUILESS_MAIN(tst_BigIntGmp)
#include "tst_bigint_gmp.moc"
