#include "bigint/BigIntText.h"
#include "bigint/BigUnsignedInABase.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/TestHelpers.h"

#include <QtTest>

#include <functional>
#include <sstream>

namespace {

typedef BigUnsignedInABase D;
const QByteArray digitTooLarge = "BigUnsignedInABase::BigUnsignedInABase(const Digit *, Index, "
                                 "Base): A digit is too large for the specified base";
const QByteArray badSymbol = "BigUnsignedInABase(std::string, Base): Bad symbol in input.  Only "
                             "0-9, A-Z, a-z are accepted.";
const QByteArray baseOver36 = "The default string conversion routines use the symbol set 0-9, A-Z "
                              "and therefore support only up to base 36.  You tried a conversion "
                              "with a base over 36; write your own string conversion routine.";
const QByteArray noStreamBase = "std::ostream << BigUnsigned: Could not determine the desired base "
                                "from output-stream flags";

// The digits, least significant first, then the capacity: "15,15/8".
std::string digits(const D &x)
{
    std::string text;
    for (D::Index i = 0; i < x.getLength(); i++)
        text += (i ? "," : "") + std::to_string(x.blockAt(i));
    return text + "/" + std::to_string(x.getCapacity());
}

D fromDigits(std::initializer_list<D::Digit> d, D::Base base)
{
    return D(d.begin(), D::Index(d.size()), base);
}

std::string decimal(const BigUnsigned &x)
{
    return bigUnsignedToString(x);
}

std::string streamed(const BigInteger &x, std::ios_base::fmtflags flags, bool magnitudeOnly)
{
    std::ostringstream out;
    out.flags(flags);
    try {
        if (magnitudeOnly)
            out << x.getMagnitude();
        else
            out << x;
    } catch (const char *) {
        return out.str() + "(thrown)";
    }
    return out.str();
}

struct Case
{
    const char *name;
    std::function<std::string()> run;
    QByteArray thrown;
    std::string result;
};

const std::ios_base::fmtflags dec = std::ios_base::dec, hex = std::ios_base::hex,
                              oct = std::ios_base::oct, showbase = std::ios_base::showbase;

// clang-format off
const QVector<Case> &cases()
{
    static const QVector<Case> all = {
        // Digits: zero digits on top are dropped; the base is checked before the digits.
        {"digits with zeros on top", [] { return digits(fromDigits({3, 0, 1, 0, 0}, 10)); }, {},
         "3,0,1/5"},
        {"digit equal to the base", [] { return digits(fromDigits({1, 10}, 10)); }, digitTooLarge,
         ""},
        {"digits in base 1", [] { return digits(fromDigits({0}, 1)); },
         "BigUnsignedInABase::BigUnsignedInABase(const Digit *, Index, Base): The base must be at "
         "least 2", ""},
        {"largest base", [] { return digits(fromDigits({65534}, 65535)); }, {}, "65534/1"},
        // From a number: the capacity is ceil(32 * blocks / m), m the largest with 2^m <= base.
        {"zero allocates nothing", [] { return digits(D(BigUnsigned(), 10)); }, {}, "/0"},
        {"255 in base 16", [] { return digits(D(BigUnsigned(255), 16)); }, {}, "15,15/8"},
        {"8 in base 3", [] { return digits(D(BigUnsigned(8), 3)); }, {}, "2,2/32"},
        {"2^32 in base 10", [] { return digits(D(fromBlocks({0, 1}), 10)); }, {},
         "6,9,2,7,6,9,4,9,2,4/22"},
        {"2^32 in base 65535", [] { return digits(D(fromBlocks({0, 1}), 65535)); }, {}, "1,2,1/5"},
        {"a one-block zero gives the digit 0", [] { return digits(D(BigUnsigned(1ul << 32), 10)); },
         {}, "0/11"},
        {"number in base 1", [] { return digits(D(BigUnsigned(5), 1)); },
         "BigUnsignedInABase(BigUnsigned, Base): The base must be at least 2", ""},
        // Strings: the first offending symbol from the right decides the text.
        {"ff and FF in base 16", [] { return decimal(D("ff", 16)) + decimal(D("FF", 16)); }, {},
         "255255"},
        {"Z in base 36", [] { return decimal(D("zZ", 36)); }, {}, "1295"},
        {"empty string", [] { return decimal(D("", 10)); }, {}, "0"},
        {"base 37 string", [] { return decimal(D("1", 37)); },
         "BigUnsignedInABase(std::string, Base): " + baseOver36, ""},
        {"12a", [] { return decimal(D("12a", 10)); }, digitTooLarge, ""},
        {"1 2", [] { return decimal(D("1 2", 10)); }, badSymbol, ""},
        {"9_ in base 8", [] { return decimal(D("9_", 8)); }, badSymbol, ""},
        {"_9 in base 8", [] { return decimal(D("_9", 8)); }, digitTooLarge, ""},
        {"base 1 takes zeros", [] { return decimal(D("000", 1)) + std::string(D("", 1)); }, {},
         "00"},
        {"base 0 rejects 0", [] { return decimal(D("0", 0)); }, digitTooLarge, ""},
        {"to string",
         [] { return std::string(D(BigUnsigned(255), 16)) + std::string(D(BigUnsigned(35), 36)); },
         {}, "FFZ"},
        {"base 37 to string", [] { return std::string(D(BigUnsigned(5), 37)); },
         "BigUnsignedInABase ==> std::string: " + baseOver36, ""},
        // Decimal text with a sign.
        {"-(2^96 - 1)", [] {
             const BigUnsigned magnitude = fromBlocks({~0u, ~0u, ~0u});
             return bigIntegerToString(BigInteger(magnitude, BigInteger::negative));
         },
         {}, "-79228162514264337593543950335"},
        {"zero", [] { return decimal(BigUnsigned()) + bigIntegerToString(BigInteger()); }, {},
         "00"},
        {"+42, 007, -0, -000, -, +", [] {
             std::string all;
             for (const char *s : {"+42", "007", "-0", "-000", "-", "+"})
                 all += bigIntegerToString(stringToBigInteger(s))
                         + std::to_string(stringToBigInteger(s).getSign()) + " ";
             return all;
         }, {}, "421 71 00 00 00 00 "},
        {"--5", [] { return bigIntegerToString(stringToBigInteger("--5")); }, badSymbol, ""},
        {"+-5", [] { return bigIntegerToString(stringToBigInteger("+-5")); }, badSymbol, ""},
        {"-1f", [] { return bigIntegerToString(stringToBigInteger("-1f")); }, digitTooLarge, ""},
        // Streams: decimal, then hex, then octal; hex is upper case; the sign before the prefix.
        {"streams", [] {
             std::string all;
             for (auto flags : {dec | showbase, hex, hex | showbase | std::ios_base::uppercase,
                                oct | showbase, dec | hex, hex | oct | showbase})
                 all += streamed(BigInteger(255), flags, true) + " ";
             return all + streamed(BigInteger(-8), oct, false) + " "
                     + streamed(BigInteger(-255), hex | showbase, false) + " "
                     + streamed(BigInteger(), oct | showbase, false);
         }, {}, "255 FF 0xFF 0377 255 0xFF -10 -0xFF 00"},
        {"stream without a base", [] {
             return streamed(BigInteger(5), showbase, true)
                     + streamed(BigInteger(-5), showbase, false);
         }, {}, "(thrown)-(thrown)"},
        {"stream text",
         [] { std::ostringstream out; out.flags(showbase); out << BigUnsigned(5); return ""; },
         noStreamBase, ""},
    };
    return all;
}
// clang-format on

} // namespace

class tst_BigIntText : public QObject
{
    Q_OBJECT

private slots:
    void conversions_data();
    void conversions();
};

void tst_BigIntText::conversions_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < cases().size(); i++)
        QTest::newRow(cases()[i].name) << i;
}

void tst_BigIntText::conversions()
{
    QFETCH(int, index);
    const Case &c = cases()[index];
    std::string result;
    QCOMPARE(thrownText([&] {
                 result = c.run();
             }),
             c.thrown);
    QCOMPARE(result, c.result);
}

QTEST_GUILESS_MAIN(tst_BigIntText)
#include "tst_biginttext.moc"
