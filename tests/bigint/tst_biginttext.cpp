#include "bigint/BigIntText.h"
#include "bigint/BigUnsignedInABase.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QtTest>

#include <sstream>

namespace {

typedef BigUnsignedInABase D;
const QByteArray over36 = "The default string conversion routines use the symbol set 0-9, A-Z and "
                          "therefore support only up to base 36.  You tried a conversion with a "
                          "base over 36; write your own string conversion routine.";
const QByteArray tooLarge = "BigUnsignedInABase::BigUnsignedInABase(const Digit *, Index, Base): A "
                            "digit is too large for the specified base";

// The digits, least significant first, then the capacity: "15,15/8".
QByteArray digits(const D &x)
{
    QByteArray text;
    for (D::Index i = 0; i < x.getLength(); i++)
        text += (i ? "," : "") + QByteArray::number(x.blockAt(i));
    return text + "/" + QByteArray::number(x.getCapacity());
}

} // namespace

class tst_BigIntText : public QObject
{
    Q_OBJECT

private slots:
    void inABase_data();
    void inABase();
    void parse_data();
    void parse();
    void streams_data();
    void streams();
};

void tst_BigIntText::inABase_data()
{
    QTest::addColumn<Blocks>("from"); // digits, least significant first; empty: from x
    QTest::addColumn<BigUnsigned>("x");
    QTest::addColumn<int>("base");
    QTest::addColumn<QByteArray>("digits"); // or the text thrown
    QTest::addColumn<QByteArray>("text"); // std::string of the digits, or the text thrown

    const auto row = [](const char *what, const Blocks &from, const BigUnsigned &x, int base,
                        const QByteArray &digits, const QByteArray &text = QByteArray()) {
        QTest::newRow(what) << from << x << base << digits << text;
    };
    const QByteArray toText = "BigUnsignedInABase ==> std::string: " + over36;
    // From digits: zeros on top are dropped; the base is checked before the digits.
    row("digits with zeros on top", {3, 0, 1, 0, 0}, 0, 10, "3,0,1/5", "103");
    row("digit equal to the base", {1, 10}, 0, 10, tooLarge);
    row("digits in base 1", {0}, 0, 1,
        "BigUnsignedInABase::BigUnsignedInABase(const Digit *, Index, Base): The base must be at "
        "least 2");
    row("largest base", {65534}, 0, 65535, "65534/1", toText);
    // From a number: the capacity is ceil(32 * blocks / m), m the largest with 2^m <= base.
    row("zero", {}, 0, 10, "/0", "0");
    row("255 in base 16", {}, 255, 16, "15,15/8", "FF");
    row("35 in base 36", {}, 35, 36, "35/7", "Z");
    row("8 in base 3", {}, 8, 3, "2,2/32", "22");
    row("2^32 in base 10", {}, fromBlocks({0, 1}), 10, "6,9,2,7,6,9,4,9,2,4/22", "4294967296");
    row("2^32 in base 65535", {}, fromBlocks({0, 1}), 65535, "1,2,1/5", toText);
    row("a one-block zero", {}, BigUnsigned(1ul << 32), 10, "0/11", "0");
    row("5 in base 37", {}, 5, 37, "5/7", toText);
    row("number in base 1", {}, 5, 1,
        "BigUnsignedInABase(BigUnsigned, Base): The base must be at least 2");
}

void tst_BigIntText::inABase()
{
    QFETCH(Blocks, from);
    QFETCH(BigUnsigned, x);
    QFETCH(int, base);

    const QVector<D::Digit> given(from.begin(), from.end());
    QByteArray shape, text;
    BigUnsigned value;
    const QByteArray thrown = thrownText([&] {
        const D d = from.isEmpty() ? D(x, D::Base(base))
                                   : D(given.constData(), D::Index(given.size()), D::Base(base));
        shape = digits(d);
        value = d;
        text = QByteArray::fromStdString(d);
    });
    QTEST(shape.isEmpty() ? thrown : shape, "digits");
    if (!shape.isEmpty())
        QTEST(text.isEmpty() ? thrown : text, "text");
    if (!shape.isEmpty() && from.isEmpty())
        QCOMPARE(value, fromBlocks(blocksOf(x)));
}

