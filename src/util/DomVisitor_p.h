// Internal to the library; not installed.
#ifndef ORVEX_UTIL_DOMVISITOR_P_H
#define ORVEX_UTIL_DOMVISITOR_P_H

#include <QString>

namespace Orvex {
namespace DomDepth {

// The deepest element nesting that parsing xml can reach, never less. A linear scan, not a
// parser: elements opened through entity references count with what their replacement text
// opens, and malformed text may count deeper than the parser would get before it fails.
qint64 nestingDepth(const QString &xml);

// The deepest nesting that the calling thread's remaining stack parses safely.
qint64 parseDepthLimit();

} // namespace DomDepth
} // namespace Orvex

#endif // ORVEX_UTIL_DOMVISITOR_P_H
