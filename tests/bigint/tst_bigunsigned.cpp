#include "bigint/BigUnsigned.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QtTest>

#include <climits>
#include <functional>

namespace {

const quint32 allOnes = 0xFFFFFFFFu;
const QByteArray tooBig =
        "BigUnsigned::to<Primitive>: Value is too big to fit in the requested type";
const QByteArray readsNegative =
        "BigUnsigned::to(Primitive): Value is too big to fit in the requested type";
const QByteArray negativeNumber =
        "BigUnsigned constructor: Cannot construct a BigUnsigned from a negative number";
const QByteArray negativeResult = "BigUnsigned::subtract: Negative result in unsigned calculation";
const QByteArray shiftLeftText =
        "BigUnsigned::bitShiftLeft: Pathological shift amount not implemented";

// One operation on a receiver x (and a second value y, zero at the start): the text it throws,
// both values afterwards, and x's capacity (-1: not checked).
struct Case
{
    const char *name;
    Blocks before;
    std::function<void(BigUnsigned &x, BigUnsigned &y)> run;
    QByteArray thrown;
    Blocks after;
    Blocks yAfter;
    int capacity;
};

typedef BigUnsigned B;

// clang-format off
const QVector<Case> &cases()
{
    static const QVector<Case> all = {
        // Construction keeps the low 32 bits; a non-zero argument always makes one block.
        {"unsigned long 2^32 + 5", {9, 9}, [](B &x, B &) { x = B(0x100000005ul); }, {}, {5}, {}, 2},
        {"unsigned long 2^32 is a one-block zero", {}, [](B &x, B &) { x = B(1ul << 32); }, {},
         {0}, {}, 1},
        {"long 2^32 is a one-block zero", {}, [](B &x, B &) { x = B(1l << 32); }, {}, {0}, {}, 1},
        {"long -1 throws", {9}, [](B &x, B &) { x = B(-1l); }, negativeNumber, {9}, {}, 1},
        {"int -1 throws", {9}, [](B &x, B &) { x = B(-1); }, negativeNumber, {9}, {}, 1},
        {"short -1 throws", {9}, [](B &x, B &) { x = B(short(-1)); }, negativeNumber, {9}, {}, 1},
        // Conversions: the round trip first ("to<Primitive>"), then the sign ("to(Primitive)").
        {"toUnsignedLong of 2^32 - 1", {allOnes},
         [](B &x, B &) { x = fromU64(x.toUnsignedLong()); }, {}, {allOnes}, {}, -1},
        {"toUnsignedLong of 2^32", {0, 1}, [](B &x, B &) { x.toUnsignedLong(); }, tooBig, {0, 1},
         {}, -1},
        {"toInt of a one-block zero", {}, [](B &, B &y) { y = fromU64(B(1ul << 32).toInt() + 1); },
         {}, {}, {1}, -1},
        {"toUnsignedShort of 2^16", {0x10000}, [](B &x, B &) { x.toUnsignedShort(); }, tooBig,
         {0x10000}, {}, -1},
        {"toLong of 2^32 - 1", {allOnes}, [](B &x, B &) { x = fromU64(quint64(x.toLong())); }, {},
         {allOnes}, {}, -1},
        {"toInt of 2^31", {0x80000000}, [](B &x, B &) { x.toInt(); }, readsNegative,
         {0x80000000}, {}, -1},
        {"toShort of 2^15 - 1", {0x7FFF}, [](B &x, B &) { x = fromU64(quint64(x.toShort())); },
         {}, {0x7FFF}, {}, -1},
        {"toShort of 2^15", {0x8000}, [](B &x, B &) { x.toShort(); }, tooBig, {0x8000}, {}, -1},
        {"toShort of 2^32 - 2^15 - 1", {0xFFFF7FFF}, [](B &x, B &) { x.toShort(); }, tooBig,
         {0xFFFF7FFF}, {}, -1},
        {"toShort of 2^32 - 2^15", {0xFFFF8000}, [](B &x, B &) { x.toShort(); }, readsNegative,
         {0xFFFF8000}, {}, -1},
        // Blocks and bits.
        {"setBlock: zero into the top trims", {1, 0, 5}, [](B &x, B &) { x.setBlock(2, 0); }, {},
         {1}, {}, 3},
        {"setBlock: zero past the end", {1}, [](B &x, B &) { x.setBlock(7, 0); }, {}, {1}, {}, 1},
        {"setBlock: past the end extends", {1}, [](B &x, B &) { x.setBlock(3, 9); }, {},
         {1, 0, 0, 9}, {}, 4},
        {"setBit: clearing the top bit", {5, 0, 0, 1}, [](B &x, B &) { x.setBit(96, false); }, {},
         {5}, {}, 4},
        {"setBit: bit 100 of zero", {}, [](B &x, B &) { x.setBit(100, true); }, {},
         {0, 0, 0, 16}, {}, 4},
        {"bitLength of 2^32", {0, 1}, [](B &x, B &) { x = B(x.bitLength()); }, {}, {33}, {}, 2},
        // Hostile indices: a value whose bit length would not fit an Index is refused untouched.
        {"setBlock: index 2^32 - 1", {1}, [](B &x, B &) { x.setBlock(allOnes, 1); },
         "BigUnsigned::setBlock: Block index too high for the bit length to fit an Index", {1},
         {}, 1},
        {"setBlock: one block past the longest value", {1},
         [](B &x, B &) { x.setBlock(allOnes / 32, 1); },
         "BigUnsigned::setBlock: Block index too high for the bit length to fit an Index", {1},
         {}, 1},
        {"setBit: bit 2^32 - 1", {1}, [](B &x, B &) { x.setBit(allOnes, true); },
         "BigUnsigned::setBit: Bit index too high for the bit length to fit an Index", {1}, {},
         1},
        {"setBit: clearing bit 2^32 - 1", {1}, [](B &x, B &) { x.setBit(allOnes, false); }, {},
         {1}, {}, 1},
        // Shifts: only one top block is dropped, so shifting zero leaves zero blocks.
        {"zero left by 64", {}, [](B &x, B &) { x.bitShiftLeft(B(), 64); }, {}, {0, 0}, {}, 3},
        {"zero left by 40", {}, [](B &x, B &) { x = x << 40; }, {}, {0}, {}, 1},
        {"one left by 64", {}, [](B &x, B &) { x.bitShiftLeft(B(1), 64); }, {}, {0, 0, 1}, {}, 4},
        {"left by -33", {0, 4}, [](B &x, B &) { x <<= -33; }, {}, {2}, {}, 2},
        {"right by -33", {0, 4}, [](B &x, B &) { x >>= -33; }, {}, {0, 0, 8}, {}, 3},
        {"right by the most positive int", {allOnes, allOnes}, [](B &x, B &) { x >>= INT_MAX; },
         {}, {}, {}, 2},
        {"left by the most negative int", {5}, [](B &x, B &) { x <<= INT_MIN; }, shiftLeftText,
         {5}, {}, 1},
        {"right by the most negative int", {5}, [](B &x, B &y) { y.bitShiftRight(x, INT_MIN); },
         "BigUnsigned::bitShiftRight: Pathological shift amount not implemented", {5}, {}, 1},
        // Failure states of subtract: zero when the borrow runs off, untouched when the length
        // test fails first or the receiver is an operand.
        {"3 - 5", {9, 9}, [](B &x, B &) { x.subtract(B(3), B(5)); }, negativeResult, {}, {}, 2},
        {"borrow off the top", {9, 9},
         [](B &x, B &) { x.subtract(fromBlocks({0, 4}), fromBlocks({1, 4})); }, negativeResult, {},
         {}, 2},
        {"shorter minus longer", {9, 9}, [](B &x, B &) { x.subtract(B(3), fromBlocks({0, 1})); },
         negativeResult, {9, 9}, {}, 2},
        {"aliased 3 - 5", {3}, [](B &x, B &) { x.subtract(x, B(5)); }, negativeResult, {3}, {}, 1},
        {"3 -= 4", {3}, [](B &x, B &) { x -= B(4); }, negativeResult, {3}, {}, 1},
        {"-- of zero", {}, [](B &x, B &) { x--; },
         "BigUnsigned::operator --(): Cannot decrement an unsigned zero", {}, {}, 0},
        // Division: a zero divisor is no error here, only in the operators.
        {"by zero", {7, 1}, [](B &x, B &y) { x.divideWithRemainder(B(), y); }, {}, {7, 1}, {}, 2},
        {"/ zero", {5}, [](B &x, B &y) { y = x / B(); },
         "BigUnsigned::operator /: division by zero", {5}, {}, 1},
        {"% zero", {5}, [](B &x, B &y) { y = x % B(); },
         "BigUnsigned::operator %: division by zero", {5}, {}, 1},
        {"/= zero", {5}, [](B &x, B &) { x /= B(); },
         "BigUnsigned::operator /=: division by zero", {5}, {}, 1},
        {"%= zero", {5}, [](B &x, B &) { x %= B(); },
         "BigUnsigned::operator %=: division by zero", {5}, {}, 1},
        {"quotient into the receiver", {7}, [](B &x, B &) { x.divideWithRemainder(B(2), x); },
         "BigUnsigned::divideWithRemainder: Cannot write quotient and remainder into the same "
         "variable", {7}, {}, 1},
        {"guard block and quotient room", {1, 2, 3},
         [](B &x, B &y) { x.divideWithRemainder(B(7), y); }, {}, {1}, {0, 0x6DB6DB6E}, 4},
        // Aliasing: the receiver is an operand.
        {"x.add(x, x)", {allOnes, 1}, [](B &x, B &) { x.add(x, x); }, {}, {allOnes - 1, 3}, {}, 2},
        {"x.multiply(x, x)", {allOnes, 1}, [](B &x, B &) { x.multiply(x, x); }, {},
         {1, allOnes - 3, 3}, {}, 3},
        {"x.subtract(y, x)", {allOnes, 1}, [](B &x, B &) { x.subtract(fromBlocks({0, 4}), x); },
         {}, {1, 2}, {}, 2},
        {"x.bitXor(x, x)", {7, 7}, [](B &x, B &) { x.bitXor(x, x); }, {}, {}, {}, 2},
        {"x.bitShiftLeft(x, 4)", {allOnes, 1}, [](B &x, B &) { x.bitShiftLeft(x, 4); }, {},
         {allOnes - 15, 31}, {}, 2},
        {"x divided by x", {5, 9}, [](B &x, B &y) { x.divideWithRemainder(x, y); }, {}, {}, {1}, 3},
        {"quotient as the divisor", {100},
         [](B &x, B &y) { y = B(7), x.divideWithRemainder(y, y); }, {}, {2}, {14}, 2},
        {"x /= x", {5, 9}, [](B &x, B &) { const B &itself = x; x /= itself; }, {}, {1}, {}, 3},
        // Capacities: exactly what is asked, kept when large enough, never shrunk.
        {"sum into zero", {}, [](B &x, B &) { x.add(fromBlocks({1, 2}), B(3)); }, {}, {4, 2}, {},
         3},
        {"product into zero", {},
         [](B &x, B &) { x.multiply(fromBlocks({1, 2}), fromBlocks({3, 4, 5})); }, {},
         {3, 10, 13, 10}, {}, 5},
        {"small results in a large array", {1, 2, 3, 4, 5, 6, 7, 8},
         [](B &x, B &) { x.add(B(1), B(2)), x.multiply(x, x); }, {}, {9}, {}, 8},
        {"++ of 2^32 - 1", {allOnes}, [](B &x, B &) { x++; }, {}, {0, 1}, {}, 2},
        {"-- of 2^32", {0, 1}, [](B &x, B &) { --x; }, {}, {allOnes}, {}, 2},
    };
    return all;
}
// clang-format on

} // namespace

