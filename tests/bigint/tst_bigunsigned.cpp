#include "bigint/BigUnsigned.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QtTest>

#include <climits>

namespace {

const quint32 allOnes = 0xFFFFFFFFu;
const QByteArray tooBig =
        "BigUnsigned::to<Primitive>: Value is too big to fit in the requested type";
const QByteArray readsNegative =
        "BigUnsigned::to(Primitive): Value is too big to fit in the requested type";
const QByteArray negativeNumber =
        "BigUnsigned constructor: Cannot construct a BigUnsigned from a negative number";
const QByteArray negativeResult = "BigUnsigned::subtract: Negative result in unsigned calculation";

// A constructor call chosen by the name of its argument type, the argument given as 64 bits.
BigUnsigned construct(const QByteArray &type, quint64 bits)
{
    if (type == "unsigned long")
        return BigUnsigned((unsigned long)bits);
    if (type == "long")
        return BigUnsigned((long)bits);
    if (type == "unsigned int")
        return BigUnsigned((unsigned int)bits);
    if (type == "int")
        return BigUnsigned((int)bits);
    if (type == "unsigned short")
        return BigUnsigned((unsigned short)bits);
    if (type == "short")
        return BigUnsigned((short)bits);
    qFatal("unknown type %s", type.constData());
}

// A conversion chosen by name; its result as 64 bits (sign-extended for the signed types).
quint64 convert(const BigUnsigned &x, const QByteArray &conversion)
{
    if (conversion == "toUnsignedLong")
        return x.toUnsignedLong();
    if (conversion == "toUnsignedInt")
        return x.toUnsignedInt();
    if (conversion == "toUnsignedShort")
        return x.toUnsignedShort();
    if (conversion == "toLong")
        return quint64(x.toLong());
    if (conversion == "toInt")
        return quint64(qint64(x.toInt()));
    if (conversion == "toShort")
        return quint64(qint64(x.toShort()));
    qFatal("unknown conversion %s", conversion.constData());
}

// The values around block edges, for the exhaustive checks against native arithmetic.
QVector<quint64> edgeValues()
{
    QVector<quint64> values;
    for (quint64 v = 0; v <= 20; v++)
        values << v;
    values << 0x7FFFFFFFull << 0x80000000ull << 0xFFFFFFFEull << 0xFFFFFFFFull << 0x100000000ull
           << 0x100000001ull << 0x1FFFFFFFFull << 0xFFFFFFFF00000000ull << 0x8000000000000000ull
           << 0xFFFFFFFFFFFFFFFEull << 0xFFFFFFFFFFFFFFFFull << 0x123456789ABCDEFull;
    return values;
}

} // namespace

class tst_BigUnsigned : public QObject
{
    Q_OBJECT

private slots:
    void storage();
    void primitiveConstructors_data();
    void primitiveConstructors();
    void conversions_data();
    void conversions();
    void setBlock_data();
    void setBlock();
    void bits_data();
    void bits();
    void setBit_data();
    void setBit();
    void compare_data();
    void compare();
    void addAndSubtract_data();
    void addAndSubtract();
    void subtractFailureStates();
    void multiply_data();
    void multiply();
    void divideWithRemainder_data();
    void divideWithRemainder();
    void divideReceiverRules();
    void divisionOperatorsByZero_data();
    void divisionOperatorsByZero();
    void bitwise_data();
    void bitwise();
    void shifts_data();
    void shifts();
    void pathologicalShifts();
    void incrementAndDecrement_data();
    void incrementAndDecrement();
    void decrementZeroThrows();
    void aliasing_data();
    void aliasing();
    void capacities();
    void operatorForms();
    void exhaustiveAgainstNative();
};

void tst_BigUnsigned::storage()
{
    BigUnsigned zero;
    QCOMPARE(zero.getCapacity(), 0u);
    QCOMPARE(zero.getLength(), 0u);
    QVERIFY(zero.isZero());
    QCOMPARE(zero.blockAt(0), 0u);

    const quint32 raw[] = {7, 0, 9, 0, 0};
    BigUnsigned trimmed(raw, 5);
    QCOMPARE(trimmed.getCapacity(), 5u);
    QCOMPARE(blocksOf(trimmed), Blocks({7, 0, 9}));
    QCOMPARE(trimmed.blockAt(3), 0u); // past the length

    BigUnsigned copy(trimmed);
    QCOMPARE(copy.getCapacity(), 3u); // the source's length, not its capacity
    QCOMPARE(blocksOf(copy), Blocks({7, 0, 9}));

    BigUnsigned big = fromBlocks({1, 2, 3, 4, 5, 6});
    big = copy; // the larger array is kept
    QCOMPARE(big.getCapacity(), 6u);
    QCOMPARE(blocksOf(big), Blocks({7, 0, 9}));
    BigUnsigned small(1);
    small = big; // grows to exactly the length
    QCOMPARE(small.getCapacity(), 3u);
    const BigUnsigned &itself = small;
    small = itself; // does nothing
    QCOMPARE(blocksOf(small), Blocks({7, 0, 9}));

    BigUnsigned allZero(raw + 1, 1);
    QCOMPARE(allZero.getCapacity(), 1u);
    QVERIFY(allZero.isZero());
}

