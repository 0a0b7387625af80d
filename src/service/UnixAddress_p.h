// Internal to the library; not installed.
#ifndef ORVEX_SERVICE_UNIXADDRESS_P_H
#define ORVEX_SERVICE_UNIXADDRESS_P_H

#include <QByteArray>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>

namespace OrvexUnix {

// The longest path copied into an address, on every platform: the size of the path field on the
// platforms the product ships on.
constexpr std::size_t maxPathLength = 104;

static_assert(sizeof(sockaddr_un::sun_path) >= maxPathLength, "sun_path shorter than 104 bytes");

// Zeroes the address and sets its family; the path field stays empty.
inline void clearAddress(sockaddr_un *address)
{
    std::memset(address, 0, sizeof(*address));
#ifdef ORVEX_HAVE_SUN_LEN
    // Deliberate: the length byte stays 0; the length passed to bind or connect is what counts.
    address->sun_len = 0;
#endif
    address->sun_family = AF_UNIX;
}

// Copies path, up to its first NUL and at most 104 bytes, into a cleared address and returns the
// length to pass to bind or connect: the bytes copied plus the offset of the path field. A path of
// 104 bytes or more is left without a terminating NUL in the address.
inline socklen_t setAddressPath(sockaddr_un *address, const QByteArray &path)
{
    const std::size_t untilNul = qstrnlen(path.constData(), uint(path.size()));
    const std::size_t length = std::min(untilNul, maxPathLength);
    std::memcpy(address->sun_path, path.constData(), length);
    return socklen_t(length + offsetof(sockaddr_un, sun_path));
}

} // namespace OrvexUnix

#endif // ORVEX_SERVICE_UNIXADDRESS_P_H
