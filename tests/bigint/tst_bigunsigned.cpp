#include "bigint/BigUnsigned.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QtTest>

#include <climits>

namespace {

typedef BigUnsigned B;
const quint32 allOnes = 0xFFFFFFFFu;
const QByteArray negativeResult = "BigUnsigned::subtract: Negative result in unsigned calculation";
const QByteArray negativeNumber =
        "BigUnsigned constructor: Cannot construct a BigUnsigned from a negative number";
const QByteArray setBlockText =
        "BigUnsigned::setBlock: Block index too high for the bit length to fit an Index";

// A row of operations_data.
void row(const char *name, const B &x, const char *op, const B &a, const B &b, qint64 n,
         const QByteArray &thrown, const Blocks &after, const Blocks &y, int capacity)
{
    QTest::newRow(name) << x << QByteArray(op) << a << b << n << thrown << after << y << capacity;
}

} // namespace

class tst_BigUnsigned : public QObject
{
    Q_OBJECT

private slots:
    void conversions_data();
    void conversions();
    void operations_data();
    void operations();
    void bothWays_data();
    void bothWays();
    void exhaustiveAgainstNative();
};

void tst_BigUnsigned::conversions_data()
{
    QTest::addColumn<BigUnsigned>("x");
    QTest::addColumn<Blocks>("blocks");
    QTest::addColumn<QByteArray>(
            "to"); // unsigned long, unsigned int, unsigned short, long, int, short

    // The constructors keep the low 32 bits; the conversions check the round trip ("<"), then
    // the sign ("(").
    const auto row = [](const char *what, const B &x, const Blocks &blocks, const char *to) {
        QTest::newRow(what) << x << blocks << QByteArray(to);
    };
    row("zero", B(), {}, "0 0 0 0 0 0");
    row("unsigned long 2^32 + 5", B(0x100000005ul), {5}, "5 5 5 5 5 5");
    row("unsigned long 2^32", B(1ul << 32), {0}, "0 0 0 0 0 0");
    row("long 2^32", B(1l << 32), {0}, "0 0 0 0 0 0");
    row("2^32", fromBlocks({0, 1}), {0, 1}, "< < < < < <");
    row("2^32 - 1", B(allOnes), {allOnes}, "4294967295 4294967295 < 4294967295 ( (");
    row("2^31", B(0x80000000u), {0x80000000u}, "2147483648 2147483648 < 2147483648 ( <");
    row("2^16", B(0x10000), {0x10000}, "65536 65536 < 65536 65536 <");
    row("2^15", B(0x8000), {0x8000}, "32768 32768 32768 32768 32768 <");
    row("2^15 - 1", B((unsigned short)0x7FFF), {0x7FFF}, "32767 32767 32767 32767 32767 32767");
    row("2^32 - 2^15 - 1", B(0xFFFF7FFFu), {0xFFFF7FFFu}, "4294934527 4294934527 < 4294934527 ( <");
    row("2^32 - 2^15", B(0xFFFF8000u), {0xFFFF8000u}, "4294934528 4294934528 < 4294934528 ( (");
}

void tst_BigUnsigned::conversions()
{
    QFETCH(BigUnsigned, x);
    QFETCH(Blocks, blocks);

    QCOMPARE(blocksOf(x), blocks);
    QCOMPARE(int(B(x).getCapacity()), blocks.size()); // a copy takes the length, not the capacity
    QTEST(conversionsOf(x), "to");
}