void tst_BigUnsigned::primitiveConstructors_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<quint64>("argument");
    QTest::addColumn<Blocks>("blocks");
    QTest::addColumn<QByteArray>("thrown");

    QTest::newRow("unsigned long zero")
            << QByteArray("unsigned long") << 0ull << Blocks{} << QByteArray();
    QTest::newRow("unsigned long 2^32 + 5 keeps the low half")
            << QByteArray("unsigned long") << 0x100000005ull << Blocks{5} << QByteArray();
    QTest::newRow("unsigned long 2^32 is a one-block zero")
            << QByteArray("unsigned long") << 0x100000000ull << Blocks{0} << QByteArray();
    QTest::newRow("unsigned long 2^64 - 1")
            << QByteArray("unsigned long") << ~0ull << Blocks{allOnes} << QByteArray();
    QTest::newRow("long 2^32 is a one-block zero")
            << QByteArray("long") << 0x100000000ull << Blocks{0} << QByteArray();
    QTest::newRow("long 2^32 - 1")
            << QByteArray("long") << 0xFFFFFFFFull << Blocks{allOnes} << QByteArray();
    QTest::newRow("long -1 throws")
            << QByteArray("long") << quint64(-1) << Blocks{} << negativeNumber;
    QTest::newRow("long minimum throws")
            << QByteArray("long") << quint64(LONG_MIN) << Blocks{} << negativeNumber;
    QTest::newRow("unsigned int maximum")
            << QByteArray("unsigned int") << 0xFFFFFFFFull << Blocks{allOnes} << QByteArray();
    QTest::newRow("int zero") << QByteArray("int") << 0ull << Blocks{} << QByteArray();
    QTest::newRow("int maximum") << QByteArray("int") << quint64(INT_MAX)
                                 << Blocks{quint32(INT_MAX)} << QByteArray();
    QTest::newRow("int -1 throws")
            << QByteArray("int") << quint64(-1) << Blocks{} << negativeNumber;
    QTest::newRow("unsigned short maximum")
            << QByteArray("unsigned short") << 0xFFFFull << Blocks{0xFFFF} << QByteArray();
    QTest::newRow("short maximum")
            << QByteArray("short") << 0x7FFFull << Blocks{0x7FFF} << QByteArray();
    QTest::newRow("short -1 throws")
            << QByteArray("short") << quint64(-1) << Blocks{} << negativeNumber;
}

void tst_BigUnsigned::primitiveConstructors()
{
    QFETCH(QByteArray, type);
    QFETCH(quint64, argument);
    QFETCH(Blocks, blocks);
    QFETCH(QByteArray, thrown);

    BigUnsigned x;
    QCOMPARE(thrownText([&] {
                 x = construct(type, argument);
             }),
             thrown);
    QCOMPARE(blocksOf(x), blocks);
    if (thrown.isEmpty())
        QCOMPARE(construct(type, argument).getCapacity(), argument == 0 ? 0u : 1u);
}

void tst_BigUnsigned::conversions_data()
{
    QTest::addColumn<Blocks>("blocks");
    QTest::addColumn<QByteArray>("conversion");
    QTest::addColumn<quint64>("expected");
    QTest::addColumn<QByteArray>("thrown");

    const char *all[] = {"toUnsignedLong", "toUnsignedInt", "toUnsignedShort",
                         "toLong",         "toInt",         "toShort"};
    for (const char *conversion : all) {
        QTest::addRow("%s of zero", conversion)
                << Blocks{} << QByteArray(conversion) << 0ull << QByteArray();
        QTest::addRow("%s of 2^32 (two blocks)", conversion)
                << Blocks{0, 1} << QByteArray(conversion) << 0ull << tooBig;
        QTest::addRow("%s of a one-block zero", conversion)
                << Blocks{0} << QByteArray(conversion) << 0ull << QByteArray();
    }
    auto row = [](const char *name, quint32 block, const char *conversion, quint64 expected,
                  const QByteArray &thrown) {
        QTest::newRow(name) << Blocks{block} << QByteArray(conversion) << expected << thrown;
    };
    row("toUnsignedLong of 2^32 - 1", allOnes, "toUnsignedLong", 4294967295ull, QByteArray());
    row("toUnsignedInt of 2^32 - 1", allOnes, "toUnsignedInt", 4294967295ull, QByteArray());
    row("toUnsignedShort of 0xFFFF", 0xFFFF, "toUnsignedShort", 0xFFFF, QByteArray());
    row("toUnsignedShort of 0x10000", 0x10000, "toUnsignedShort", 0, tooBig);
    row("toLong of 2^32 - 1 is never negative", allOnes, "toLong", 4294967295ull, QByteArray());
    row("toInt of 2^31 - 1", 0x7FFFFFFF, "toInt", 0x7FFFFFFF, QByteArray());
    row("toInt of 2^31 reads back negative", 0x80000000, "toInt", 0, readsNegative);
    row("toInt of 2^32 - 1 reads back negative", allOnes, "toInt", 0, readsNegative);
    row("toShort of 0x7FFF", 0x7FFF, "toShort", 0x7FFF, QByteArray());
    row("toShort of 2^15 fails the round trip", 0x8000, "toShort", 0, tooBig);
    row("toShort of 0xFFFF fails the round trip", 0xFFFF, "toShort", 0, tooBig);
    row("toShort of 2^32 - 2^15 - 1 fails the round trip", 0xFFFF7FFF, "toShort", 0, tooBig);
    row("toShort of 2^32 - 2^15 reads back negative", 0xFFFF8000, "toShort", 0, readsNegative);
    row("toShort of 2^32 - 1 reads back negative", allOnes, "toShort", 0, readsNegative);
}

