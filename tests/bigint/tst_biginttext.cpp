#include "bigint/BigIntText.h"
#include "bigint/BigUnsignedInABase.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QtTest>

#include <sstream>

namespace {

typedef QVector<quint16> Digits;

const QByteArray digitTooLarge = "BigUnsignedInABase::BigUnsignedInABase(const Digit *, Index, "
                                 "Base): A digit is too large for the specified base";
const QByteArray badSymbol = "BigUnsignedInABase(std::string, Base): Bad symbol in input.  Only "
                             "0-9, A-Z, a-z are accepted.";

Digits digitsOf(const BigUnsignedInABase &x)
{
    Digits digits;
    for (BigUnsignedInABase::Index i = 0; i < x.getLength(); i++)
        digits.append(x.blockAt(i));
    return digits;
}

} // namespace

class tst_BigIntText : public QObject
{
    Q_OBJECT

private slots:
    void fromDigits_data();
    void fromDigits();
    void fromNumber_data();
    void fromNumber();
    void fromString_data();
    void fromString();
    void toStringLimits();
    void decimalText_data();
    void decimalText();
    void stringToBigInteger_data();
    void stringToBigInteger();
    void streams_data();
    void streams();
    void streamWithNoBaseThrows();
};

void tst_BigIntText::fromDigits_data()
{
    QTest::addColumn<Digits>("digits");
    QTest::addColumn<quint16>("base");
    QTest::addColumn<Digits>("kept");
    QTest::addColumn<QByteArray>("thrown");

    QTest::newRow("zero digits on top are dropped")
            << Digits{3, 0, 1, 0, 0} << quint16(10) << Digits{3, 0, 1} << QByteArray();
    QTest::newRow("largest base") << Digits{65534} << quint16(65535) << Digits{65534}
                                  << QByteArray();
    QTest::newRow("a digit equal to the base")
            << Digits{1, 10} << quint16(10) << Digits{} << digitTooLarge;
    QTest::newRow("base 1") << Digits{0} << quint16(1) << Digits{}
                            << QByteArray("BigUnsignedInABase::BigUnsignedInABase(const Digit *, "
                                          "Index, Base): The base must be at least 2");
    QTest::newRow("base 0 with no digits") << Digits{} << quint16(0) << Digits{}
                                           << QByteArray("BigUnsignedInABase::BigUnsignedInABase("
                                                         "const Digit *, Index, Base): The base "
                                                         "must be at least 2");
}

void tst_BigIntText::fromDigits()
{
    QFETCH(Digits, digits);
    QFETCH(quint16, base);
    QFETCH(Digits, kept);
    QFETCH(QByteArray, thrown);

    Digits result;
    QCOMPARE(thrownText([&] {
                 BigUnsignedInABase x(digits.constData(), BigUnsignedInABase::Index(digits.size()),
                                      base);
                 QCOMPARE(x.getBase(), base);
                 result = digitsOf(x);
             }),
             thrown);
    QCOMPARE(result, kept);
}

void tst_BigIntText::fromNumber_data()
{
    QTest::addColumn<Blocks>("blocks");
    QTest::addColumn<quint16>("base");
    QTest::addColumn<Digits>("digits");
    QTest::addColumn<quint32>("capacity");

    // The capacity is ceil(32 * blocks / m) for the largest m with 2^m <= base.
    QTest::newRow("zero allocates nothing") << Blocks{} << quint16(10) << Digits{} << 0u;
    QTest::newRow("255 in base 16") << Blocks{255} << quint16(16) << Digits{15, 15} << 8u;
    QTest::newRow("255 in base 36") << Blocks{255} << quint16(36) << Digits{3, 7} << 7u;
    QTest::newRow("2^32 in base 10")
            << Blocks{0, 1} << quint16(10) << Digits{6, 9, 2, 7, 6, 9, 4, 9, 2, 4} << 22u;
    QTest::newRow("5 in base 2") << Blocks{5} << quint16(2) << Digits{1, 0, 1} << 32u;
    QTest::newRow("base 3 counts one bit a digit")
            << Blocks{8} << quint16(3) << Digits{2, 2} << 32u;
    QTest::newRow("base 65535") << Blocks{0, 1} << quint16(65535) << Digits{1, 2, 1} << 5u;
}

void tst_BigIntText::fromNumber()
{
    QFETCH(Blocks, blocks);
    QFETCH(quint16, base);
    QFETCH(Digits, digits);
    QFETCH(quint32, capacity);

    const BigUnsignedInABase x(fromBlocks(blocks), base);
    QCOMPARE(digitsOf(x), digits);
    QCOMPARE(x.getCapacity(), capacity);
    QCOMPARE(blocksOf(BigUnsigned(x)), blocks);

    QCOMPARE(thrownText([&] {
                 BigUnsignedInABase(fromBlocks(blocks), 1);
             }),
             QByteArray("BigUnsignedInABase(BigUnsigned, Base): The base must be at least 2"));
}

