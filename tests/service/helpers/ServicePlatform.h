#ifndef ORVEX_TESTS_SERVICEPLATFORM_H
#define ORVEX_TESTS_SERVICEPLATFORM_H

// What the service tests need of the platform, in POSIX terms only: whether a process has ended,
// and (in the test service, which defines ORVEX_CAPTURE_SYSLOG) the syslog calls it makes.

#include <QByteArray>
#include <QProcess>

#include <cerrno>
#include <csignal>

// True once pid names no process, or a zombie: a detached service is reaped by whoever adopted
// it, which may never happen in a container.
inline bool processGone(qint64 pid)
{
    if (::kill(pid_t(pid), 0) != 0 && errno == ESRCH)
        return true;
    QProcess ps;
    ps.start(QStringLiteral("ps"), {"-o", "state=", "-p", QString::number(pid)});
    ps.waitForFinished(5000);
    const QByteArray state = ps.readAllStandardOutput().trimmed();
    return state.isEmpty() || state.startsWith('Z');
}

#ifdef ORVEX_CAPTURE_SYSLOG
#  include <cstdarg>
#  include <cstring>

#  include <syslog.h>

// Receives one line per captured call; defined by the program that captures.
void record(const QByteArray &line);

namespace {

void recordCall(int priority, const char *format, va_list arguments)
{
    // Anything but the fixed "%s" format is recorded as such, so a test sees it.
    const QByteArray text = std::strcmp(format, "%s") == 0
            ? QByteArray(va_arg(arguments, const char *))
            : QByteArray("format ") + format;
    record("syslog " + QByteArray::number(priority) + " " + text);
}

} // namespace

// Captured at the process boundary: the library's calls resolve to these definitions.
extern "C" {

void openlog(const char *ident, int option, int facility)
{
    record("openlog " + QByteArray(ident) + " " + QByteArray::number(option) + " "
           + QByteArray::number(facility));
}

void syslog(int priority, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    recordCall(priority, format, arguments);
    va_end(arguments);
}

#  ifdef ORVEX_HAVE_SYSLOG_CHK
// What a library built with _FORTIFY_SOURCE calls instead of syslog() on glibc.
void __syslog_chk(int priority, int, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    recordCall(priority, format, arguments);
    va_end(arguments);
}
#  endif

void closelog()
{
    record("closelog");
}

} // extern "C"
#endif // ORVEX_CAPTURE_SYSLOG

#endif // ORVEX_TESTS_SERVICEPLATFORM_H