void tst_BigUnsigned::conversions()
{
    QFETCH(Blocks, blocks);
    QFETCH(QByteArray, conversion);
    QFETCH(quint64, expected);
    QFETCH(QByteArray, thrown);

    BigUnsigned x =
            blocks.size() == 1 && blocks[0] == 0 ? BigUnsigned(0x100000000ul) : fromBlocks(blocks);
    QCOMPARE(blocksOf(x), blocks);
    quint64 value = 0;
    QCOMPARE(thrownText([&] {
                 value = convert(x, conversion);
             }),
             thrown);
    QCOMPARE(value, expected);
}

void tst_BigUnsigned::setBlock_data()
{
    QTest::addColumn<Blocks>("before");
    QTest::addColumn<quint32>("index");
    QTest::addColumn<quint32>("block");
    QTest::addColumn<Blocks>("after");
    QTest::addColumn<quint32>("capacity");

    QTest::newRow("zero into the top block trims")
            << Blocks{1, 0, 5} << 2u << 0u << Blocks{1} << 3u;
    QTest::newRow("zero into a middle block")
            << Blocks{1, 2, 5} << 1u << 0u << Blocks{1, 0, 5} << 3u;
    QTest::newRow("zero past the end does nothing") << Blocks{1} << 7u << 0u << Blocks{1} << 1u;
    QTest::newRow("past the end extends with zero blocks")
            << Blocks{1} << 3u << 9u << Blocks{1, 0, 0, 9} << 4u;
    QTest::newRow("into zero") << Blocks{} << 0u << 4u << Blocks{4} << 1u;
    QTest::newRow("overwrite") << Blocks{1, 2} << 0u << 7u << Blocks{7, 2} << 2u;
}

void tst_BigUnsigned::setBlock()
{
    QFETCH(Blocks, before);
    QFETCH(quint32, index);
    QFETCH(quint32, block);
    QFETCH(Blocks, after);
    QFETCH(quint32, capacity);

    BigUnsigned x = fromBlocks(before);
    x.setBlock(index, block);
    QCOMPARE(blocksOf(x), after);
    QCOMPARE(x.getCapacity(), capacity);
}

void tst_BigUnsigned::bits_data()
{
    QTest::addColumn<Blocks>("blocks");
    QTest::addColumn<quint32>("bitLength");
    QTest::addColumn<QVector<quint32>>("setBits");

    QTest::newRow("zero") << Blocks{} << 0u << QVector<quint32>{};
    QTest::newRow("one") << Blocks{1} << 1u << QVector<quint32>{0};
    QTest::newRow("2^31") << Blocks{0x80000000} << 32u << QVector<quint32>{31};
    QTest::newRow("2^32") << Blocks{0, 1} << 33u << QVector<quint32>{32};
    QTest::newRow("2^64 + 5") << Blocks{5, 0, 1} << 65u << QVector<quint32>{0, 2, 64};
    QTest::newRow("2^32 - 1") << Blocks{allOnes} << 32u << [] {
        QVector<quint32> all;
        for (quint32 i = 0; i < 32; i++)
            all << i;
        return all;
    }();
}

void tst_BigUnsigned::bits()
{
    QFETCH(Blocks, blocks);
    QFETCH(quint32, bitLength);
    QFETCH(QVector<quint32>, setBits);

    BigUnsigned x = fromBlocks(blocks);
    QCOMPARE(x.bitLength(), bitLength);
    for (quint32 i = 0; i < bitLength + 70; i++)
        QCOMPARE(x.bitAt(i), setBits.contains(i));
}

void tst_BigUnsigned::setBit_data()
{
    QTest::addColumn<Blocks>("before");
    QTest::addColumn<quint32>("bit");
    QTest::addColumn<bool>("value");
    QTest::addColumn<Blocks>("after");

    QTest::newRow("clearing the top bit shrinks the length")
            << Blocks{5, 0x80000000} << 63u << false << Blocks{5};
    QTest::newRow("clearing the top bit of several zero blocks")
            << Blocks{5, 0, 0, 1} << 96u << false << Blocks{5};
    QTest::newRow("setting bit 100 of zero gives four blocks")
            << Blocks{} << 100u << true << Blocks{0, 0, 0, 16};
    QTest::newRow("setting a set bit") << Blocks{1} << 0u << true << Blocks{1};
    QTest::newRow("clearing a clear bit past the end") << Blocks{1} << 500u << false << Blocks{1};
    QTest::newRow("setting a middle bit") << Blocks{1, 1} << 33u << true << Blocks{1, 3};
}

void tst_BigUnsigned::setBit()
{
    QFETCH(Blocks, before);
    QFETCH(quint32, bit);
    QFETCH(bool, value);
    QFETCH(Blocks, after);

    BigUnsigned x = fromBlocks(before);
    x.setBit(bit, value);
    QCOMPARE(blocksOf(x), after);
}

void tst_BigUnsigned::compare_data()
{
    QTest::addColumn<Blocks>("a");
    QTest::addColumn<Blocks>("b");
    QTest::addColumn<int>("expected");

    QTest::newRow("zero and zero") << Blocks{} << Blocks{} << 0;
    QTest::newRow("zero and one") << Blocks{} << Blocks{1} << -1;
    QTest::newRow("shorter is less") << Blocks{allOnes} << Blocks{0, 1} << -1;
    QTest::newRow("top block decides") << Blocks{allOnes, 2} << Blocks{0, 3} << -1;
    QTest::newRow("lowest block decides") << Blocks{2, 7, 7} << Blocks{1, 7, 7} << 1;
    QTest::newRow("equal") << Blocks{1, 2, 3} << Blocks{1, 2, 3} << 0;
}

