#ifndef ORVEX_BIGINT_BIGUNSIGNEDINABASE_H
#define ORVEX_BIGINT_BIGUNSIGNEDINABASE_H

#include "bigint/BigUnsigned.h"
#include "bigint/BlockArray.h"
#include "orvexsupport_export.h"

#include <string>

/// \addtogroup bigint
/// @{

/// A non-negative number as a little-endian array of 16-bit digits in a base from 2 to 65535: the
/// bridge between BigUnsigned and text.
///
/// Strings use the symbols 0-9 and A-Z (a-z accepted on input), so only bases up to 36 convert to
/// and from text. Failures throw a const char * text. A plain value: one thread at a time.
class ORVEXSUPPORT_EXPORT BigUnsignedInABase : public BlockArray<unsigned short>
{
public:
    /// One digit, below the base.
    typedef unsigned short Digit;
    /// A base from 2 to 65535.
    typedef unsigned short Base;
    /// A digit index, and a length.
    typedef BlockArray<Digit>::Index Index;

    /// From `count` digits, least significant first; zero digits on top are dropped.
    BigUnsignedInABase(const Digit *digits, Index count, Base base);
    /// The digits of x by repeated division. The array is sized once from x's block count.
    BigUnsignedInABase(const BigUnsigned &x, Base base);
    /// Parses symbols, most significant first: no sign, blank, prefix or separator; the empty
    /// string is zero. Only the upper bound of the base is checked here.
    BigUnsignedInABase(const std::string &s, Base base);

    /// The base of the digits.
    Base getBase() const { return base; }

    /// The value of the digits.
    operator BigUnsigned() const;
    /// Upper-case symbols, "0" for zero.
    operator std::string() const;

private:
    Base base;
};

/// @}

#endif // ORVEX_BIGINT_BIGUNSIGNEDINABASE_H
