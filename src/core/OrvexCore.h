#ifndef ORVEX_CORE_ORVEXCORE_H
#define ORVEX_CORE_ORVEXCORE_H

#include <QString>

#include <ostream>
#include <sstream>
#include <string>

// Stand-in for the part of the suite's core library that the support library calls: the log
// levels, the per-level line composers and the QString printer. The real library is closed; this
// one writes every line to standard error and lets tests and hosts swap a level's composer.
namespace Orvex {

// The support library passes only LogError, LogWarning and LogTrace and never interprets a level.
enum LogLevel : int {
    LogFatal = 0,
    LogCritical = 1,
    LogError = 2,
    LogWarning = 3,
    LogInfo = 4,
    LogTrace = 5,
    LogDebug = 6
};

template <class Char>
class TextLineComposer;

// Collects the text of one line in `stream` and hands finished lines to writeLine().
template <>
class TextLineComposer<char>
{
public:
    virtual ~TextLineComposer();
    // Delivers one finished line, given without a terminator; the destination adds one if needed.
    virtual void writeLine(const std::string &line) = 0;

    // Hands the current line to writeLine() and starts a new, empty line. Defined by the support
    // library, not by the core library.
    void flush();

    bool enabled = true;
    bool atLineStart = true;
    std::ostringstream stream;
};

// The composer serving `level`, or null when the level has none. The core library keeps ownership.
TextLineComposer<char> *DefaultLogger(LogLevel level);

// Replaces the composer of `level`; null silences the level. The caller keeps ownership of
// `composer` and must restore the previous one before destroying it.
void setDefaultLogger(LogLevel level, TextLineComposer<char> *composer);

namespace Private {
// Writes `text` to `out` as UTF-8. `continuation` tells that the line already holds text.
void printQString(std::ostream &out, const QString &text, bool continuation);
} // namespace Private

} // namespace Orvex

#endif // ORVEX_CORE_ORVEXCORE_H
