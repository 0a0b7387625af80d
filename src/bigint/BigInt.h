#ifndef ORVEX_BIGINT_BIGINT_H
#define ORVEX_BIGINT_BIGINT_H

// The whole integer library: unsigned and signed integers.
#include "bigint/BigInteger.h"
#include "bigint/BigUnsigned.h"
#include "bigint/BlockArray.h"

#endif // ORVEX_BIGINT_BIGINT_H
