// Resident memory of the message client over 100,000 sequential requests against a well-behaved
// local peer (an echo on the loopback ports). Not timed: it prints the resident set size after a
// warm-up and then every 25,000 requests, so growth per request can be read off.
#include <message/Manager.h>
#include <util/Logger.h>

#include <QCoreApplication>

#include <cstdio>
#include <fstream>
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
constexpr int warmUpRequests = 1000;
constexpr int requests = 100000;
constexpr int reportEvery = 25000;

bool transfer(ssize_t (*io)(int, void *, std::size_t), int fd, char *data, std::size_t size)
{
    while (size > 0) {
        const ssize_t done = io(fd, data, size);
        if (done <= 0)
            return false;
        data += done;
        size -= std::size_t(done);
    }
    return true;
}

ssize_t writeSome(int fd, void *data, std::size_t size)
{
    return ::write(fd, data, size);
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

// Echoes every request frame on one connection; the echo of a one-element payload reads back as
// that element. Runs until the client goes away.
void echo(int fd)
{
    const int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    std::vector<char> frame(headerSize);
    for (;;) {
        frame.resize(headerSize);
        if (!transfer(::read, fd, frame.data(), headerSize))
            break;
        const quint32 length = ntohl(*reinterpret_cast<const quint32 *>(frame.data() + 8));
        frame.resize(headerSize + (length == 0xFFFFFFFFu ? 0 : length));
        if (!transfer(::read, fd, frame.data() + headerSize, frame.size() - headerSize)
            || !transfer(writeSome, fd, frame.data(), frame.size()))
            break;
    }
    ::close(fd);
}

long residentKiB()
{
    std::ifstream statm("/proc/self/statm");
    long pages = 0;
    long resident = 0;
    statm >> pages >> resident;
    return resident * (::sysconf(_SC_PAGESIZE) / 1024);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    Orvex::Logger::init();
    const int requestFd = listenOn(8889);
    const int notificationFd = listenOn(9998);
    std::thread([requestFd] {
        for (int fd; (fd = ::accept(requestFd, nullptr, nullptr)) >= 0;)
            std::thread(echo, fd).detach();
    }).detach();
    std::thread([notificationFd] {
        while (::accept(notificationFd, nullptr, nullptr) >= 0) {}
    }).detach();

    const Message message("ping");
    int wrong = 0;
    auto run = [&](int count) {
        for (int i = 0; i < count; ++i) {
            if (Orvex::Manager::getInstance()->send(message, QVariant()) != QByteArray("ping"))
                ++wrong;
        }
        QCoreApplication::processEvents();
    };
    run(warmUpRequests);
    const long start = residentKiB();
    std::printf("after %d warm-up requests: %ld KiB resident\n", warmUpRequests, start);
    for (int done = 0; done < requests; done += reportEvery) {
        run(reportEvery);
        std::printf("after %6d more requests: %ld KiB resident\n", done + reportEvery,
                    residentKiB());
    }
    const long end = residentKiB();
    std::printf("growth over %d requests: %ld KiB (%.3f bytes a request); wrong replies: %d\n",
                requests, end - start, (end - start) * 1024.0 / requests, wrong);
    Orvex::Manager::close();
    ::shutdown(requestFd, SHUT_RDWR);
    ::shutdown(notificationFd, SHUT_RDWR);
    return wrong == 0 ? 0 : 1;
}
