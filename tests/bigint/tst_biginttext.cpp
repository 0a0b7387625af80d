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

    // From digits: zeros on top are dropped; the base is checked before the digits.
    const BigUnsigned none;
    QTest::newRow("digits with zeros on top")
            << Blocks{3, 0, 1, 0, 0} << none << 10 << QByteArray("3,0,1/5") << QByteArray("103");
    QTest::newRow("digit equal to the base")
            << Blocks{1, 10} << none << 10
            << QByteArray("BigUnsignedInABase::BigUnsignedInABase(const Digit *, Index, Base): A "
                          "digit is too large for the specified base")
            << QByteArray();
    QTest::newRow("digits in base 1")
            << Blocks{0} << none << 1
            << QByteArray("BigUnsignedInABase::BigUnsignedInABase(const Digit *, Index, Base): The "
                          "base must be at least 2")
            << QByteArray();
    QTest::newRow("largest base") << Blocks{65534} << none << 65535 << QByteArray("65534/1")
                                  << "BigUnsignedInABase ==> std::string: " + over36;
    // From a number: the capacity is ceil(32 * blocks / m), m the largest with 2^m <= base.
    QTest::newRow("zero") << Blocks{} << none << 10 << QByteArray("/0") << QByteArray("0");
    QTest::newRow("255 in base 16")
            << Blocks{} << BigUnsigned(255) << 16 << QByteArray("15,15/8") << QByteArray("FF");
    QTest::newRow("35 in base 36")
            << Blocks{} << BigUnsigned(35) << 36 << QByteArray("35/7") << QByteArray("Z");
    QTest::newRow("8 in base 3") << Blocks{} << BigUnsigned(8) << 3 << QByteArray("2,2/32")
                                 << QByteArray("22");
    QTest::newRow("2^32 in base 10")
            << Blocks{} << fromBlocks({0, 1}) << 10 << QByteArray("6,9,2,7,6,9,4,9,2,4/22")
            << QByteArray("4294967296");
    QTest::newRow("2^32 in base 65535")
            << Blocks{} << fromBlocks({0, 1}) << 65535 << QByteArray("1,2,1/5")
            << "BigUnsignedInABase ==> std::string: " + over36;
    QTest::newRow("a one-block zero")
            << Blocks{} << BigUnsigned(1ul << 32) << 10 << QByteArray("0/11") << QByteArray("0");
    QTest::newRow("5 in base 37") << Blocks{} << BigUnsigned(5) << 37 << QByteArray("5/7")
                                  << "BigUnsignedInABase ==> std::string: " + over36;
    QTest::newRow("number in base 1")
            << Blocks{} << BigUnsigned(5) << 1
            << QByteArray("BigUnsignedInABase(BigUnsigned, Base): The base must be at least 2")
            << QByteArray();
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
    const QByteArray tooLarge = "BigUnsignedInABase::BigUnsignedInABase(const Digit *, Index, "
                                "Base): A digit is too large for the specified base";
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
}

void tst_BigIntText::parse()
{
    QFETCH(QByteArray, text);
    QFETCH(int, base);
    QFETCH(BigInteger, value);

    BigInteger parsed;
    QTEST(thrownText([&] {
              parsed = base < 0 ? stringToBigInteger(text.toStdString())
                                : BigInteger(BigUnsigned(BigUnsignedInABase(
                                        text.toStdString(), BigUnsignedInABase::Base(base))));
          }),
          "thrown");
    QCOMPARE(parsed, value);
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
