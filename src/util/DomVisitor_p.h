// Internal to the library; not installed.
#ifndef ORVEX_UTIL_DOMVISITOR_P_H
#define ORVEX_UTIL_DOMVISITOR_P_H

#include <QString>

namespace Orvex {
namespace DomGuard {

// What parsing a text can reach, read from the text alone.
struct Reach
{
    // Null when the declarations are accepted; otherwise why not, and nothing else is known.
    QString refusal;
    // The deepest element nesting of the literal tags, never less than the parser reaches.
    qint64 depth = 0;
    // The text's length plus the replacement of every entity reference, never less than the
    // characters the parser delivers.
    qint64 expandedSize = 0;
};

Reach reach(const QString &xml);

// Why visit refuses xml on the calling thread, or a null string.
QString refusal(const QString &xml);

} // namespace DomGuard
} // namespace Orvex

#endif // ORVEX_UTIL_DOMVISITOR_P_H
