#ifndef ORVEX_BIGINT_BIGINT_H
#define ORVEX_BIGINT_BIGINT_H

// The whole integer library: unsigned and signed integers, digits in a base, text and streams,
// number theory.
#include "bigint/BigIntText.h"
#include "bigint/BigInteger.h"
#include "bigint/BigUnsigned.h"
#include "bigint/BigUnsignedInABase.h"
#include "bigint/BlockArray.h"
#include "bigint/NumberTheory.h"

#endif // ORVEX_BIGINT_BIGINT_H
