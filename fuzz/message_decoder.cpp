// The element decoder on arbitrary bytes, and encode-then-decode round trips.
//
// The first byte picks the mode. Decoding: takeFirst in a loop until it consumes nothing; each
// element is encoded again, and where the buffer began with that encoding exactly it must have
// been consumed, no more. Round trip: the remaining bytes describe an argument list (a kind byte,
// then a value), which is encoded and must decode back to exactly the same elements.
#include <message/Message.h>

#include "common/Check.h"

#include <cstdint>
#include <cstring>

namespace {

QByteArray encoded(const QVariant &element)
{
    Message message;
    message.addArgument(element);
    return message.data;
}

void decodeArbitraryBytes(QByteArray buffer)
{
    for (;;) {
        const QByteArray before = buffer;
        const QVariant element = Message::takeFirst(&buffer);
        if (!element.isValid())
            check(buffer == before, "nothing consumed without an element");
        else if (before.startsWith(encoded(element)))
            check(buffer == before.mid(encoded(element).size()),
                  "exactly the element's encoding consumed");
        check(before.endsWith(buffer), "consumed from the front only");
        if (buffer.size() == before.size())
            return;
    }
}

void roundTrip(const std::uint8_t *data, std::size_t size)
{
    Message message;
    QVariantList expected;
    for (std::size_t at = 0; at < size;) {
        const std::uint8_t kind = data[at++];
        if (kind % 3 == 0 && size - at >= 4) {
            std::int32_t value = 0;
            std::memcpy(&value, data + at, 4);
            at += 4;
            message.addArgument(int(value));
            expected << int(value);
            continue;
        }
        const std::size_t length = std::min<std::size_t>(kind / 3, size - at);
        const QByteArray bytes(reinterpret_cast<const char *>(data + at), int(length));
        at += length;
        if (kind % 3 == 1)
            message.addArgument(bytes);
        else
            message.addArgument(QVariant(bytes));
        expected << bytes;
    }
    QByteArray buffer = message.data;
    for (const QVariant &value : qAsConst(expected)) {
        const QVariant element = Message::takeFirst(&buffer);
        check(element.type() == value.type() && element == value,
              "round trip gives the element back");
    }
    check(buffer.isEmpty(), "round trip consumes everything");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    if (data[0] & 1)
        roundTrip(data + 1, size - 1);
    else
        decodeArbitraryBytes(QByteArray(reinterpret_cast<const char *>(data + 1), int(size - 1)));
    return 0;
}
