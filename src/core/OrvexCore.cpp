#include "core/OrvexCore.h"

#include <QByteArray>
#include <QDateTime>

#include <array>
#include <cstdio>

namespace Orvex {

namespace {

// Level names of the stand-in's standard-error composers
constexpr std::array<const char *, 7> levelNames = {"fatal", "critical", "error", "warning",
                                                    "info",  "trace",    "debug"};

class StandardErrorComposer final : public TextLineComposer<char>
{
public:
    explicit StandardErrorComposer(const char *levelName) : levelName(levelName) {}

    void writeLine(const std::string &line) override
    {
        const QByteArray stamp =
                QDateTime::currentDateTime().toString(Qt::ISODateWithMs).toLatin1();
        std::fprintf(stderr, "%s %s: %s\n", stamp.constData(), levelName, line.c_str());
    }

private:
    const char *levelName;
};

std::array<TextLineComposer<char> *, levelNames.size()> &composers()
{
    static std::array<StandardErrorComposer, levelNames.size()> standardError = {
            StandardErrorComposer(levelNames[0]), StandardErrorComposer(levelNames[1]),
            StandardErrorComposer(levelNames[2]), StandardErrorComposer(levelNames[3]),
            StandardErrorComposer(levelNames[4]), StandardErrorComposer(levelNames[5]),
            StandardErrorComposer(levelNames[6])};
    static std::array<TextLineComposer<char> *, levelNames.size()> table = {
            &standardError[0], &standardError[1], &standardError[2], &standardError[3],
            &standardError[4], &standardError[5], &standardError[6]};
    return table;
}

bool isKnownLevel(LogLevel level)
{
    return level >= 0 && static_cast<std::size_t>(level) < levelNames.size();
}

} // namespace

TextLineComposer<char>::~TextLineComposer() = default;

TextLineComposer<char> *DefaultLogger(LogLevel level)
{
    return isKnownLevel(level) ? composers()[level] : nullptr;
}

void setDefaultLogger(LogLevel level, TextLineComposer<char> *composer)
{
    if (isKnownLevel(level))
        composers()[level] = composer;
}

namespace Private {

void printQString(std::ostream &out, const QString &text, bool /*continuation*/)
{
    const QByteArray utf8 = text.toUtf8();
    out.write(utf8.constData(), utf8.size());
}

} // namespace Private

} // namespace Orvex
