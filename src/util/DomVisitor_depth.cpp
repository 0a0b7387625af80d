#include "util/DomVisitor_p.h"

#include <QHash>
#include <QSet>

#include <algorithm>

#include <pthread.h>

namespace Orvex {
namespace DomDepth {

namespace {

// The calling thread's stack

// Qt 5.15's parser recurses once per element level, and freeing the parsed tree does too: about
// 340 bytes of stack per level on x86-64, so an 8 MiB stack parses 24,000 levels and overflows at
// 25,000. The bound allows half as much again for other builds of Qt.
constexpr qint64 stackPerLevel = 512;
// Kept free below the parse for the callbacks, the C library and signal handlers.
constexpr qint64 stackReserve = 64 * 1024;
// Assumed when the platform cannot tell: the smallest default stack of a secondary thread on the
// platforms the library ships on.
constexpr qint64 fallbackStack = 512 * 1024;

// Bytes of stack left below the caller, or -1 when the platform cannot tell.
qint64 remainingStack()
{
    // The frame address rather than a local's: a sanitizer may keep locals off the stack.
    const auto here = reinterpret_cast<quintptr>(__builtin_frame_address(0));
    quintptr lowest = 0;
    quintptr size = 0;
#if defined(ORVEX_HAVE_PTHREAD_GETATTR_NP)
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0)
        return -1;
    void *address = nullptr;
    size_t bytes = 0;
    const bool known = pthread_attr_getstack(&attributes, &address, &bytes) == 0;
    pthread_attr_destroy(&attributes);
    if (!known)
        return -1;
    lowest = reinterpret_cast<quintptr>(address);
    size = bytes;
#elif defined(ORVEX_HAVE_PTHREAD_GET_STACKSIZE_NP)
    // This query gives the top of the stack, which grows down from there.
    size = pthread_get_stacksize_np(pthread_self());
    lowest = reinterpret_cast<quintptr>(pthread_get_stackaddr_np(pthread_self())) - size;
#else
    return -1;
#endif
    // On a stack the query does not describe (a signal or coroutine stack) nothing is known.
    if (here < lowest || here - lowest > size)
        return -1;
    return qint64(here - lowest);
}

// The document's text

// Parameter entities expanded within parameter entities, and entities analysed within entities,
// before the scan stops following them.
constexpr int maxExpansionLevels = 64;
// Characters of parameter-entity text the scan expands in all before it stops following them.
constexpr qint64 expansionBudget = 1 << 20;
// The parser refuses an entity whose replacement grows past 4096 characters, so no reference it
// accepts opens as many levels. Counted for each reference the scan could not follow.
constexpr qint64 untrackedEntityLevels = 4096;

// What a run of content does to the element nesting: the highest level it reaches above where it
// starts (a self-closing element counts while it is open) and the level it ends at.
struct Nesting
{
    qint64 rise = 0;
    qint64 net = 0;
};

bool isSpace(QChar c)
{
    return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n')
            || c == QLatin1Char('\r');
}

bool isQuote(QChar c)
{
    return c == QLatin1Char('"') || c == QLatin1Char('\'');
}

// Where a skipped region ends: just past the first `end` at or after `at`, or the end of the text.
// Regions end as early as they can, so that nothing the parser reads as markup is skipped.
int skipPast(const QString &text, int at, QLatin1String end)
{
    const int found = text.indexOf(end, at);
    return found < 0 ? text.size() : found + end.size();
}

// Just past the '>' that closes the declaration at `at`, quoted literals skipped.
int skipDeclaration(const QString &text, int at)
{
    while (at < text.size()) {
        const QChar c = text.at(at);
        if (c == QLatin1Char('>'))
            return at + 1;
        if (isQuote(c)) {
            const int close = text.indexOf(c, at + 1);
            at = close < 0 ? text.size() : close + 1;
        } else {
            ++at;
        }
    }
    return at;
}

// Just past the start tag whose name begins at `at`; a value may hold '>' but never '<', and a
// '<' ends the tag where the parser gives up on it.
int skipStartTag(const QString &text, int at, bool &selfClosing)
{
    QChar previous;
    while (at < text.size()) {
        const QChar c = text.at(at);
        if (c == QLatin1Char('<'))
            return at;
        if (c == QLatin1Char('>')) {
            selfClosing = previous == QLatin1Char('/');
            return at + 1;
        }
        if (isQuote(c)) {
            int close = at + 1;
            while (close < text.size() && text.at(close) != c && text.at(close) != QLatin1Char('<'))
                ++close;
            if (close < text.size() && text.at(close) == QLatin1Char('<'))
                return close;
            at = close + 1;
        } else {
            ++at;
        }
        previous = c;
    }
    return at;
}

// The index of the ';' ending a reference whose name starts at `at`, or -1.
int referenceEnd(const QString &text, int at)
{
    for (int i = at; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == QLatin1Char(';'))
            return i > at ? i : -1;
        if (isSpace(c) || isQuote(c) || c == QLatin1Char('<') || c == QLatin1Char('&')
            || c == QLatin1Char('%') || c == QLatin1Char('>'))
            return -1;
    }
    return -1;
}

bool isPredefined(const QString &name)
{
    return name == QLatin1String("lt") || name == QLatin1String("gt")
            || name == QLatin1String("amp") || name == QLatin1String("apos")
            || name == QLatin1String("quot");
}

// Follows the document's internal subset far enough to know what each entity's replacement text
// opens: its declarations, character references in entity values (which may spell out markup)
// and parameter entities (which may declare entities).
class Scanner
{
public:
    qint64 documentDepth(const QString &xml) { return content(xml, true).rise; }

private:
    Nesting content(const QString &text, bool document);
    int doctype(const QString &text, int at);
    int subset(const QString &text, int at, int level);
    int entityDeclaration(const QString &text, int at);
    QString replacement(const QString &literal);
    Nesting reference(const QString &name);

