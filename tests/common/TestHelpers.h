#ifndef ORVEX_TESTS_TESTHELPERS_H
#define ORVEX_TESTS_TESTHELPERS_H

#include <QByteArray>

#include <utility>

// Runs f and returns the text it threw as const char *, or an empty array when it threw nothing.
template <class F>
QByteArray thrownText(F &&f)
{
    try {
        std::forward<F>(f)();
    } catch (const char *message) {
        return QByteArray(message);
    }
    return QByteArray();
}

#endif // ORVEX_TESTS_TESTHELPERS_H
