#include "util/Utils.h"

#include <QCryptographicHash>

#include <limits>

namespace Orvex {

namespace {

// The longest text Qt decodes: it sizes the result as size * 3 / 4 in int arithmetic, which wraps
// beyond this.
constexpr int maxBase64DecodeSize = std::numeric_limits<int>::max() / 3;

} // namespace

QByteArray Utils::urlSafeBase64Encode(const QByteArray &data)
{
    // Deliberate: the trailing "=" fill is kept, so one zero byte encodes as "AA==".
    return data.toBase64().replace('/', '_').replace('+', '-');
}

QByteArray Utils::urlSafeBase64Decode(const QByteArray &text)
{
    if (text.size() > maxBase64DecodeSize)
        return QByteArray();
    // Deliberate: no error is reported; characters outside the alphabet are skipped.
    QByteArray plain = text;
    return QByteArray::fromBase64(plain.replace('_', '/').replace('-', '+'));
}

QString Utils::toMD5String(const QString &text)
{
    // Deliberate: hashes the Latin-1 bytes, so "é" is the one byte 0xE9, not its UTF-8 form.
    const QByteArray digest = QCryptographicHash::hash(text.toLatin1(), QCryptographicHash::Md5);
    return QString::fromLatin1(digest.toHex());
}

QString Utils::readChildEleText(const QDomElement &parent, QString tagName, bool &found)
{
    const QDomElement child = parent.firstChildElement(tagName);
    found = !child.isNull();
    return found ? child.text() : QString(QLatin1String(""));
}

} // namespace Orvex