void tst_BigIntText::fromString_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<quint16>("base");
    QTest::addColumn<Blocks>("value");
    QTest::addColumn<QByteArray>("thrown");

    QTest::newRow("lower case hex")
            << QByteArray("ff") << quint16(16) << Blocks{255} << QByteArray();
    QTest::newRow("upper case hex")
            << QByteArray("FF") << quint16(16) << Blocks{255} << QByteArray();
    QTest::newRow("leading zeros")
            << QByteArray("0007") << quint16(10) << Blocks{7} << QByteArray();
    QTest::newRow("empty is zero") << QByteArray("") << quint16(10) << Blocks{} << QByteArray();
    QTest::newRow("base 2") << QByteArray("100000000000000000000000000000000") << quint16(2)
                            << Blocks{0, 1} << QByteArray();
    QTest::newRow("base 36, Z is 35")
            << QByteArray("zZ") << quint16(36) << Blocks{35 * 36 + 35} << QByteArray();
    QTest::newRow("base 37") << QByteArray("1") << quint16(37) << Blocks{}
                             << QByteArray("BigUnsignedInABase(std::string, Base): The default "
                                           "string conversion routines use the symbol set 0-9, "
                                           "A-Z and therefore support only up to base 36.  You "
                                           "tried a conversion with a base over 36; write your "
                                           "own string conversion routine.");
    QTest::newRow("symbol too large for the base")
            << QByteArray("12a") << quint16(10) << Blocks{} << digitTooLarge;
    QTest::newRow("blank") << QByteArray("1 2") << quint16(10) << Blocks{} << badSymbol;
    QTest::newRow("sign") << QByteArray("-1") << quint16(10) << Blocks{} << badSymbol;
    QTest::newRow("first offending symbol from the right decides (bad)")
            << QByteArray("9_") << quint16(8) << Blocks{} << badSymbol;
    QTest::newRow("first offending symbol from the right decides (too large)")
            << QByteArray("_9") << quint16(8) << Blocks{} << digitTooLarge;
    QTest::newRow("base 1 takes zeros")
            << QByteArray("000") << quint16(1) << Blocks{} << QByteArray();
    QTest::newRow("base 1 rejects 1") << QByteArray("1") << quint16(1) << Blocks{} << digitTooLarge;
    QTest::newRow("base 0 rejects 0") << QByteArray("0") << quint16(0) << Blocks{} << digitTooLarge;
}

void tst_BigIntText::fromString()
{
    QFETCH(QByteArray, text);
    QFETCH(quint16, base);
    QFETCH(Blocks, value);
    QFETCH(QByteArray, thrown);

    Blocks result;
    QCOMPARE(thrownText([&] {
                 result = blocksOf(BigUnsigned(BigUnsignedInABase(text.toStdString(), base)));
             }),
             thrown);
    QCOMPARE(result, value);
}

void tst_BigIntText::toStringLimits()
{
    QCOMPARE(std::string(BigUnsignedInABase(BigUnsigned(255), 16)), std::string("FF"));
    QCOMPARE(std::string(BigUnsignedInABase(BigUnsigned(35), 36)), std::string("Z"));
    QCOMPARE(std::string(BigUnsignedInABase(BigUnsigned(), 36)), std::string("0"));
    QCOMPARE(std::string(BigUnsignedInABase("", 1)), std::string("0"));
    QCOMPARE(thrownText([] {
                 (void)std::string(BigUnsignedInABase(BigUnsigned(5), 37));
             }),
             QByteArray("BigUnsignedInABase ==> std::string: The default string conversion "
                        "routines use the symbol set 0-9, A-Z and therefore support only up to "
                        "base 36.  You tried a conversion with a base over 36; write your own "
                        "string conversion routine."));
}

void tst_BigIntText::decimalText_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<Blocks>("magnitude");
    QTest::addColumn<bool>("negative");

    QTest::newRow("zero") << QByteArray("0") << Blocks{} << false;
    QTest::newRow("-255") << QByteArray("-255") << Blocks{255} << true;
    QTest::newRow("2^64") << QByteArray("18446744073709551616") << Blocks{0, 0, 1} << false;
    QTest::newRow("-(2^96 - 1)") << QByteArray("-79228162514264337593543950335")
                                 << Blocks{0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF} << true;
}

void tst_BigIntText::decimalText()
{
    QFETCH(QByteArray, text);
    QFETCH(Blocks, magnitude);
    QFETCH(bool, negative);

    const BigInteger x(fromBlocks(magnitude),
                       negative ? BigInteger::negative : BigInteger::positive);
    QCOMPARE(QByteArray::fromStdString(bigIntegerToString(x)), text);
    QVERIFY(::stringToBigInteger(text.toStdString()) == x);
    if (!negative) {
        QCOMPARE(QByteArray::fromStdString(bigUnsignedToString(fromBlocks(magnitude))), text);
        QCOMPARE(blocksOf(stringToBigUnsigned(text.toStdString())), magnitude);
    }
}