void tst_BigUnsigned::compare()
{
    QFETCH(Blocks, a);
    QFETCH(Blocks, b);
    QFETCH(int, expected);

    const BigUnsigned x = fromBlocks(a), y = fromBlocks(b);
    QCOMPARE(int(x.compareTo(y)), expected);
    QCOMPARE(int(y.compareTo(x)), -expected);
    QCOMPARE(x == y, expected == 0);
    QCOMPARE(x != y, expected != 0);
    QCOMPARE(x < y, expected < 0);
    QCOMPARE(x <= y, expected <= 0);
    QCOMPARE(x > y, expected > 0);
    QCOMPARE(x >= y, expected >= 0);
}

void tst_BigUnsigned::addAndSubtract_data()
{
    // Each row a + b = c; the test also checks c - a = b and c - b = a.
    QTest::addColumn<Blocks>("a");
    QTest::addColumn<Blocks>("b");
    QTest::addColumn<Blocks>("c");

    QTest::newRow("zeros") << Blocks{} << Blocks{} << Blocks{};
    QTest::newRow("zero and x") << Blocks{} << Blocks{7, 8} << Blocks{7, 8};
    QTest::newRow("small") << Blocks{2} << Blocks{3} << Blocks{5};
    QTest::newRow("carry into a new block") << Blocks{allOnes} << Blocks{1} << Blocks{0, 1};
    QTest::newRow("carry across many blocks")
            << Blocks{allOnes, allOnes, allOnes, allOnes} << Blocks{1} << Blocks{0, 0, 0, 0, 1};
    QTest::newRow("carry stops inside the longer")
            << Blocks{allOnes, allOnes, 5, 9} << Blocks{1} << Blocks{0, 0, 6, 9};
    QTest::newRow("carry in and out of the same block")
            << Blocks{allOnes, allOnes} << Blocks{allOnes, allOnes}
            << Blocks{allOnes - 1, allOnes, 1};
    QTest::newRow("carry in makes a block wrap")
            << Blocks{allOnes, 5} << Blocks{1, 0xFFFFFFFA} << Blocks{0, 0, 1};
    QTest::newRow("borrow in on an equal block")
            << Blocks{1, 5} << Blocks{allOnes, allOnes} << Blocks{0, 5, 1};
    QTest::newRow("shorter first") << Blocks{1} << Blocks{allOnes, allOnes} << Blocks{0, 0, 1};
    QTest::newRow("no carry") << Blocks{1, 2, 3} << Blocks{4, 5} << Blocks{5, 7, 3};
    QTest::newRow("top blocks cancel on subtraction")
            << Blocks{1} << Blocks{allOnes, allOnes, 7} << Blocks{0, 0, 8};
}

void tst_BigUnsigned::addAndSubtract()
{
    QFETCH(Blocks, a);
    QFETCH(Blocks, b);
    QFETCH(Blocks, c);

    const BigUnsigned x = fromBlocks(a), y = fromBlocks(b);
    BigUnsigned sum;
    sum.add(x, y);
    QCOMPARE(blocksOf(sum), c);
    QCOMPARE(blocksOf(y + x), c);

    BigUnsigned difference;
    difference.subtract(sum, x);
    QCOMPARE(blocksOf(difference), b);
    difference.subtract(sum, y);
    QCOMPARE(blocksOf(difference), a);
    QCOMPARE(blocksOf(sum - sum), Blocks{});
    if (!b.isEmpty()) {
        QCOMPARE(thrownText([&] {
                     difference = x - sum;
                 }),
                 negativeResult);
    }
}

void tst_BigUnsigned::subtractFailureStates()
{
    // The borrow runs off the top: the receiver is left zero.
    BigUnsigned receiver = fromBlocks({9, 9});
    QCOMPARE(thrownText([&] {
                 receiver.subtract(BigUnsigned(3), BigUnsigned(5));
             }),
             negativeResult);
    QVERIFY(receiver.isZero());
    QCOMPARE(receiver.getCapacity(), 2u);

    receiver = fromBlocks({9, 9});
    QCOMPARE(thrownText([&] {
                 receiver.subtract(fromBlocks({0, 4}), fromBlocks({1, 4}));
             }),
             negativeResult);
    QVERIFY(receiver.isZero());

    // The length test fails first: the receiver is untouched.
    receiver = fromBlocks({9, 9});
    QCOMPARE(thrownText([&] {
                 receiver.subtract(BigUnsigned(3), fromBlocks({0, 1}));
             }),
             negativeResult);
    QCOMPARE(blocksOf(receiver), Blocks({9, 9}));

    // Aliased: the routine runs into a temporary, so the receiver is untouched.
    receiver = fromBlocks({3});
    QCOMPARE(thrownText([&] {
                 receiver.subtract(receiver, BigUnsigned(5));
             }),
             negativeResult);
    QCOMPARE(blocksOf(receiver), Blocks({3}));
    QCOMPARE(thrownText([&] {
                 receiver -= BigUnsigned(4);
             }),
             negativeResult);
    QCOMPARE(blocksOf(receiver), Blocks({3}));
}