class tst_BigUnsigned : public QObject
{
    Q_OBJECT

private slots:
    void storage();
    void operations_data();
    void operations();
    void exhaustiveAgainstNative();
};

void tst_BigUnsigned::storage()
{
    const quint32 raw[] = {7, 0, 9, 0, 0};
    BigUnsigned trimmed(raw, 5), zero, allZero(raw + 1, 1);
    QCOMPARE(zero.getCapacity(), 0u);
    QCOMPARE(allZero.getCapacity(), 1u);
    QVERIFY(allZero.isZero());
    QCOMPARE(trimmed.getCapacity(), 5u);
    QCOMPARE(blocksOf(trimmed), Blocks({7, 0, 9}));
    QCOMPARE(trimmed.blockAt(3), 0u);
    BigUnsigned copy(trimmed);
    QCOMPARE(copy.getCapacity(), 3u); // the source's length, not its capacity
    BigUnsigned big = fromBlocks({1, 2, 3, 4, 5, 6}), small(1);
    big = copy; // the larger array is kept
    small = big; // grows to exactly the length
    QCOMPARE(big.getCapacity(), 6u);
    QCOMPARE(small.getCapacity(), 3u);
    QCOMPARE(blocksOf(small), Blocks({7, 0, 9}));
    QCOMPARE(BigUnsigned(0).getCapacity(), 0u);
    QCOMPARE(BigUnsigned(short(1)).getCapacity(), 1u);
}