void tst_BigIntText::stringToBigInteger_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<qint64>("value");
    QTest::addColumn<QByteArray>("thrown");

    QTest::newRow("plus") << QByteArray("+42") << 42ll << QByteArray();
    QTest::newRow("minus") << QByteArray("-42") << -42ll << QByteArray();
    QTest::newRow("minus zero") << QByteArray("-0") << 0ll << QByteArray();
    QTest::newRow("minus zeros") << QByteArray("-000") << 0ll << QByteArray();
    QTest::newRow("lone minus") << QByteArray("-") << 0ll << QByteArray();
    QTest::newRow("lone plus") << QByteArray("+") << 0ll << QByteArray();
    QTest::newRow("empty") << QByteArray("") << 0ll << QByteArray();
    QTest::newRow("leading zeros") << QByteArray("007") << 7ll << QByteArray();
    QTest::newRow("two minus signs") << QByteArray("--5") << 0ll << badSymbol;
    QTest::newRow("plus then minus") << QByteArray("+-5") << 0ll << badSymbol;
    QTest::newRow("sign after a digit") << QByteArray("5-") << 0ll << badSymbol;
    QTest::newRow("hex letter") << QByteArray("-1f") << 0ll << digitTooLarge;
}

void tst_BigIntText::stringToBigInteger()
{
    QFETCH(QByteArray, text);
    QFETCH(qint64, value);
    QFETCH(QByteArray, thrown);

    BigInteger result;
    QCOMPARE(thrownText([&] {
                 result = ::stringToBigInteger(text.toStdString());
             }),
             thrown);
    QVERIFY(result == fromI64(value));
    QCOMPARE(int(result.getSign()), value < 0 ? -1 : (value > 0 ? 1 : 0));
}

void tst_BigIntText::streams_data()
{
    QTest::addColumn<qint64>("value");
    QTest::addColumn<int>("flags");
    QTest::addColumn<QByteArray>("text");

    const int dec = std::ios_base::dec, hex = std::ios_base::hex, oct = std::ios_base::oct,
              showbase = std::ios_base::showbase, uppercase = std::ios_base::uppercase;
    QTest::newRow("decimal") << 255ll << dec << QByteArray("255");
    QTest::newRow("decimal ignores show-base") << 255ll << (dec | showbase) << QByteArray("255");
    QTest::newRow("hex") << 255ll << hex << QByteArray("FF");
    QTest::newRow("hex with show-base") << 255ll << (hex | showbase) << QByteArray("0xFF");
    QTest::newRow("hex is upper case without the flag")
            << 171ll << (hex | uppercase) << QByteArray("AB");
    QTest::newRow("octal") << 255ll << oct << QByteArray("377");
    QTest::newRow("octal with show-base") << 255ll << (oct | showbase) << QByteArray("0377");
    QTest::newRow("decimal wins over hex") << 255ll << (dec | hex) << QByteArray("255");
    QTest::newRow("hex wins over octal") << 255ll << (hex | oct | showbase) << QByteArray("0xFF");
    QTest::newRow("negative octal") << -8ll << oct << QByteArray("-10");
    QTest::newRow("negative hex: sign before the prefix")
            << -255ll << (hex | showbase) << QByteArray("-0xFF");
    QTest::newRow("zero in octal with show-base") << 0ll << (oct | showbase) << QByteArray("00");
    QTest::newRow("negative decimal") << -1234567890123ll << dec << QByteArray("-1234567890123");
}

void tst_BigIntText::streams()
{
    QFETCH(qint64, value);
    QFETCH(int, flags);
    QFETCH(QByteArray, text);

    std::ostringstream signedOut;
    signedOut.flags(std::ios_base::fmtflags(flags));
    QVERIFY(&(signedOut << fromI64(value)) == &signedOut);
    QCOMPARE(QByteArray::fromStdString(signedOut.str()), text);
    if (value >= 0) {
        std::ostringstream unsignedOut;
        unsignedOut.flags(std::ios_base::fmtflags(flags));
        unsignedOut << fromI64(value).getMagnitude();
        QCOMPARE(QByteArray::fromStdString(unsignedOut.str()), text);
    }
}

void tst_BigIntText::streamWithNoBaseThrows()
{
    std::ostringstream out;
    out.flags(std::ios_base::showbase);
    QCOMPARE(thrownText([&] {
                 out << BigUnsigned(5);
             }),
             QByteArray("std::ostream << BigUnsigned: Could not determine the desired base from "
                        "output-stream flags"));
    QCOMPARE(thrownText([&] {
                 out << BigInteger(-5);
             }),
             QByteArray("std::ostream << BigUnsigned: Could not determine the desired base from "
                        "output-stream flags"));
    QCOMPARE(out.str(), std::string("-")); // no prefix; the sign was written before the throw
}

QTEST_GUILESS_MAIN(tst_BigIntText)
#include "tst_biginttext.moc"