void tst_BigUnsigned::multiply_data()
{
    QTest::addColumn<Blocks>("a");
    QTest::addColumn<Blocks>("b");
    QTest::addColumn<Blocks>("c");

    QTest::newRow("zero times x") << Blocks{} << Blocks{1, 2} << Blocks{};
    QTest::newRow("x times zero") << Blocks{1, 2} << Blocks{} << Blocks{};
    QTest::newRow("small") << Blocks{6} << Blocks{7} << Blocks{42};
    QTest::newRow("full square of a block")
            << Blocks{allOnes} << Blocks{allOnes} << Blocks{1, allOnes - 1};
    QTest::newRow("carry through the whole product")
            << Blocks{allOnes, allOnes, allOnes} << Blocks{allOnes, allOnes, allOnes}
            << Blocks{1, 0, 0, allOnes - 1, allOnes, allOnes};
    QTest::newRow("by a power of two") << Blocks{3, 1} << Blocks{0, 0, 1} << Blocks{0, 0, 3, 1};
    QTest::newRow("top block of the product stays")
            << Blocks{0, 0x80000000} << Blocks{2} << Blocks{0, 0, 1};
}

void tst_BigUnsigned::multiply()
{
    QFETCH(Blocks, a);
    QFETCH(Blocks, b);
    QFETCH(Blocks, c);

    const BigUnsigned x = fromBlocks(a), y = fromBlocks(b);
    BigUnsigned product;
    product.multiply(x, y);
    QCOMPARE(blocksOf(product), c);
    QCOMPARE(blocksOf(y * x), c);
    if (!x.isZero() && !y.isZero()) {
        QCOMPARE(blocksOf(product / x), b);
        QCOMPARE(blocksOf(product % y), Blocks{});
    }
}

void tst_BigUnsigned::divideWithRemainder_data()
{
    QTest::addColumn<Blocks>("a");
    QTest::addColumn<Blocks>("b");
    QTest::addColumn<Blocks>("quotient");
    QTest::addColumn<Blocks>("remainder");

    QTest::newRow("by zero gives quotient 0, remainder the dividend")
            << Blocks{7, 1} << Blocks{} << Blocks{} << Blocks{7, 1};
    QTest::newRow("zero by zero") << Blocks{} << Blocks{} << Blocks{} << Blocks{};
    QTest::newRow("seven by seven") << Blocks{7} << Blocks{7} << Blocks{1} << Blocks{};
    QTest::newRow("shorter dividend") << Blocks{5} << Blocks{0, 1} << Blocks{} << Blocks{5};
    QTest::newRow("smaller dividend, same length")
            << Blocks{5, 1} << Blocks{6, 1} << Blocks{} << Blocks{5, 1};
    QTest::newRow("small") << Blocks{100} << Blocks{7} << Blocks{14} << Blocks{2};
    QTest::newRow("2^64 by 2^32 - 1")
            << Blocks{0, 0, 1} << Blocks{allOnes} << Blocks{1, 1} << Blocks{1};
    QTest::newRow("2^96 - 1 by 2^32") << Blocks{allOnes, allOnes, allOnes} << Blocks{0, 1}
                                      << Blocks{allOnes, allOnes} << Blocks{allOnes};
    QTest::newRow("borrow through the guard block")
            << Blocks{0, 0, 0x80000000} << Blocks{1, 0, 0x80000000} << Blocks{}
            << Blocks{0, 0, 0x80000000};
    QTest::newRow("equal tops, remainder below")
            << Blocks{allOnes, 5, 0x80000000} << Blocks{3, 0x80000000} << Blocks{0, 1}
            << Blocks{allOnes, 2};
}

void tst_BigUnsigned::divideWithRemainder()
{
    QFETCH(Blocks, a);
    QFETCH(Blocks, b);
    QFETCH(Blocks, quotient);
    QFETCH(Blocks, remainder);

    BigUnsigned r = fromBlocks(a), q = fromBlocks({1, 2, 3});
    r.divideWithRemainder(fromBlocks(b), q);
    QCOMPARE(blocksOf(q), quotient);
    QCOMPARE(blocksOf(r), remainder);
    if (!b.isEmpty()) {
        QCOMPARE(blocksOf(fromBlocks(a) / fromBlocks(b)), quotient);
        QCOMPARE(blocksOf(fromBlocks(a) % fromBlocks(b)), remainder);
        // dividend = quotient * divisor + remainder
        QCOMPARE(blocksOf(q * fromBlocks(b) + r), a);
    }
}

void tst_BigUnsigned::divideReceiverRules()
{
    BigUnsigned x(7);
    QCOMPARE(thrownText([&] {
                 x.divideWithRemainder(BigUnsigned(2), x);
             }),
             QByteArray("BigUnsigned::divideWithRemainder: Cannot write quotient and remainder "
                        "into the same variable"));
    QCOMPARE(blocksOf(x), Blocks({7}));

    BigUnsigned q;
    x = fromBlocks({5, 9});
    x.divideWithRemainder(x, q); // the receiver as its own divisor
    QCOMPARE(blocksOf(q), Blocks({1}));
    QCOMPARE(blocksOf(x), Blocks{});

    BigUnsigned y(100);
    q = BigUnsigned(7);
    y.divideWithRemainder(q, q); // the quotient as the divisor
    QCOMPARE(blocksOf(q), Blocks({14}));
    QCOMPARE(blocksOf(y), Blocks({2}));
}

void tst_BigUnsigned::divisionOperatorsByZero_data()
{
    QTest::addColumn<QByteArray>("operation");
    QTest::addColumn<QByteArray>("thrown");

    QTest::newRow("/") << QByteArray("/")
                       << QByteArray("BigUnsigned::operator /: division by zero");
    QTest::newRow("%") << QByteArray("%")
                       << QByteArray("BigUnsigned::operator %: division by zero");
    QTest::newRow("/=") << QByteArray("/=")
                        << QByteArray("BigUnsigned::operator /=: division by zero");
    QTest::newRow("%=") << QByteArray("%=")
                        << QByteArray("BigUnsigned::operator %=: division by zero");
}

