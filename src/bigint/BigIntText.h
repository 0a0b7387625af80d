#ifndef ORVEX_BIGINT_BIGINTTEXT_H
#define ORVEX_BIGINT_BIGINTTEXT_H

#include "bigint/BigInteger.h"
#include "bigint/BigUnsigned.h"
#include "orvexsupport_export.h"

#include <ostream>
#include <string>

/// \addtogroup bigint
/// @{

// Decimal text of the integers, and stream output in the stream's base. The parsers throw the
// texts of BigUnsignedInABase for a bad symbol.

/// Decimal digits.
ORVEXSUPPORT_EXPORT std::string bigUnsignedToString(const BigUnsigned &x);
/// Decimal digits, with a leading "-" for a negative number.
ORVEXSUPPORT_EXPORT std::string bigIntegerToString(const BigInteger &x);
/// Parses decimal digits; throws BigUnsignedInABase's text for a bad symbol.
ORVEXSUPPORT_EXPORT BigUnsigned stringToBigUnsigned(const std::string &s);
/// Parses decimal digits after one leading "-" or "+" at most: a second sign character is a bad
/// symbol.
ORVEXSUPPORT_EXPORT BigInteger stringToBigInteger(const std::string &s);

/// Decimal, hexadecimal or octal as the stream's base flags say, tested in that order, with the
/// "0x" or "0" prefix when the show-base flag is set; letters always upper case. Throws for a
/// stream with no base flag.
ORVEXSUPPORT_EXPORT std::ostream &operator<<(std::ostream &os, const BigUnsigned &x);
/// As for BigUnsigned; the minus sign comes before the prefix.
ORVEXSUPPORT_EXPORT std::ostream &operator<<(std::ostream &os, const BigInteger &x);

/// @}

#endif // ORVEX_BIGINT_BIGINTTEXT_H
