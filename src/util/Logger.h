#ifndef ORVEX_UTIL_LOGGER_H
#define ORVEX_UTIL_LOGGER_H

#include "core/OrvexCore.h"

#include <QEvent>
#include <QObject>
#include <QString>

namespace Orvex {

// One line on its way to the logger. Created on the heap by the posting functions and owned by
// Qt's event queue, which deletes it after delivery.
class LogEvent : public QEvent
{
public:
    LogEvent(const QString &text, LogLevel level);
    ~LogEvent() override;

    LogLevel level;
    QString text;
};

// The process-wide asynchronous logger.
//
// Life cycle:
//  1. The first call of instance() (directly, through init() or through a posting function)
//     constructs the one Logger; the calling thread owns it from then on.
//  2. log(), logErr() and logWarn() may be called from any thread: they only post a LogEvent.
//  3. In the owning thread's event loop, event() writes each line through the core library's
//     composer of its level (DefaultLogger), then flushes that composer.
//  4. The Logger is destroyed at process exit.
// Hosts call init() from the main thread before other threads log, so that lines are written there.
class Logger : public QObject
{
public:
    ~Logger() override;

    static Logger *instance();
    static void init();
    static void log(const QString &text, LogLevel level);
    static void logErr(const QString &text);
    static void logWarn(const QString &text);

    // Consumes every event; only LogEvents produce output.
    bool event(QEvent *e) override;

private:
    Logger();
    Q_DISABLE_COPY(Logger)
};

} // namespace Orvex

#endif // ORVEX_UTIL_LOGGER_H
