// The URL-safe Base64 helpers on arbitrary bytes.
//
// The first byte picks the mode. Decoding: the rest is text to decode; whatever it yields must
// encode into the URL-safe alphabet and decode back to itself, and the text must decode the same
// in the plain alphabet. Encoding: the rest is data, whose encoding must have the expected length
// and alphabet and decode back to exactly the data, with or without its "=" fill.
#include <util/Utils.h>

#include "common/Check.h"

#include <cstdint>

namespace {

// Checks the encoding of data.
void checkEncoding(const QByteArray &data)
{
    const QByteArray text = Orvex::Utils::urlSafeBase64Encode(data);
    check(text.size() == (data.size() + 2) / 3 * 4, "encoded length");
    int fill = 0;
    while (fill < text.size() && text.at(text.size() - 1 - fill) == '=')
        ++fill;
    check(fill == (3 - data.size() % 3) % 3, "fill length");
    for (int i = 0; i < text.size() - fill; ++i)
        check(QByteArray("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_")
                      .contains(text.at(i)),
              "URL-safe alphabet");
    check(Orvex::Utils::urlSafeBase64Decode(text) == data, "decodes back");
    check(Orvex::Utils::urlSafeBase64Decode(text.left(text.size() - fill)) == data,
          "decodes back without its fill");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray rest(reinterpret_cast<const char *>(data + 1), int(size - 1));
    if (data[0] & 1) {
        checkEncoding(rest);
        return 0;
    }
    const QByteArray decoded = Orvex::Utils::urlSafeBase64Decode(rest);
    // Four characters carry three bytes at most; characters outside the alphabet carry none.
    check(decoded.size() <= (rest.size() + 3) / 4 * 3, "decoded length");
    checkEncoding(decoded);
    QByteArray plain = rest;
    plain.replace('-', '+').replace('_', '/');
    check(Orvex::Utils::urlSafeBase64Decode(plain) == decoded, "plain alphabet decodes the same");
    return 0;
}
