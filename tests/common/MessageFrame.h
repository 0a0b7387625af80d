#ifndef ORVEX_TESTS_MESSAGEFRAME_H
#define ORVEX_TESTS_MESSAGEFRAME_H

#include <QByteArray>
#include <QDataStream>

// The two lengths that open a frame of the message channel, true or not: the outer payload length
// (signed 64-bit) and the data-stream byte array's own (0xFFFFFFFF for a null array), big-endian.
inline QByteArray frameLengths(qint64 outer, quint32 inner)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << outer << inner;
    return bytes;
}

// The frame a well-behaved peer writes for a payload: the lengths, then the payload.
inline QByteArray messageFrame(const QByteArray &payload)
{
    return frameLengths(payload.size(), payload.isNull() ? 0xFFFFFFFFu : quint32(payload.size()))
            + payload;
}

#endif // ORVEX_TESTS_MESSAGEFRAME_H
