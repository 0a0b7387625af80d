#include "bigint/BigIntText.h"

#include "bigint/BigUnsignedInABase.h"
#include "bigint/BigUnsignedInABase_p.h"

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
    for (const char symbol : s) {
        if (symbol < '0' || symbol > '9')
            return BigUnsigned(BigUnsignedInABase(s, 10));
    }
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