void tst_BigUnsigned::operations_data()
{
    QTest::addColumn<BigUnsigned>("x"); // the receiver
    QTest::addColumn<QByteArray>("op");
    QTest::addColumn<BigUnsigned>("a");
    QTest::addColumn<BigUnsigned>("b");
    QTest::addColumn<qint64>("n");
    QTest::addColumn<QByteArray>("thrown");
    QTest::addColumn<Blocks>("after"); // the receiver's blocks
    QTest::addColumn<Blocks>("y"); // a second receiver's, zero at the start
    QTest::addColumn<int>("capacity"); // the receiver's

    const B none;
    row("long -1", B(9), "long", none, none, -1, negativeNumber, {9}, {}, 1);
    row("int -1", B(9), "int", none, none, -1, negativeNumber, {9}, {}, 1);
    row("short -1", B(9), "short", none, none, -1, negativeNumber, {9}, {}, 1);
    // Blocks and bits: storage grows to exactly the length asked, a zero on top is trimmed.
    row("setBlock: zero into the top", fromBlocks({1, 0, 5}), "setBlock", none, none, 2, {}, {1},
        {}, 3);
    row("setBlock: past the end", B(1), "setBlock", none, B(9), 3, {}, {1, 0, 0, 9}, {}, 4);
    row("setBit: clearing the top bit", fromBlocks({5, 0, 0, 1}), "setBit", none, none, 96, {}, {5},
        {}, 4);
    // Hostile indices: a value whose bit length would not fit an Index is refused untouched.
    row("setBlock: index 2^32 - 1", B(1), "setBlock", none, B(1), allOnes, setBlockText, {1}, {},
        1);
    row("setBlock: one block past the longest value", B(1), "setBlock", none, B(1), allOnes / 32,
        setBlockText, {1}, {}, 1);
    row("setBit: bit 2^32 - 1", B(1), "setBit", none, B(1), allOnes,
        "BigUnsigned::setBit: Bit index too high for the bit length to fit an Index", {1}, {}, 1);
    row("setBit: clearing bit 2^32 - 1", B(1), "setBit", none, none, allOnes, {}, {1}, {}, 1);
    // Shifts: only one top block is dropped, so zero shifted left keeps zero blocks.
    row("zero left by 64", B(), "<<", B(), none, 64, {}, {0, 0}, {}, 3);
    row("zero left by 40", B(), "<<", B(), none, 40, {}, {0}, {}, 2);
    row("one left by 64", B(), "<<", B(1), none, 64, {}, {0, 0, 1}, {}, 4);
    row("right by the most positive int", B(), "<<", fromBlocks({allOnes, allOnes}), none, -INT_MAX,
        {}, {}, {}, 0);
    // Subtract leaves the receiver zero when the borrow runs off the top, untouched when the
    // length test fails first or the receiver is an operand.
    row("3 - 5", fromBlocks({9, 9}), "subtract", B(3), B(5), 0, negativeResult, {}, {}, 2);
    row("borrow off the top", fromBlocks({9, 9}), "subtract", fromBlocks({0, 4}),
        fromBlocks({1, 4}), 0, negativeResult, {}, {}, 2);
    row("shorter minus longer", fromBlocks({9, 9}), "subtract", B(3), fromBlocks({0, 1}), 0,
        negativeResult, {9, 9}, {}, 2);
    row("3 -= 4", B(3), "-=", none, B(4), 0, negativeResult, {3}, {}, 1);
    row("guard block and quotient room", fromBlocks({1, 2, 3}), "divide", none, B(7), 0, {}, {1},
        {0, 0x6DB6DB6E}, 4);
    // Capacities: exactly what is asked, kept when large enough, never shrunk.
    row("product into zero", B(), "multiply", fromBlocks({1, 2}), fromBlocks({3, 4, 5}), 0, {},
        {3, 10, 13, 10}, {}, 5);
    row("a small product in a large array", fromBlocks({1, 2, 3, 4, 5, 6, 7, 8}), "multiply", B(3),
        B(3), 0, {}, {9}, {}, 8);
    row("assignment keeps a larger array", fromBlocks({1, 2, 3, 4, 5, 6}), "=",
        fromBlocks({7, 0, 9}), none, 0, {}, {7, 0, 9}, {}, 6);
    row("assignment grows exactly", B(1), "=", fromBlocks({7, 0, 9}), none, 0, {}, {7, 0, 9}, {},
        3);
}

void tst_BigUnsigned::operations()
{
    QFETCH(BigUnsigned, x);
    QFETCH(QByteArray, op);
    QFETCH(BigUnsigned, a);
    QFETCH(BigUnsigned, b);
    QFETCH(qint64, n);

    B y;
    const QByteArray thrown = thrownText([&] {
        if (op == "long")
            x = B(long(n));
        else if (op == "int")
            x = B(int(n));
        else if (op == "short")
            x = B(short(n));
        else if (op == "setBlock")
            x.setBlock(B::Index(n), b.toUnsignedInt());
        else if (op == "setBit")
            x.setBit(B::Index(n), !b.isZero());
        else if (op == "<<")
            x.bitShiftLeft(a, int(n));
        else if (op == "subtract")
            x.subtract(a, b);
        else if (op == "-=")
            x -= b;
        else if (op == "multiply")
            x.multiply(a, b);
        else if (op == "=")
            x = a;
        else if (op == "divide")
            x.divideWithRemainder(b, y);
        else
            QFAIL("unknown operation");
    });
    QTEST(thrown, "thrown");
    QTEST(blocksOf(x), "after");
    QTEST(blocksOf(y), "y");
    QTEST(int(x.getCapacity()), "capacity");
}

