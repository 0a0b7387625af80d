#ifndef ORVEX_UTIL_UTILS_H
#define ORVEX_UTIL_UTILS_H

#include "orvexsupport_export.h"

#include <QByteArray>
#include <QDomElement>
#include <QString>

namespace Orvex {

/// \addtogroup xml
/// @{

/// Stateless helpers: URL-safe Base64, MD5 as hexadecimal text, a child element's text. None of
/// them fails or reports an error; all are reentrant.
class ORVEXSUPPORT_EXPORT Utils
{
public:
    /// Base64 with "-" for "+" and "_" for "/".
    /// Deliberate: the trailing "=" characters stay, so one zero byte encodes as "AA==".
    static QByteArray urlSafeBase64Encode(const QByteArray &data);
    /// Accepts the text with or without its trailing "=", and the plain alphabet too. A text
    /// longer than 715,827,882 bytes (more than Qt decodes) gives an empty array.
    /// Deliberate: no error is reported; malformed input yields whatever the lenient decoder makes
    /// of it, possibly an empty array.
    static QByteArray urlSafeBase64Decode(const QByteArray &text);
    /// 32 lower-case hexadecimal digits of the MD5 of text's Latin-1 bytes.
    /// Deliberate: "é" hashes as the one byte 0xE9, and characters outside Latin-1 as "?".
    static QString toMD5String(const QString &text);
    /// The text of parent's first direct child element named tagName, with all its descendants'
    /// text. Always sets found; an absent child gives an empty (not null) string and false.
    static QString readChildEleText(const QDomElement &parent, QString tagName, bool &found);
};

/// @}

} // namespace Orvex

#endif // ORVEX_UTIL_UTILS_H
