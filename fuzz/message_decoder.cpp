// The element decoder on arbitrary bytes: takeFirst in a loop until it consumes nothing. An
// invalid result consumes nothing, bytes are only ever taken from the front, and each element is
// encoded again: where the buffer began with that encoding exactly, it must have been consumed,
// no more. So a corpus of encoded messages checks the decoder against the encoder.
#include <message/Message.h>

#include "common/Check.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    QByteArray buffer(reinterpret_cast<const char *>(data), int(size));
    for (;;) {
        const QByteArray before = buffer;
        const QVariant element = Message::takeFirst(&buffer);
        Message encoded;
        encoded.addArgument(element);
        if (!element.isValid())
            check(buffer == before, "nothing consumed without an element");
        else if (before.startsWith(encoded.data))
            check(buffer == before.mid(encoded.data.size()),
                  "exactly the element's encoding consumed");
        check(before.endsWith(buffer), "consumed from the front only");
        if (buffer.size() == before.size())
            return 0;
    }
}
