#ifndef ORVEX_BIGINT_NUMBERTHEORY_H
#define ORVEX_BIGINT_NUMBERTHEORY_H

#include "bigint/BigInteger.h"
#include "bigint/BigUnsigned.h"
#include "orvexsupport_export.h"

/// \addtogroup bigint
/// @{

// Number theory on the integer types, written with their put-result-here operations and division
// with remainder. Stateless; failures throw a const char * text and leave the arguments unchanged.

/// The greatest common divisor; gcd(0, 0) is 0 and gcd(x, 0) is x.
ORVEXSUPPORT_EXPORT BigUnsigned gcd(BigUnsigned a, BigUnsigned b);
/// g is a greatest common divisor with r*m + s*n == g; g is not forced positive. Throws before
/// anything else when two of g, r, s are one object; the outputs are written only at the end.
ORVEXSUPPORT_EXPORT void extendedEuclidean(BigInteger m, BigInteger n, BigInteger &g, BigInteger &r,
                                           BigInteger &s);
/// The inverse of x modulo n, in 0..n-1; throws when x and n have a common factor.
ORVEXSUPPORT_EXPORT BigUnsigned modinv(const BigInteger &x, const BigUnsigned &n);
/// base^exponent reduced modulo `modulus` (a negative base is reduced into 0..modulus-1 first);
/// throws for a zero modulus.
ORVEXSUPPORT_EXPORT BigUnsigned modexp(const BigInteger &base, const BigUnsigned &exponent,
                                       const BigUnsigned &modulus);
/// |base|^exponent, unreduced.
ORVEXSUPPORT_EXPORT BigUnsigned exp(const BigInteger &base, const BigUnsigned &exponent);

/// @}

#endif // ORVEX_BIGINT_NUMBERTHEORY_H