void tst_BigUnsigned::divisionOperatorsByZero()
{
    QFETCH(QByteArray, operation);
    QFETCH(QByteArray, thrown);

    BigUnsigned x(5), zero, result(9);
    QCOMPARE(thrownText([&] {
                 if (operation == "/")
                     result = x / zero;
                 else if (operation == "%")
                     result = x % zero;
                 else if (operation == "/=")
                     x /= zero;
                 else
                     x %= zero;
             }),
             thrown);
    QCOMPARE(blocksOf(x), Blocks({5}));
    QCOMPARE(blocksOf(result), Blocks({9}));
}

void tst_BigUnsigned::bitwise_data()
{
    QTest::addColumn<Blocks>("a");
    QTest::addColumn<Blocks>("b");
    QTest::addColumn<Blocks>("andResult");
    QTest::addColumn<Blocks>("orResult");
    QTest::addColumn<Blocks>("xorResult");

    QTest::newRow("zeros") << Blocks{} << Blocks{} << Blocks{} << Blocks{} << Blocks{};
    QTest::newRow("with zero") << Blocks{5, 6} << Blocks{} << Blocks{} << Blocks{5, 6}
                               << Blocks{5, 6};
    QTest::newRow("and trims") << Blocks{1, 2} << Blocks{1, 1, 1} << Blocks{1} << Blocks{1, 3, 1}
                               << Blocks{0, 3, 1};
    QTest::newRow("xor of equals trims to zero")
            << Blocks{7, 7} << Blocks{7, 7} << Blocks{7, 7} << Blocks{7, 7} << Blocks{};
    QTest::newRow("xor trims the top") << Blocks{1, 2, 3} << Blocks{4, 5, 3} << Blocks{0, 0, 3}
                                       << Blocks{5, 7, 3} << Blocks{5, 7};
}

void tst_BigUnsigned::bitwise()
{
    QFETCH(Blocks, a);
    QFETCH(Blocks, b);
    QFETCH(Blocks, andResult);
    QFETCH(Blocks, orResult);
    QFETCH(Blocks, xorResult);

    const BigUnsigned x = fromBlocks(a), y = fromBlocks(b);
    for (int swapped = 0; swapped < 2; swapped++) {
        const BigUnsigned &l = swapped ? y : x;
        const BigUnsigned &r = swapped ? x : y;
        BigUnsigned result;
        result.bitAnd(l, r);
        QCOMPARE(blocksOf(result), andResult);
        result.bitOr(l, r);
        QCOMPARE(blocksOf(result), orResult);
        result.bitXor(l, r);
        QCOMPARE(blocksOf(result), xorResult);
        QCOMPARE(blocksOf(l & r), andResult);
        QCOMPARE(blocksOf(l | r), orResult);
        QCOMPARE(blocksOf(l ^ r), xorResult);
    }
}

void tst_BigUnsigned::shifts_data()
{
    // Results are exact block lists, non-normal zeros included.
    QTest::addColumn<Blocks>("a");
    QTest::addColumn<int>("n");
    QTest::addColumn<Blocks>("left");
    QTest::addColumn<Blocks>("right");

    QTest::newRow("by 0") << Blocks{5, 6} << 0 << Blocks{5, 6} << Blocks{5, 6};
    QTest::newRow("zero left by 64 keeps two zero blocks")
            << Blocks{} << 64 << Blocks{0, 0} << Blocks{};
    QTest::newRow("zero left by 40 keeps one zero block")
            << Blocks{} << 40 << Blocks{0} << Blocks{};
    QTest::newRow("zero left by 31") << Blocks{} << 31 << Blocks{} << Blocks{};
    QTest::newRow("by one bit") << Blocks{0x80000001} << 1 << Blocks{2, 1} << Blocks{0x40000000};
    QTest::newRow("by a block") << Blocks{5, 6} << 32 << Blocks{0, 5, 6} << Blocks{6};
    QTest::newRow("by a block and a bit") << Blocks{5, 6} << 33 << Blocks{0, 10, 12} << Blocks{3};
    QTest::newRow("right across a block border")
            << Blocks{0, 1} << 1 << Blocks{0, 2} << Blocks{0x80000000};
    QTest::newRow("right by the whole length is zero")
            << Blocks{allOnes, allOnes} << 64 << Blocks{0, 0, allOnes, allOnes} << Blocks{};
    QTest::newRow("right past the length is zero") << Blocks{1} << 40 << Blocks{0, 256} << Blocks{};
    QTest::newRow("negative shifts the other way")
            << Blocks{0, 4} << -33 << Blocks{2} << Blocks{0, 0, 8};
}

void tst_BigUnsigned::shifts()
{
    QFETCH(Blocks, a);
    QFETCH(int, n);
    QFETCH(Blocks, left);
    QFETCH(Blocks, right);

    const BigUnsigned x = fromBlocks(a);
    BigUnsigned result;
    result.bitShiftLeft(x, n);
    QCOMPARE(blocksOf(result), left);
    QCOMPARE(blocksOf(x << n), left);
    result.bitShiftRight(x, n);
    QCOMPARE(blocksOf(result), right);
    QCOMPARE(blocksOf(x >> n), right);
}