void tst_BigUnsigned::operations_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < cases().size(); i++)
        QTest::newRow(cases()[i].name) << i;
}

void tst_BigUnsigned::operations()
{
    QFETCH(int, index);
    const Case &c = cases()[index];
    BigUnsigned x = fromBlocks(c.before), y;
    QCOMPARE(thrownText([&] {
                 c.run(x, y);
             }),
             c.thrown);
    QCOMPARE(blocksOf(x), c.after);
    QCOMPARE(blocksOf(y), c.yAfter);
    if (c.capacity >= 0)
        QCOMPARE(int(x.getCapacity()), c.capacity);
}

void tst_BigUnsigned::exhaustiveAgainstNative()
{
    // Every pair of values around the block edges, against 64-bit arithmetic.
    QVector<quint64> values;
    for (quint64 v = 0; v <= 12; v++)
        values << v;
    values << 0x7FFFFFFFull << 0x80000000ull << 0xFFFFFFFEull << 0xFFFFFFFFull << 0x100000000ull
           << 0x100000001ull << 0x1FFFFFFFFull << 0xFFFFFFFF00000000ull << 0x8000000000000000ull
           << 0xFFFFFFFFFFFFFFFEull << 0xFFFFFFFFFFFFFFFFull << 0x123456789ABCDEFull;
    for (quint64 a : values) {
        for (quint64 b : values) {
            const BigUnsigned x = fromU64(a), y = fromU64(b);
            const QByteArray where = QByteArray::number(a) + ", " + QByteArray::number(b);
            auto check = [&](const BigUnsigned &r, quint64 expected) {
                QVERIFY2(toU64(r) == expected && r.getLength() <= 2 && isNormal(r), where);
            };
            if (a + b >= a)
                check(x + y, a + b);
            if (a >= b)
                check(x - y, a - b);
            else
                QVERIFY2(thrownText([&] {
                             (void)(x - y);
                         }) == negativeResult,
                         where);
            if (a <= 0xFFFFFFFFull && b <= 0xFFFFFFFFull)
                check(x * y, a * b);
            BigUnsigned r = x, q;
            r.divideWithRemainder(y, q);
            check(q, b ? a / b : 0);
            check(r, b ? a % b : a);
            check(x & y, a & b);
            check(x | y, a | b);
            check(x ^ y, a ^ b);
            QVERIFY2(int(x.compareTo(y)) == (a < b ? -1 : (a > b ? 1 : 0)), where);
            QVERIFY2((x < y) == (a < b) && (x == y) == (a == b) && (x >= y) == (a >= b), where);
            const int n = int(b % 64);
            QVERIFY2(x.bitAt(BigUnsigned::Index(n)) == bool(a >> n & 1), where);
            check(x >> n, a >> n);
            if (a != 0 && (n == 0 || a >> (64 - n) == 0))
                check(x << n, a << n);
            if (a != ~0ull) {
                r = x;
                ++r;
                check(r, a + 1);
                --r;
                check(r, a);
            }
        }
    }
}

QTEST_GUILESS_MAIN(tst_BigUnsigned)
#include "tst_bigunsigned.moc"
