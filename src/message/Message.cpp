#include "message/Message.h"

#include <QChar>

#include <algorithm>

namespace {

// Widened as a signed 8-bit value, so bytes 0x80 to 0xFF become U+FF80 to U+FFFF (none a digit).
bool startsByteString(char first)
{
    const auto widened = static_cast<ushort>(static_cast<short>(static_cast<signed char>(first)));
    return QChar(widened).isDigit();
}

// Removes `count` bytes from the front, or everything when the count reaches past the end.
void removeFront(QByteArray *buffer, qint64 count)
{
    buffer->remove(0, static_cast<int>(std::min<qint64>(count, buffer->size())));
}

QVariant takeByteString(QByteArray *buffer)
{
    const int colon = buffer->indexOf(':');
    // Without a colon, left(-1) is empty and the count 0: an empty value that consumes nothing.
    const int count = buffer->left(colon).toInt(nullptr, 10);
    const QByteArray payload = buffer->mid(colon + 1, count);
    removeFront(buffer, qint64(colon) + count + 1);
    return QVariant(payload);
}

QVariant takeInteger(QByteArray *buffer)
{
    const int end = buffer->indexOf('e');
    // Without an "e", mid(1, -2) yields everything after the "i" and nothing is consumed.
    const int value = buffer->mid(1, end - 1).toInt(nullptr, 10);
    removeFront(buffer, qint64(end) + 1);
    return QVariant(value);
}

} // namespace

Message::Message() = default;

Message::Message(const QByteArray &argument)
{
    addArgument(argument);
}

void Message::addArgument(const QByteArray &argument)
{
    data += QByteArray::number(argument.size(), 10);
    data += ':';
    data += argument;
}

void Message::addArgument(int value)
{
    data += 'i';
    data += QByteArray::number(value, 10);
    data += 'e';
}

void Message::addArgument(const QVariant &value)
{
    // Deliberate: only QVariant::Int is an integer element; the peer tells kinds by the first byte.
    if (value.type() == QVariant::Int)
        addArgument(value.toInt());
    else
        addArgument(value.toByteArray());
}

void Message::addArgument(const char *text)
{
    addArgument(QByteArray(text, -1));
}

QVariant Message::takeFirst(QByteArray *buffer)
{
    if (buffer->isEmpty())
        return QVariant();
    const char first = buffer->at(0);
    if (startsByteString(first))
        return takeByteString(buffer);
    if (first == 'i')
        return takeInteger(buffer);
    return QVariant();
}