void tst_BigUnsigned::pathologicalShifts()
{
    BigUnsigned x(5), result(9);
    QCOMPARE(thrownText([&] {
                 result.bitShiftLeft(x, INT_MIN);
             }),
             QByteArray("BigUnsigned::bitShiftLeft: Pathological shift amount not implemented"));
    QCOMPARE(thrownText([&] {
                 result.bitShiftRight(x, INT_MIN);
             }),
             QByteArray("BigUnsigned::bitShiftRight: Pathological shift amount not implemented"));
    QCOMPARE(thrownText([&] {
                 x <<= INT_MIN;
             }),
             QByteArray("BigUnsigned::bitShiftLeft: Pathological shift amount not implemented"));
    QCOMPARE(blocksOf(result), Blocks({9}));
    QCOMPARE(blocksOf(x), Blocks({5}));

    // The largest amounts still work to the right (the rounding up must not overflow).
    result.bitShiftRight(fromBlocks({allOnes, allOnes}), INT_MAX);
    QVERIFY(result.isZero());
    result.bitShiftLeft(fromBlocks({allOnes, allOnes}), -INT_MAX);
    QVERIFY(result.isZero());
}

void tst_BigUnsigned::incrementAndDecrement_data()
{
    QTest::addColumn<Blocks>("before");
    QTest::addColumn<Blocks>("incremented");

    QTest::newRow("zero") << Blocks{} << Blocks{1};
    QTest::newRow("small") << Blocks{41} << Blocks{42};
    QTest::newRow("2^32 - 1 gains a block") << Blocks{allOnes} << Blocks{0, 1};
    QTest::newRow("carry across blocks") << Blocks{allOnes, allOnes, 3} << Blocks{0, 0, 4};
    QTest::newRow("carry off the top") << Blocks{allOnes, allOnes} << Blocks{0, 0, 1};
}

void tst_BigUnsigned::incrementAndDecrement()
{
    QFETCH(Blocks, before);
    QFETCH(Blocks, incremented);

    BigUnsigned x = fromBlocks(before);
    ++x;
    QCOMPARE(blocksOf(x), incremented);
    --x;
    QCOMPARE(blocksOf(x), before);
    x++;
    QCOMPARE(blocksOf(x), incremented);
    x--;
    QCOMPARE(blocksOf(x), before);
}

void tst_BigUnsigned::decrementZeroThrows()
{
    BigUnsigned zero;
    const QByteArray text = "BigUnsigned::operator --(): Cannot decrement an unsigned zero";
    QCOMPARE(thrownText([&] {
                 --zero;
             }),
             text);
    QCOMPARE(thrownText([&] {
                 zero--;
             }),
             text);
    QVERIFY(zero.isZero());

    BigUnsigned twoToThe32 = fromBlocks({0, 1});
    --twoToThe32; // one block holding 2^32 - 1
    QCOMPARE(blocksOf(twoToThe32), Blocks({allOnes}));
}

void tst_BigUnsigned::aliasing_data()
{
    QTest::addColumn<QByteArray>("operation");
    QTest::addColumn<Blocks>("expected");

    // x is {allOnes, 1}, i.e. 2^33 - 1, in every row.
    QTest::newRow("x.add(x, x)") << QByteArray("add") << Blocks{allOnes - 1, 3};
    QTest::newRow("x.subtract(x, x)") << QByteArray("subtract") << Blocks{};
    QTest::newRow("x.multiply(x, x)") << QByteArray("multiply") << Blocks{1, allOnes - 3, 3};
    QTest::newRow("x.bitAnd(x, x)") << QByteArray("bitAnd") << Blocks{allOnes, 1};
    QTest::newRow("x.bitOr(x, x)") << QByteArray("bitOr") << Blocks{allOnes, 1};
    QTest::newRow("x.bitXor(x, x)") << QByteArray("bitXor") << Blocks{};
    QTest::newRow("x.bitShiftLeft(x, 4)") << QByteArray("bitShiftLeft") << Blocks{allOnes - 15, 31};
    QTest::newRow("x.bitShiftRight(x, 4)") << QByteArray("bitShiftRight") << Blocks{0x1FFFFFFF};
    QTest::newRow("x.add(x, 1)") << QByteArray("add one") << Blocks{0, 2};
    QTest::newRow("x.subtract(x, 1)") << QByteArray("subtract one") << Blocks{allOnes - 1, 1};
    QTest::newRow("x.subtract(y, x), y = 2^34") << QByteArray("subtract from") << Blocks{1, 2};
}

void tst_BigUnsigned::aliasing()
{
    QFETCH(QByteArray, operation);
    QFETCH(Blocks, expected);

    BigUnsigned x = fromBlocks({allOnes, 1});
    const BigUnsigned one(1);
    if (operation == "add")
        x.add(x, x);
    else if (operation == "subtract")
        x.subtract(x, x);
    else if (operation == "multiply")
        x.multiply(x, x);
    else if (operation == "bitAnd")
        x.bitAnd(x, x);
    else if (operation == "bitOr")
        x.bitOr(x, x);
    else if (operation == "bitXor")
        x.bitXor(x, x);
    else if (operation == "bitShiftLeft")
        x.bitShiftLeft(x, 4);
    else if (operation == "bitShiftRight")
        x.bitShiftRight(x, 4);
    else if (operation == "add one")
        x.add(x, one);
    else if (operation == "subtract one")
        x.subtract(x, one);
    else if (operation == "subtract from")
        x.subtract(fromBlocks({0, 4}), x);
    QCOMPARE(blocksOf(x), expected);
}

