// The integer library against GMP on a program read from libFuzzer's bytes (BigIntDifferential.h).
#include "bigint/BigIntDifferential.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    BigIntDifferential::run(data, size);
    return 0;
}
