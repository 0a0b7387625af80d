#include "util/DomVisitor_p.h"

#include <QHash>

#include <algorithm>

#include <pthread.h>

namespace Orvex {
namespace DomGuard {

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

const char *const markupRefused =
        "DomVisitor: declarations carrying markup or references are refused";
const char *const entityRefused = "DomVisitor: parameter and external entities are refused";
const char *const subsetRefused = "DomVisitor: unreadable document type declaration refused";

bool isSpace(QChar c)
{
    return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n')
            || c == QLatin1Char('\r');
}

bool isQuote(QChar c)
{
    return c == QLatin1Char('"') || c == QLatin1Char('\'');
}

// Reads a text as the parser will, only as far as nesting and declarations go. Where the two
// could disagree the scan either refuses or reaches a place where the parser fails.
class Scanner
{
public:
    explicit Scanner(const QString &xml) : text(xml), end(xml.size()) {}
    Reach run();

private:
    bool startsAt(int at, const char *word) const
    {
        return text.midRef(at).startsWith(QLatin1String(word));
    }
    // Just past the first `close` at or after `at`, or the end of the text.
    int skipPast(int at, const char *close) const
    {
        const int found = text.indexOf(QLatin1String(close), at);
        return found < 0 ? end : found + int(qstrlen(close));
    }
    int skipSpaces(int at) const
    {
        while (at < end && isSpace(text.at(at)))
            ++at;
        return at;
    }
    int markupEnd(int at) const;
    int declaration(int at);
    int subset(int at);
    int entity(int at);
    // Keeps the first refusal and ends the scan.
    int refuse(const char *message)
    {
        if (result.refusal.isNull())
            result.refusal = QLatin1String(message);
        return end;
    }

