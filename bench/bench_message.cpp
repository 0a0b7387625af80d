// Round trip of one request through Orvex::Manager against a local echo peer, side by side with
// the same framing over a plain blocking POSIX socket and over a bare QTcpSocket.
#include "RatioReporter.h"

#include <message/Manager.h>

#include <QCoreApplication>
#include <QDataStream>
#include <QHostAddress>
#include <QTcpSocket>

#include <atomic>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int headerSize = 12;

bool readFully(int fd, char *data, std::size_t size)
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

bool writeFully(int fd, const char *data, std::size_t size)
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

quint32 innerLength(const char *header)
{
    quint32 length = 0;
    std::memcpy(&length, header + 8, 4);
    length = ntohl(length);
    return length == 0xFFFFFFFFu ? 0 : length;
}

int listenOn(quint16 port)
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

// Echoes every frame back unchanged; a payload that is one element reads back as that element.
class EchoPeer
{
public:
    EchoPeer() : requests(listenOn(8889)), notifications(listenOn(9998))
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

Message request(std::int64_t size)
{
    return Message(QByteArray(int(size), 'x'));
}

QByteArray frameOf(const QByteArray &payload)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(12);
    out << qint64(payload.size()) << payload;
    return bytes;
}

void roundtripOrvex(benchmark::State &state)
{
    const Message message = request(state.range(0));
    for (auto _ : state) {
        const QVariant reply = Orvex::Manager::getInstance()->send(message, QVariant());
        if (reply.toByteArray().size() != state.range(0))
            state.SkipWithError("wrong reply");
    }
    Orvex::Manager::close();
}

void roundtripPosix(benchmark::State &state)
{
    const QByteArray frame = frameOf(request(state.range(0)).data);
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(8889);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0) {
        state.SkipWithError("cannot connect");
        return;
    }
    const int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    std::vector<char> reply(std::size_t(frame.size()));
    for (auto _ : state) {
        if (!writeFully(fd, frame.constData(), std::size_t(frame.size()))
            || !readFully(fd, reply.data(), reply.size()))
            state.SkipWithError("connection lost");
    }
    ::close(fd);
}

void roundtripQTcpSocket(benchmark::State &state)
{
    const QByteArray frame = frameOf(request(state.range(0)).data);
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, 8889);
    if (!socket.waitForConnected(5000)) {
        state.SkipWithError("cannot connect");
        return;
    }
    for (auto _ : state) {
        socket.write(frame);
        while (socket.bytesAvailable() < frame.size()) {
            if (!socket.waitForReadyRead(30000)) {
                state.SkipWithError("connection lost");
                break;
            }
        }
        socket.read(frame.size());
    }
}

void sizes(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Arg(16)->Arg(4096)->Arg(1 << 20)->UseRealTime();
}

BENCHMARK(roundtripOrvex)->Name("roundtrip/orvex")->Apply(sizes);
BENCHMARK(roundtripPosix)->Name("roundtrip/posix")->Apply(sizes);
BENCHMARK(roundtripQTcpSocket)->Name("roundtrip/qtcpsocket")->Apply(sizes);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    EchoPeer peer;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
