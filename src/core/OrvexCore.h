#ifndef ORVEX_CORE_ORVEXCORE_H
#define ORVEX_CORE_ORVEXCORE_H

#include "orvexcore_export.h"

#include <QString>

#include <ostream>
#include <sstream>
#include <string>

/// The suite's own classes and functions: the core library's log levels and composers, and this
/// library's message client, logger, DOM visitor and helpers.
///
/// The core library part here is a stand-in for the closed original: it writes every line to
/// standard error and lets tests and hosts swap a level's composer.
namespace Orvex {

/// \addtogroup core
/// @{

/// The core library's log levels. The support library passes only LogError, LogWarning and
/// LogTrace and never interprets a level.
enum LogLevel : int {
    LogFatal = 0,
    LogCritical = 1,
    LogError = 2,
    LogWarning = 3,
    LogInfo = 4,
    LogTrace = 5,
    LogDebug = 6
};

/// A line composer per character type; only `char` is defined.
template <class Char>
class TextLineComposer;

/// Collects the text of one line in `stream` and hands finished lines to writeLine().
///
/// The core library owns the composer of each level (see DefaultLogger()); the logger uses a
/// composer only from its own thread.
template <>
class ORVEXCORE_EXPORT TextLineComposer<char>
{
public:
    /// Virtual so that a host's composer is destroyed through this base.
    virtual ~TextLineComposer();
    /// Delivers one finished line, given without a terminator; the destination adds one if needed.
    virtual void writeLine(const std::string &line) = 0;

    /// Hands the current line to writeLine() and starts a new, empty line. Defined by the support
    /// library, not by the core library.
    void flush();

    /// When false, the logger adds no text to the line, yet still flushes it.
    bool enabled = true;
    /// True until the logger has added text to the current line.
    bool atLineStart = true;
    /// The text of the current line.
    std::ostringstream stream;
};

/// The composer serving `level`, or null when the level has none. The core library keeps ownership.
ORVEXCORE_EXPORT TextLineComposer<char> *DefaultLogger(LogLevel level);

/// Replaces the composer of `level`; null silences the level. The caller keeps ownership of
/// `composer` and must restore the previous one before destroying it.
ORVEXCORE_EXPORT void setDefaultLogger(LogLevel level, TextLineComposer<char> *composer);

/// The core library's internal helpers, which this library calls too; not for hosts.
namespace Private {
/// Writes `text` to `out` as UTF-8. `continuation` tells that the line already holds text.
ORVEXCORE_EXPORT void printQString(std::ostream &out, const QString &text, bool continuation);
} // namespace Private

/// @}

} // namespace Orvex

#endif // ORVEX_CORE_ORVEXCORE_H