void tst_BigUnsigned::capacities()
{
    // Results computed into a fresh receiver take exactly the size the algorithm asks for.
    BigUnsigned sum;
    sum.add(fromBlocks({1, 2}), fromBlocks({3}));
    QCOMPARE(sum.getCapacity(), 3u);
    QCOMPARE(sum.getLength(), 2u);

    BigUnsigned product;
    product.multiply(fromBlocks({1, 2}), fromBlocks({3, 4, 5}));
    QCOMPARE(product.getCapacity(), 5u);

    BigUnsigned remainder = fromBlocks({1, 2, 3}), quotient;
    remainder.divideWithRemainder(fromBlocks({7}), quotient);
    QCOMPARE(remainder.getCapacity(), 4u); // the guard block
    QCOMPARE(quotient.getCapacity(), 3u);

    BigUnsigned shifted;
    shifted.bitShiftLeft(fromBlocks({1}), 64);
    QCOMPARE(shifted.getCapacity(), 4u);
    QCOMPARE(shifted.getLength(), 3u);

    // A receiver's array is reused when it is large enough, and never shrinks.
    BigUnsigned big = fromBlocks({1, 2, 3, 4, 5, 6, 7, 8});
    big.add(BigUnsigned(1), BigUnsigned(2));
    QCOMPARE(big.getCapacity(), 8u);
    QCOMPARE(blocksOf(big), Blocks({3}));

    // Aliased: the temporary's result is assigned, keeping the receiver's larger array.
    big.multiply(big, big);
    QCOMPARE(big.getCapacity(), 8u);
    QCOMPARE(blocksOf(big), Blocks({9}));

    BigUnsigned grown(1);
    ++grown;
    QCOMPARE(grown.getCapacity(), 1u);
    grown = fromBlocks({allOnes});
    ++grown;
    QCOMPARE(grown.getCapacity(), 2u);
}

void tst_BigUnsigned::operatorForms()
{
    BigUnsigned x(100);
    x += BigUnsigned(20);
    QCOMPARE(x.toUnsignedInt(), 120u);
    x -= BigUnsigned(20);
    x *= BigUnsigned(3);
    QCOMPARE(x.toUnsignedInt(), 300u);
    x /= BigUnsigned(7);
    QCOMPARE(x.toUnsignedInt(), 42u);
    x %= BigUnsigned(10);
    QCOMPARE(x.toUnsignedInt(), 2u);
    x |= BigUnsigned(5);
    QCOMPARE(x.toUnsignedInt(), 7u);
    x &= BigUnsigned(6);
    QCOMPARE(x.toUnsignedInt(), 6u);
    x ^= BigUnsigned(3);
    QCOMPARE(x.toUnsignedInt(), 5u);
    x <<= 40;
    QCOMPARE(blocksOf(x), Blocks({0, 5 << 8}));
    x >>= 41;
    QCOMPARE(x.toUnsignedInt(), 2u);

    // Division in place by itself, and the quotient kept over the remainder.
    BigUnsigned y = fromBlocks({5, 9});
    const BigUnsigned &itself = y;
    y /= itself;
    QCOMPARE(blocksOf(y), Blocks({1}));
    y = fromBlocks({5, 9});
    y %= itself;
    QCOMPARE(blocksOf(y), Blocks{});
}

void tst_BigUnsigned::exhaustiveAgainstNative()
{
    const QVector<quint64> values = edgeValues();
    int checked = 0;
    for (quint64 a : values) {
        for (quint64 b : values) {
            const BigUnsigned x = fromU64(a), y = fromU64(b);
            const QByteArray where = QByteArray::number(a) + ", " + QByteArray::number(b);
            BigUnsigned r;
            if (a + b >= a) { // no 64-bit overflow
                r.add(x, y);
                QVERIFY2(toU64(r) == a + b && r.getLength() <= 2 && isNormal(r), where);
            }
            if (a >= b) {
                r.subtract(x, y);
                QVERIFY2(toU64(r) == a - b && isNormal(r), where);
            } else {
                QVERIFY2(thrownText([&] {
                             r.subtract(x, y);
                         }) == negativeResult,
                         where);
            }
            if (a <= 0xFFFFFFFFull && b <= 0xFFFFFFFFull) {
                r.multiply(x, y);
                QVERIFY2(toU64(r) == a * b && isNormal(r), where);
            }
            BigUnsigned q;
            r = x;
            r.divideWithRemainder(y, q);
            QVERIFY2(toU64(q) == (b ? a / b : 0) && isNormal(q), where);
            QVERIFY2(toU64(r) == (b ? a % b : a) && isNormal(r), where);
            r.bitAnd(x, y);
            QVERIFY2(toU64(r) == (a & b) && isNormal(r), where);
            r.bitOr(x, y);
            QVERIFY2(toU64(r) == (a | b) && isNormal(r), where);
            r.bitXor(x, y);
            QVERIFY2(toU64(r) == (a ^ b) && isNormal(r), where);
            QVERIFY2(int(x.compareTo(y)) == (a < b ? -1 : (a > b ? 1 : 0)), where);
            const int n = int(b % 64);
            r.bitShiftRight(x, n);
            QVERIFY2(toU64(r) == a >> n && isNormal(r), where);
            if (n == 0 || a >> (64 - n) == 0) {
                r.bitShiftLeft(x, n);
                QVERIFY2(toU64(r) == a << n && (a == 0 || isNormal(r)), where);
            }
            checked++;
        }
    }
    QCOMPARE(checked, values.size() * values.size());
}

QTEST_GUILESS_MAIN(tst_BigUnsigned)
#include "tst_bigunsigned.moc"
