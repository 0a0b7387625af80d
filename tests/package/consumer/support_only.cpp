// A host program that uses only the integers: it links the support library and calls nothing of
// the core library, so only the support library's own run path can find its sibling.
#include <bigint/BigIntText.h>
#include <bigint/NumberTheory.h>
#include <orvexsupport_version.h>

#include <cstdio>
#include <string>

#if ORVEXSUPPORT_VERSION < ORVEXSUPPORT_VERSION_CHECK(0, 1, 0)
#    error "the support library's version header is missing or wrong"
#endif

int main()
{
    const std::string power = bigIntegerToString(exp(BigInteger(2), BigUnsigned(100)));
    if (power != "1267650600228229401496703205376") {
        std::fprintf(stderr, "unexpected: %s\n", power.c_str());
        return 1;
    }
    std::printf("support only ok (%s)\n", ORVEXSUPPORT_VERSION_STRING);
    return 0;
}
