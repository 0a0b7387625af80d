#ifndef ORVEX_MESSAGE_MESSAGE_H
#define ORVEX_MESSAGE_MESSAGE_H

#include "orvexsupport_export.h"

#include <QByteArray>
#include <QVariant>

/// \addtogroup message
/// @{

/// The argument list of one request on the local message channel, kept as encoded text in `data`.
///
/// Two element kinds exist: a byte string "<count>:<bytes>" and an integer "i<decimal>e". There
/// are no separators and no terminator. A plain value: one thread at a time.
class ORVEXSUPPORT_EXPORT Message
{
public:
    /// Holds a null byte array, which the channel frames differently from an empty one.
    Message();
    /// Exactly Message() followed by addArgument(argument); it does not adopt encoded text.
    Message(const QByteArray &argument);

    /// Appends a byte-string element.
    void addArgument(const QByteArray &argument);
    /// Appends an integer element.
    void addArgument(int value);
    /// Only a QVariant::Int becomes an integer element; every other value, unsigned and 64-bit
    /// integers included, travels as the bytes of toByteArray().
    void addArgument(const QVariant &value);
    /// Appends a byte-string element of the text's bytes up to its NUL.
    void addArgument(const char *text);

    /// Decodes the first element of *buffer and removes what it consumed. Returns an invalid
    /// QVariant, consuming nothing, when the buffer does not start with an element. Some malformed
    /// elements also consume nothing, so a decoding loop must stop when the buffer stops shrinking.
    static QVariant takeFirst(QByteArray *buffer);

    /// The encoded elements, as sent.
    QByteArray data;
};

/// @}

#endif // ORVEX_MESSAGE_MESSAGE_H
