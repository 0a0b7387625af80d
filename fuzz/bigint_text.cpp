// Text to integers on arbitrary bytes and bases, checked against GMP.
//
// The first byte picks the base: below 0x80 it is that byte modulo 40 (so the bases around 36 and
// the unchecked 0 and 1 come up often), otherwise the next two bytes give any 16-bit base. The rest
// is the text. The expected outcome is worked out here symbol by symbol, independently of the
// library: the value (built with GMP), or the one text that must be thrown. Every accepted input is
// also converted back, and the same bytes go through stringToBigInteger.
#include <bigint/BigIntText.h>
#include <bigint/BigInteger.h>
#include <bigint/BigUnsigned.h>
#include <bigint/BigUnsignedInABase.h>

#include "GmpMirror.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <gmp.h>

namespace {

const char *const baseOver36Text =
        "BigUnsignedInABase(std::string, Base): The default string conversion routines use the "
        "symbol set 0-9, A-Z and therefore support only up to base 36.  You tried a conversion "
        "with a base over 36; write your own string conversion routine.";
const char *const badSymbolText = "BigUnsignedInABase(std::string, Base): Bad symbol in input.  "
                                  "Only 0-9, A-Z, a-z are accepted.";
const char *const digitTooLargeText =
        "BigUnsignedInABase::BigUnsignedInABase(const Digit *, Index, "
        "Base): A digit is too large for the specified base";

int symbolValue(unsigned char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'Z')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 10;
    return -1;
}

// The text the parser must throw for s in base, or null with the value in `value`.
const char *expectedParse(const std::string &s, unsigned base, mpz_t value)
{
    if (base > 36)
        return baseOver36Text;
    for (std::size_t i = s.size(); i-- > 0;) {
        const int digit = symbolValue(static_cast<unsigned char>(s[i]));
        if (digit < 0)
            return badSymbolText;
        if (unsigned(digit) >= base)
            return digitTooLargeText;
    }
    mpz_set_ui(value, 0);
    for (const char c : s) {
        mpz_mul_ui(value, value, base);
        mpz_add_ui(value, value, unsigned(symbolValue(static_cast<unsigned char>(c))));
    }
    return nullptr;
}

std::string upperWithoutLeadingZeros(const std::string &s)
{
    std::size_t first = 0;
    while (first < s.size() && s[first] == '0')
        ++first;
    std::string out;
    for (std::size_t i = first; i < s.size(); ++i)
        out += s[i] >= 'a' && s[i] <= 'z' ? char(s[i] - 'a' + 'A') : s[i];
    return out.empty() ? "0" : out;
}

void checkInABase(const std::string &s, unsigned base)
{
    Mpz expected;
    const char *expectedText = expectedParse(s, base, expected.v);
    try {
        const BigUnsignedInABase digits(s, BigUnsignedInABase::Base(base));
        require(expectedText == nullptr);
        require(digits.getBase() == base);
        // Little-endian digits with no zero on top, each the value of its symbol.
        const std::string plain = upperWithoutLeadingZeros(s);
        const BigUnsignedInABase::Index length = plain == "0" ? 0 : plain.size();
        require(digits.getLength() == length);
        for (BigUnsignedInABase::Index i = 0; i < length; ++i)
            require(digits.blockAt(i)
                    == unsigned(symbolValue(static_cast<unsigned char>(plain[length - 1 - i]))));
        const BigUnsigned number = digits;
        require(isNormal(number));
        require(toMpz(number) == expected);
        require(std::string(digits) == plain);
        if (base >= 2) {
            const BigUnsignedInABase back(number, BigUnsignedInABase::Base(base));
            require(std::string(back) == plain);
        }
    } catch (const char *text) {
        require(expectedText != nullptr && std::strcmp(text, expectedText) == 0);
    }
}

void checkBigInteger(const std::string &s)
{
    std::string digits = s;
    int sign = 1;
    if (!s.empty() && (s[0] == '-' || s[0] == '+')) {
        sign = s[0] == '-' ? -1 : 1;
        digits = s.substr(1);
    }
    Mpz expected;
    const char *expectedText = expectedParse(digits, 10, expected.v);
    try {
        const BigInteger x = stringToBigInteger(s);
        require(expectedText == nullptr);
        if (sign < 0)
            mpz_neg(expected.v, expected.v);
        require(x.getSign() == mpz_sgn(expected.v));
        mpz_abs(expected.v, expected.v);
        require(toMpz(x.getMagnitude()) == expected);
        const std::string decimal = bigIntegerToString(x);
        require(decimal == (x.getSign() < 0 ? "-" : "") + upperWithoutLeadingZeros(digits));
    } catch (const char *text) {
        require(expectedText != nullptr && std::strcmp(text, expectedText) == 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    unsigned base = data[0] % 40;
    std::size_t at = 1;
    if (data[0] & 0x80) {
        if (size < 3)
            return 0;
        base = data[1] | unsigned(data[2]) << 8;
        at = 3;
    }
    const std::string text(reinterpret_cast<const char *>(data + at), size - at);
    try {
        checkInABase(text, base);
        checkBigInteger(text);
    } catch (...) {
        // Anything but the library's own texts is a fault.
        std::abort();
    }
    return 0;
}