    // Replacement texts, character and parameter-entity references resolved; the first
    // declaration of a name holds.
    QHash<QString, QString> generalEntities;
    QHash<QString, QString> parameterEntities;
    QHash<QString, Nesting> analysed;
    QSet<QString> analysing;
    qint64 budget = expansionBudget;
};

Nesting Scanner::content(const QString &text, bool document)
{
    Nesting result;
    qint64 depth = 0;
    int at = 0;
    while (at < text.size()) {
        const QChar c = text.at(at);
        const QChar next = at + 1 < text.size() ? text.at(at + 1) : QChar();
        if (c == QLatin1Char('<')) {
            if (next == QLatin1Char('/')) {
                --depth;
                at = skipPast(text, at + 2, QLatin1String(">"));
            } else if (next == QLatin1Char('?')) {
                at = skipPast(text, at + 1, QLatin1String("?>"));
            } else if (text.midRef(at, 4) == QLatin1String("<!--")) {
                at = skipPast(text, at + 2, QLatin1String("-->"));
            } else if (text.midRef(at, 9) == QLatin1String("<![CDATA[")) {
                at = skipPast(text, at + 9, QLatin1String("]]>"));
            } else if (document && text.midRef(at, 9) == QLatin1String("<!DOCTYPE")) {
                at = doctype(text, at + 9);
            } else if (next == QLatin1Char('!')) {
                at = skipDeclaration(text, at + 2);
            } else {
                bool selfClosing = false;
                at = skipStartTag(text, at + 1, selfClosing);
                result.rise = std::max(result.rise, depth + 1);
                if (!selfClosing)
                    ++depth;
            }
        } else if (c == QLatin1Char('&') && next != QLatin1Char('#')) {
            const int end = referenceEnd(text, at + 1);
            if (end < 0) {
                ++at;
                continue;
            }
            const Nesting inner = reference(text.mid(at + 1, end - at - 1));
            result.rise = std::max(result.rise, depth + inner.rise);
            depth += inner.net;
            at = end + 1;
        } else {
            ++at;
        }
    }
    result.net = depth;
    return result;
}

int Scanner::doctype(const QString &text, int at)
{
    while (at < text.size()) {
        const QChar c = text.at(at);
        if (c == QLatin1Char('>'))
            return at + 1;
        if (c == QLatin1Char('[')) {
            at = subset(text, at + 1, 0);
        } else if (isQuote(c)) {
            const int close = text.indexOf(c, at + 1);
            at = close < 0 ? text.size() : close + 1;
        } else {
            ++at;
        }
    }
    return at;
}

// Reads declarations from `at` up to the subset's closing ']' (level 0) or the end of a
// parameter entity's text, and returns where it stopped.
int Scanner::subset(const QString &text, int at, int level)
{
    while (at < text.size()) {
        const QChar c = text.at(at);
        if (c == QLatin1Char(']') && level == 0)
            return at + 1;
        if (text.midRef(at, 4) == QLatin1String("<!--")) {
            at = skipPast(text, at + 2, QLatin1String("-->"));
        } else if (text.midRef(at, 2) == QLatin1String("<?")) {
            at = skipPast(text, at + 1, QLatin1String("?>"));
        } else if (text.midRef(at, 8) == QLatin1String("<!ENTITY")) {
            at = entityDeclaration(text, at + 8);
        } else if (c == QLatin1Char('<')) {
            at = skipDeclaration(text, at + 1);
        } else if (c == QLatin1Char('%') && referenceEnd(text, at + 1) > 0) {
            const int end = referenceEnd(text, at + 1);
            const QString value = parameterEntities.value(text.mid(at + 1, end - at - 1));
            budget -= value.size();
            if (level >= maxExpansionLevels || budget < 0)
                budget = -1; // lost track: every entity reference counts the most it can open
            else if (!value.isEmpty())
                subset(value, 0, level + 1);
            at = end + 1;
        } else {
            ++at;
        }
    }
    return at;
}

int Scanner::entityDeclaration(const QString &text, int at)
{
    auto skipSpaces = [&text, &at] {
        while (at < text.size() && isSpace(text.at(at)))
            ++at;
    };
    skipSpaces();
    bool parameter = false;
    if (at < text.size() && text.at(at) == QLatin1Char('%')) {
        parameter = true;
        ++at;
        skipSpaces();
    }
    const int nameStart = at;
    while (at < text.size() && !isSpace(text.at(at)) && !isQuote(text.at(at))
           && text.at(at) != QLatin1Char('>'))
        ++at;
    const QString name = text.mid(nameStart, at - nameStart);
    skipSpaces();
    // Only a literal value matters: the parser loads no external entity.
    if (at < text.size() && isQuote(text.at(at))) {
        const int close = text.indexOf(text.at(at), at + 1);
        const int end = close < 0 ? text.size() : close;
        QHash<QString, QString> &entities = parameter ? parameterEntities : generalEntities;
        if (!entities.contains(name))
            entities.insert(name, replacement(text.mid(at + 1, end - at - 1)));
        at = end + 1;
    }
    return skipDeclaration(text, at);
}

// An entity value as the parser stores it: character references and parameter-entity references
// replaced, general-entity references left for when the entity is used.
QString Scanner::replacement(const QString &literal)
{
    QString result;
    result.reserve(literal.size());
    int at = 0;
    while (at < literal.size()) {
        const QChar c = literal.at(at);
        const int end = referenceEnd(literal, at + 1);
        if (c == QLatin1Char('&') && end > at + 2 && literal.at(at + 1) == QLatin1Char('#')) {
            bool ok = false;
            const uint code = literal.at(at + 2) == QLatin1Char('x')
                    ? literal.midRef(at + 3, end - at - 3).toUInt(&ok, 16)
                    : literal.midRef(at + 2, end - at - 2).toUInt(&ok, 10);
            if (ok && code > 0 && code <= 0x10FFFF) {
                result += QString::fromUcs4(&code, 1);
                at = end + 1;
                continue;
            }
        } else if (c == QLatin1Char('%') && end > at + 1) {
            const QString value = parameterEntities.value(literal.mid(at + 1, end - at - 1));
            budget -= value.size();
            if (budget >= 0)
                result += value;
            at = end + 1;
            continue;
        }
        result += c;
        ++at;
    }
    return result;
}

Nesting Scanner::reference(const QString &name)
{
    if (isPredefined(name))
        return Nesting();
    if (budget < 0 || analysing.size() >= maxExpansionLevels)
        return Nesting{untrackedEntityLevels, untrackedEntityLevels};
    const auto known = analysed.constFind(name);
    if (known != analysed.constEnd())
        return *known;
    const auto entity = generalEntities.constFind(name);
    // An undeclared entity opens nothing, and the parser refuses an entity used within itself.
    if (entity == generalEntities.constEnd() || analysing.contains(name))
        return Nesting();
    analysing.insert(name);
    const Nesting nesting = content(*entity, false);
    analysing.remove(name);
    analysed.insert(name, nesting);
    return nesting;
}

} // namespace

qint64 nestingDepth(const QString &xml)
{
    return Scanner().documentDepth(xml);
}

qint64 parseDepthLimit()
{
    const qint64 remaining = remainingStack();
    const qint64 usable = (remaining < 0 ? fallbackStack : remaining) - stackReserve;
    return std::max<qint64>(usable / stackPerLevel, 0);
}

} // namespace DomDepth
} // namespace Orvex
