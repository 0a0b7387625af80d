// Round trip of one request through Orvex::Manager against a local echo peer, side by side with
// the same framing over a plain blocking POSIX socket and over a bare QTcpSocket.
#include "EchoPeer.h"
#include "RatioReporter.h"
#include "common/MessageFrame.h"

#include <message/Manager.h>

#include <QCoreApplication>
#include <QHostAddress>
#include <QTcpSocket>

#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using EchoPeerDetail::readFully;
using EchoPeerDetail::writeFully;

Message request(std::int64_t size)
{
    return Message(QByteArray(int(size), 'x'));
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
    const QByteArray frame = messageFrame(request(state.range(0)).data);
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
    const QByteArray frame = messageFrame(request(state.range(0)).data);
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
