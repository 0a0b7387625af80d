#include "bigint/BigIntText.h"

#include "bigint/BigUnsignedInABase.h"
#include "bigint/BigUnsignedInABase_p.h"

#include <cstring>

namespace {

// Whether every symbol is a decimal digit, eight at a time: a byte is one when its high half is 3
// and its low half plus 6 stays below 16 (no byte carries into the next). A byte at a time took a
// fifth of the time a 78-digit text takes to read.
bool allDecimal(const std::string &s)
{
    constexpr unsigned long long highHalves = 0xF0F0F0F0F0F0F0F0ull;
    constexpr unsigned long long threes = 0x3030303030303030ull, sixes = 0x0606060606060606ull;
    const char *symbol = s.data();
    std::size_t n = s.size();
    for (; n >= 8; n -= 8, symbol += 8) {
        unsigned long long word;
        std::memcpy(&word, symbol, 8);
        if ((word & highHalves) != threes || ((word + sixes) & highHalves) != threes)
            return false;
    }
    for (; n > 0; n--, symbol++) {
        if (*symbol < '0' || *symbol > '9')
            return false;
    }
    return true;
}

} // namespace

std::string bigUnsignedToString(const BigUnsigned &x)
{
    return std::string(BigUnsignedInABase(x, 10));
}

std::string bigIntegerToString(const BigInteger &x)
{
    const std::string magnitude = bigUnsignedToString(x.getMagnitude());
    return x.getSign() == BigInteger::negative ? "-" + magnitude : magnitude;
}

BigUnsigned stringToBigUnsigned(const std::string &s)
{
    // Text of decimal symbols only is read without the digit array; anything else goes through
    // it, which throws for the first bad symbol from the right.
    if (!allDecimal(s))
        return BigUnsigned(BigUnsignedInABase(s, 10));
    return BaseConversion::valueOfDecimal(s);
}

BigInteger stringToBigInteger(const std::string &s)
{
    // The checking constructor turns "-0" into a zero with the sign zero.
    if (!s.empty() && s[0] == '-')
        return BigInteger(stringToBigUnsigned(s.substr(1)), BigInteger::negative);
    if (!s.empty() && s[0] == '+')
        return BigInteger(stringToBigUnsigned(s.substr(1)));
    return BigInteger(stringToBigUnsigned(s));
}

std::ostream &operator<<(std::ostream &os, const BigUnsigned &x)
{
    const std::ios_base::fmtflags flags = os.flags();
    BigUnsignedInABase::Base base;
    if (flags & std::ios_base::dec) {
        base = 10;
    } else if (flags & std::ios_base::hex) {
        base = 16;
        if (flags & std::ios_base::showbase)
            os << "0x";
    } else if (flags & std::ios_base::oct) {
        base = 8;
        if (flags & std::ios_base::showbase)
            os << "0";
    } else {
        throw "std::ostream << BigUnsigned: Could not determine the desired base from "
              "output-stream "
              "flags";
    }
    os << std::string(BigUnsignedInABase(x, base));
    return os;
}

std::ostream &operator<<(std::ostream &os, const BigInteger &x)
{
    if (x.getSign() == BigInteger::negative)
        os << '-';
    return os << x.getMagnitude();
}
