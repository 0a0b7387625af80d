#ifndef ORVEX_BENCH_ECHOPEER_H
#define ORVEX_BENCH_ECHOPEER_H

// A well-behaved local message service for the benchmarks: listens on the loopback ports 8889 and
// 9998 with plain blocking POSIX sockets, one thread a connection, and sends every request frame
// back unchanged (the echo of a one-element payload reads back as that element).

#include <QtGlobal>

#include <cstring>
#include <stdexcept>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace EchoPeerDetail {

constexpr int headerSize = 12;

inline bool readFully(int fd, char *data, std::size_t size)
{
    while (size > 0) {
        const ssize_t got = ::read(fd, data, size);
        if (got <= 0)
            return false;
        data += got;
        size -= std::size_t(got);
    }
    return true;
}

inline bool writeFully(int fd, const char *data, std::size_t size)
{
    while (size > 0) {
        const ssize_t put = ::write(fd, data, size);
        if (put <= 0)
            return false;
        data += put;
        size -= std::size_t(put);
    }
    return true;
}

inline quint32 innerLength(const char *header)
{
    quint32 length = 0;
    std::memcpy(&length, header + 8, 4);
    length = ntohl(length);
    return length == 0xFFFFFFFFu ? 0 : length;
}

inline int listenOn(quint16 port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0
        || ::listen(fd, 16) != 0)
        throw std::runtime_error("cannot listen on the loopback ports 8889 and 9998");
    return fd;
}

} // namespace EchoPeerDetail

class EchoPeer
{
public:
    EchoPeer()
        : requests(EchoPeerDetail::listenOn(8889)), notifications(EchoPeerDetail::listenOn(9998))
    {
        acceptor = std::thread([this] {
            for (;;) {
                const int fd = ::accept(requests, nullptr, nullptr);
                if (fd < 0)
                    return;
                const int on = 1;
                ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
                std::thread([fd] {
                    echo(fd);
                }).detach();
            }
        });
        idle = std::thread([this] {
            while (::accept(notifications, nullptr, nullptr) >= 0) {}
        });
    }
    ~EchoPeer()
    {
        ::shutdown(requests, SHUT_RDWR);
        ::shutdown(notifications, SHUT_RDWR);
        acceptor.join();
        idle.join();
        ::close(requests);
        ::close(notifications);
    }

private:
    static void echo(int fd)
    {
        using namespace EchoPeerDetail;
        std::vector<char> frame;
        for (;;) {
            frame.resize(headerSize);
            if (!readFully(fd, frame.data(), headerSize))
                break;
            const quint32 length = innerLength(frame.data());
            frame.resize(headerSize + length);
            if (!readFully(fd, frame.data() + headerSize, length)
                || !writeFully(fd, frame.data(), frame.size()))
                break;
        }
        ::close(fd);
    }

    int requests;
    int notifications;
    std::thread acceptor;
    std::thread idle;
};

#endif // ORVEX_BENCH_ECHOPEER_H
