#ifndef ORVEX_TESTS_CHECK_H
#define ORVEX_TESTS_CHECK_H

#include <cstdio>
#include <cstdlib>

// A check in code that libFuzzer, the corpus replays and the tests all run: a failure prints what
// failed and aborts, which each of them reports.
inline void check(bool condition, const char *what)
{
    if (condition)
        return;
    std::fprintf(stderr, "check failed: %s\n", what);
    std::abort();
}

// A check that names its own condition.
#define CHECK(condition) check((condition), #condition)

#endif // ORVEX_TESTS_CHECK_H
