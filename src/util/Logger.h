#ifndef ORVEX_UTIL_LOGGER_H
#define ORVEX_UTIL_LOGGER_H

#include "core/OrvexCore.h"
#include "orvexsupport_export.h"

#include <QEvent>
#include <QObject>
#include <QString>

namespace Orvex {

/// \addtogroup logger
/// @{

/// One line on its way to the logger. Created on the heap by the posting functions and owned by
/// Qt's event queue, which deletes it after delivery.
class ORVEXSUPPORT_EXPORT LogEvent : public QEvent
{
public:
    /// An event of Qt's user event type carrying text and level.
    LogEvent(const QString &text, LogLevel level);
    ~LogEvent() override;

    /// The composer's level.
    LogLevel level;
    /// The line, without terminator.
    QString text;
};

/// The process-wide asynchronous logger.
///
/// Life cycle:
///  1. The first call of instance() (directly, through init() or through a posting function)
///     constructs the one Logger; the calling thread owns it from then on.
///  2. log(), logErr() and logWarn() may be called from any thread: they only post a LogEvent.
///  3. In the owning thread's event loop, event() writes each line through the core library's
///     composer of its level (DefaultLogger), then flushes that composer.
///  4. The Logger is destroyed at process exit.
///
/// Hosts call init() from the main thread before other threads log, so that lines are written
/// there.
class ORVEXSUPPORT_EXPORT Logger : public QObject
{
public:
    ~Logger() override;

    /// The logger, constructed on first use and owned by the calling thread.
    static Logger *instance();
    /// Constructs the logger in the calling thread, if no thread has yet.
    static void init();
    /// Posts text at level; written when the owning thread's event loop runs. Any thread.
    static void log(const QString &text, LogLevel level);
    /// log() at LogError.
    static void logErr(const QString &text);
    /// log() at LogWarning.
    static void logWarn(const QString &text);

    /// Consumes every event; only LogEvents produce output, and a level without a composer none.
    bool event(QEvent *e) override;

private:
    Logger();
    Q_DISABLE_COPY(Logger)
};

/// @}

} // namespace Orvex

#endif // ORVEX_UTIL_LOGGER_H
