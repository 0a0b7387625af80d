#include "util/Logger.h"

#include <QCoreApplication>

namespace Orvex {

LogEvent::LogEvent(const QString &text, LogLevel level)
    : QEvent(QEvent::User), level(level), text(text)
{}

LogEvent::~LogEvent() = default;

Logger::Logger() : QObject(nullptr) {}

Logger::~Logger() = default;

Logger *Logger::instance()
{
    static Logger logger;
    return &logger;
}

void Logger::init()
{
    instance();
}

void Logger::log(const QString &text, LogLevel level)
{
    Logger *logger = instance();
    QCoreApplication::postEvent(logger, new LogEvent(text, level), Qt::NormalEventPriority);
}

void Logger::logErr(const QString &text)
{
    log(text, LogError);
}

void Logger::logWarn(const QString &text)
{
    log(text, LogWarning);
}

bool Logger::event(QEvent *e)
{
    const auto *logEvent = dynamic_cast<const LogEvent *>(e);
    if (!logEvent)
        return true;
    TextLineComposer<char> *composer = DefaultLogger(logEvent->level);
    if (!composer)
        return true;
    try {
        if (composer->enabled) {
            Private::printQString(composer->stream, logEvent->text, !composer->atLineStart);
            composer->atLineStart = false;
        }
    } catch (...) {
        composer->flush();
        throw;
    }
    // Deliberate: a disabled composer is flushed too, so it still receives a (normally empty) line.
    composer->flush();
    return true;
}

} // namespace Orvex