void tst_BigUnsigned::bothWays_data()
{
    QTest::addColumn<BigUnsigned>("a");
    QTest::addColumn<BigUnsigned>("b");
    QTest::addColumn<BigUnsigned>("sum");
    QTest::addColumn<BigUnsigned>("product");

    const auto row = [](const char *what, const Blocks &a, const Blocks &b, const Blocks &sum,
                        const Blocks &product) {
        QTest::newRow(what) << fromBlocks(a) << fromBlocks(b) << fromBlocks(sum)
                            << fromBlocks(product);
    };
    row("carry into a new block", {allOnes}, {1}, {0, 1}, {allOnes});
    row("carry into zero blocks", {allOnes, 0, 0, 1}, {1, 0, 7}, {0, 1, 7, 1},
        {allOnes, 0, 0xFFFFFFF9u, 7, 0, 7});
    row("borrow through zero blocks", {1}, {allOnes, allOnes, 0, 2}, {0, 0, 1, 2},
        {allOnes, allOnes, 0, 2});
    row("all ones", {allOnes, allOnes}, {allOnes, allOnes}, {0xFFFFFFFEu, allOnes, 1},
        {1, 0, 0xFFFFFFFEu, allOnes});
    row("three by two blocks", {1, 2, 3}, {4, 5}, {5, 7, 3}, {4, 13, 22, 15});
}

void tst_BigUnsigned::bothWays()
{
    QFETCH(BigUnsigned, a);
    QFETCH(BigUnsigned, b);
    QFETCH(BigUnsigned, sum);
    QFETCH(BigUnsigned, product);

    QCOMPARE(a + b, sum);
    QCOMPARE(b + a, sum);
    QCOMPARE(sum - a, b);
    QCOMPARE(sum - b, a);
    QCOMPARE(a * b, product);
    QCOMPARE(b * a, product);
    QCOMPARE(product / a, b);
    QCOMPARE(product % b, B());
    QCOMPARE((product + a - B(1)) / a, b);
    QCOMPARE((product + b - B(1)) % b, b - B(1));
    B x = a;
    x.add(x, b); // the receiver as an operand
    QCOMPARE(x, sum);
}

void tst_BigUnsigned::exhaustiveAgainstNative()
{
    // Every pair of values around the block edges, against 64-bit arithmetic, each operation
    // checked both ways.
    QVector<quint64> values;
    for (quint64 v = 0; v <= 12; v++)
        values << v;
    values << 0x7FFFFFFFull << 0x80000000ull << 0xFFFFFFFEull << 0xFFFFFFFFull << 0x100000000ull
           << 0x100000001ull << 0x1FFFFFFFFull << 0xFFFFFFFF00000000ull << 0x8000000000000000ull
           << 0xFFFFFFFFFFFFFFFEull << 0xFFFFFFFFFFFFFFFFull << 0x123456789ABCDEFull;
    for (quint64 a : values) {
        for (quint64 b : values) {
            const B x = fromU64(a), y = fromU64(b);
            const QByteArray where = QByteArray::number(a) + ", " + QByteArray::number(b);
            auto is = [&](const B &r, quint64 expected) {
                return toU64(r) == expected && r.getLength() <= 2 && isNormal(r);
            };
            if (a + b >= a) {
                const B sum = x + y;
                QVERIFY2(is(sum, a + b) && is(sum - x, b) && is(sum - y, a), where);
            }
            if (a <= allOnes && b <= allOnes) {
                const B product = x * y;
                QVERIFY2(is(product, a * b) && (a == 0 || is(product / x, b)), where);
            }
            B r = x, q;
            r.divideWithRemainder(y, q);
            QVERIFY2(is(q, b ? a / b : 0) && is(r, b ? a % b : a), where);
            QVERIFY2(is(x & y, a & b) && is(x | y, a | b) && is(x ^ y, a ^ b), where);
            QVERIFY2(int(x.compareTo(y)) == (a < b ? -1 : (a > b ? 1 : 0)), where);
            QVERIFY2((x < y) == (a < b) && (x <= y) == (a <= b) && (x == y) == (a == b)
                             && (x != y) == (a != b) && (x >= y) == (a >= b) && (x > y) == (a > b),
                     where);
            const int n = int(b % 64);
            QVERIFY2(x.bitAt(B::Index(n)) == bool(a >> n & 1), where);
            QVERIFY2(is(x >> n, a >> n), where);
            if (a != 0 && (n == 0 || a >> (64 - n) == 0))
                QVERIFY2(is(x << n, a << n) && is((x << n) >> n, a), where);
            r = x;
            if (a != ~0ull)
                QVERIFY2(is(++r, a + 1) && is(--r, a), where);
        }
    }
}

QTEST_GUILESS_MAIN(tst_BigUnsigned)
#include "tst_bigunsigned.moc"