void tst_BigIntText::parse_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("base"); // -1: stringToBigInteger
    QTest::addColumn<BigInteger>("value");
    QTest::addColumn<QByteArray>("thrown");

    // The base is checked first, then the symbols from the right.
    const QByteArray bad = "BigUnsignedInABase(std::string, Base): Bad symbol in input.  Only 0-9, "
                           "A-Z, a-z are accepted.";
    const auto row = [](const char *what, const char *text, int base, const BigInteger &value,
                        const QByteArray &thrown = QByteArray()) {
        QTest::newRow(what) << QByteArray(text) << base << value << thrown;
    };
    row("any case, zeros on top", "00fF", 16, 255);
    row("empty", "", 10, 0);
    row("base 1 takes only zeros", "000", 1, 0);
    row("base 1", "01", 1, 0, tooLarge);
    row("base 0", "0", 0, 0, tooLarge);
    row("base 37", "1", 37, 0, "BigUnsignedInABase(std::string, Base): " + over36);
    row("bad symbol on the right", "z$", 10, 0, bad);
    row("too large on the right", "$z", 10, 0, tooLarge);
    row("minus", "-0012", -1, -12);
    row("plus", "+12", -1, 12);
    row("minus zero has the sign zero", "-0", -1, 0);
    row("sign alone", "-", -1, 0);
    row("two signs", "--1", -1, 0, bad);
    row("symbol just above the digits, in a word of eight", "1234567:", -1, 0, bad);
}

void tst_BigIntText::parse()
{
    QFETCH(QByteArray, text);
    QFETCH(int, base);
    BigInteger parsed;
    QTEST(thrownText([&] {
              parsed = base < 0 ? stringToBigInteger(text.toStdString())
                                : BigInteger(BigUnsigned(BigUnsignedInABase(
                                        text.toStdString(), BigUnsignedInABase::Base(base))));
          }),
          "thrown");
    QTEST(parsed, "value");
}

void tst_BigIntText::streams_data()
{
    QTest::addColumn<BigInteger>("x");
    QTest::addColumn<int>("flags");
    QTest::addColumn<QByteArray>("written"); // then "!" when it threw

    // Decimal, then hexadecimal, then octal; hexadecimal digits are upper case; the sign comes
    // before the prefix; no base flag throws before the prefix.
    const int dec = std::ios_base::dec, hex = std::ios_base::hex, oct = std::ios_base::oct,
              showbase = std::ios_base::showbase;
    QTest::newRow("decimal, show base") << BigInteger(255) << (dec | showbase) << QByteArray("255");
    QTest::newRow("hex") << BigInteger(255) << hex << QByteArray("FF");
    QTest::newRow("hex, show base") << BigInteger(255) << (hex | showbase) << QByteArray("0xFF");
    QTest::newRow("octal, show base") << BigInteger(255) << (oct | showbase) << QByteArray("0377");
    QTest::newRow("decimal and hex") << BigInteger(255) << (dec | hex) << QByteArray("255");
    QTest::newRow("hex and octal")
            << BigInteger(255) << (hex | oct | showbase) << QByteArray("0xFF");
    QTest::newRow("-8 in octal") << BigInteger(-8) << oct << QByteArray("-10");
    QTest::newRow("-255 in hex") << BigInteger(-255) << (hex | showbase) << QByteArray("-0xFF");
    QTest::newRow("zero in octal") << BigInteger() << (oct | showbase) << QByteArray("00");
    QTest::newRow("no base") << BigInteger(-5) << showbase << QByteArray("-!");
}

void tst_BigIntText::streams()
{
    QFETCH(BigInteger, x);
    QFETCH(int, flags);

    std::ostringstream out;
    out.flags(std::ios_base::fmtflags(flags));
    const QByteArray thrown = thrownText([&] {
        out << x;
    });
    QVERIFY(thrown.isEmpty()
            || thrown
                    == "std::ostream << BigUnsigned: Could not determine the desired base from "
                       "output-stream flags");
    QTEST(QByteArray::fromStdString(out.str()) + (thrown.isEmpty() ? "" : "!"), "written");
}

QTEST_GUILESS_MAIN(tst_BigIntText)
#include "tst_biginttext.moc"