    const QString &text;
    const int end;
    // The longest replacement text declared for each name.
    QHash<QString, int> entityLength;
    Reach result;
};

// The index of the '>' that ends the markup whose '<' is at `at`, quoted values skipped, or of a
// '<' or the end of the text, where the parser fails.
int Scanner::markupEnd(int at) const
{
    QChar quote;
    for (int i = at + 1; i < end; ++i) {
        const QChar c = text.at(i);
        if (c == QLatin1Char('<'))
            return i;
        if (!quote.isNull())
            quote = c == quote ? QChar() : quote;
        else if (isQuote(c))
            quote = c;
        else if (c == QLatin1Char('>'))
            return i;
    }
    return end;
}

// Just past a declaration outside the internal subset, its subset checked. Only the document type
// declaration has one; any other the parser fails on, but its subset is checked all the same.
int Scanner::declaration(int at)
{
    QChar quote;
    for (int i = at + 2; i < end; ++i) {
        const QChar c = text.at(i);
        if (!quote.isNull())
            quote = c == quote ? QChar() : quote;
        else if (isQuote(c))
            quote = c;
        else if (c == QLatin1Char('['))
            i = subset(i + 1) - 1;
        else if (c == QLatin1Char('>'))
            return i + 1;
        else if (c == QLatin1Char('<'))
            return i;
    }
    return end;
}

// Just past the ']' that closes the internal subset starting at `at`. It may hold comments,
// processing instructions, plain-text entity declarations, and element, attribute-list and
// notation declarations without references; anything else is refused.
int Scanner::subset(int at)
{
    for (;;) {
        at = skipSpaces(at);
        if (at == end)
            return refuse(subsetRefused);
        if (text.at(at) == QLatin1Char(']'))
            return at + 1;
        if (startsAt(at, "<!--")) {
            at = skipPast(at + 4, "-->");
        } else if (startsAt(at, "<?")) {
            at = skipPast(at + 2, "?>");
        } else if (startsAt(at, "<!ENTITY")) {
            at = entity(at + 8);
        } else if (startsAt(at, "<!ELEMENT") || startsAt(at, "<!ATTLIST")
                   || startsAt(at, "<!NOTATION")) {
            const int close = markupEnd(at);
            const QStringRef body = text.midRef(at + 1, close - at - 1);
            if (close == end || text.at(close) != QLatin1Char('>'))
                return refuse(subsetRefused);
            if (body.contains(QLatin1Char('&')) || body.contains(QLatin1Char('%')))
                return refuse(markupRefused);
            at = close + 1;
        } else {
            // A parameter-entity reference, or what the parser does not read as a declaration.
            return refuse(text.at(at) == QLatin1Char('%') ? entityRefused : subsetRefused);
        }
    }
}

// Just past the entity declaration whose name follows `at`: only "<!ENTITY name 'text'>" with no
// '<', '&' or '%' in the text passes.
int Scanner::entity(int at)
{
    const int nameAt = skipSpaces(at);
    if (nameAt < end && text.at(nameAt) == QLatin1Char('%'))
        return refuse(entityRefused);
    int nameEnd = nameAt;
    while (nameEnd < end && !isSpace(text.at(nameEnd)) && !isQuote(text.at(nameEnd))
           && !QStringLiteral("<>&%;[]").contains(text.at(nameEnd)))
        ++nameEnd;
    const int valueAt = skipSpaces(nameEnd);
    if (nameAt == at || nameEnd == nameAt || valueAt == nameEnd || valueAt == end)
        return refuse(subsetRefused);
    // Anything but a quoted value names an external entity.
    if (!isQuote(text.at(valueAt)))
        return refuse(entityRefused);
    const int close = text.indexOf(text.at(valueAt), valueAt + 1);
    if (close < 0)
        return refuse(subsetRefused);
    const QStringRef value = text.midRef(valueAt + 1, close - valueAt - 1);
    for (const QChar c : value) {
        if (c == QLatin1Char('<') || c == QLatin1Char('&') || c == QLatin1Char('%'))
            return refuse(markupRefused);
    }
    const int after = skipSpaces(close + 1);
    if (after == end || text.at(after) != QLatin1Char('>'))
        return refuse(subsetRefused);
    int &length = entityLength[text.mid(nameAt, nameEnd - nameAt)];
    length = std::max(length, value.size());
    return after + 1;
}

Reach Scanner::run()
{
    qint64 depth = 0;
    for (int at = text.indexOf(QLatin1Char('<')); at >= 0 && result.refusal.isNull();
         at = text.indexOf(QLatin1Char('<'), at)) {
        if (startsAt(at, "<!--")) {
            at = skipPast(at + 4, "-->");
        } else if (startsAt(at, "<![CDATA[")) {
            at = skipPast(at + 9, "]]>");
        } else if (startsAt(at, "<?")) {
            at = skipPast(at + 2, "?>");
        } else if (startsAt(at, "<!")) {
            at = declaration(at);
        } else if (startsAt(at, "</")) {
            --depth;
            at = markupEnd(at);
        } else {
            // A start tag, or a '<' the parser fails on.
            result.depth = std::max(result.depth, ++depth);
            const int close = markupEnd(at);
            if (close < end && text.at(close) == QLatin1Char('>')
                && text.at(close - 1) == QLatin1Char('/'))
                --depth;
            at = close;
        }
    }
    if (!result.refusal.isNull())
        return result;
    // Every "&name;" of a declared name, wherever it stands, counts with its replacement text.
    result.expandedSize = end;
    for (int at = entityLength.isEmpty() ? -1 : text.indexOf(QLatin1Char('&')); at >= 0;
         at = text.indexOf(QLatin1Char('&'), at + 1)) {
        int close = at + 1;
        while (close < end && !isSpace(text.at(close)) && !isQuote(text.at(close))
               && !QStringLiteral("<&;").contains(text.at(close)))
            ++close;
        if (close < end && text.at(close) == QLatin1Char(';'))
            result.expandedSize += entityLength.value(text.mid(at + 1, close - at - 1));
    }
    return result;
}

} // namespace

Reach reach(const QString &xml)
{
    return Scanner(xml).run();
}

QString refusal(const QString &xml)
{
    const Reach found = reach(xml);
    if (!found.refusal.isNull())
        return found.refusal;
    // Four times the text and 64 Ki characters more: room for names and short phrases used all
    // over a document, none for a text repeated thousands of times.
    const qint64 sizeLimit = 4 * qint64(xml.size()) + 64 * 1024;
    if (found.expandedSize > sizeLimit)
        return QStringLiteral("DomVisitor: entity references expand past %1 characters")
                .arg(sizeLimit);
    const qint64 remaining = remainingStack();
    const qint64 usable = (remaining < 0 ? fallbackStack : remaining) - stackReserve;
    const qint64 depthLimit = std::max<qint64>(usable / stackPerLevel, 0);
    if (found.depth > depthLimit)
        return QStringLiteral("document nested deeper than %1 levels").arg(depthLimit);
    return QString();
}

} // namespace DomGuard
} // namespace Orvex
