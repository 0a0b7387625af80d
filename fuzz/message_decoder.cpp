// The element decoder on arbitrary bytes, and encode-then-decode round trips.
//
// The first byte picks the mode. Decoding: takeFirst in a loop until it consumes nothing; the
// buffer must never grow and an invalid result must consume nothing. Round trip: the remaining
// bytes describe an argument list (a kind byte, then a value), which is encoded and must decode
// back to exactly the same elements.
#include <message/Message.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

void decodeArbitraryBytes(const QByteArray &input)
{
    QByteArray buffer = input;
    for (;;) {
        const int before = buffer.size();
        const QVariant element = Message::takeFirst(&buffer);
        require(buffer.size() <= before);
        if (!element.isValid())
            require(buffer.size() == before);
        if (buffer.size() == before)
            break;
    }
}

void roundTrip(const std::uint8_t *data, std::size_t size)
{
    Message message;
    QVariantList expected;
    std::size_t at = 0;
    while (at < size) {
        const std::uint8_t kind = data[at++];
        const std::size_t rest = size - at;
        if (kind % 3 == 0 && rest >= 4) {
            std::int32_t value = 0;
            std::memcpy(&value, data + at, 4);
            at += 4;
            message.addArgument(int(value));
            expected << int(value);
        } else {
            const std::size_t length = std::min<std::size_t>(kind / 3, rest);
            const QByteArray bytes(reinterpret_cast<const char *>(data + at), int(length));
            at += length;
            if (kind % 3 == 1)
                message.addArgument(bytes);
            else
                message.addArgument(QVariant(bytes));
            expected << bytes;
        }
    }
    QByteArray buffer = message.data;
    for (const QVariant &value : qAsConst(expected)) {
        const int before = buffer.size();
        const QVariant element = Message::takeFirst(&buffer);
        require(buffer.size() < before);
        require(element.type() == value.type() && element == value);
    }
    require(buffer.isEmpty());
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
