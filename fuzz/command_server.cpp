// The command server on arbitrary chunks from its peer.
//
// The first byte gives the service flags; the rest is a list of chunks, each a length byte and
// that many bytes. A fresh server adopts one end of a socket pair, every chunk is written to the
// other end and handed to the server before the next, and whatever comes back must be a run of
// "true" and "false" replies, at most one per line feed sent (a zero byte may drop what lies
// between a carriage return and its line feed, so the pairs sent are no bound). A service object
// is in place, so the commands reach its handlers.
#include <service/QtServiceBase.h>
#include <service/QtServicePrivate.h>

#include <QCoreApplication>
#include <QEvent>
#include <QTcpSocket>

#include <cstdint>
#include <cstdlib>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

class QuietService : public QtServiceBase
{
public:
    QuietService() : QtServiceBase(0, nullptr, QStringLiteral("fuzz")) {}

protected:
    void start() override {}
    void processCommand(int) override {}
    void makeApplication(int &, char **) override {}
    int execApplication() override { return 0; }
};

QByteArray readAvailable(int fd)
{
    QByteArray received;
    char buffer[512];
    pollfd entry = {fd, POLLIN, 0};
    while (::poll(&entry, 1, 0) == 1 && (entry.revents & POLLIN)) {
        const ssize_t n = ::read(fd, buffer, sizeof(buffer));
        if (n <= 0)
            break;
        received.append(buffer, int(n));
    }
    return received;
}

// The number of whole "true"/"false" replies in `replies`, or -1 when anything else is there.
int countReplies(const QByteArray &replies)
{
    int count = 0;
    for (int at = 0; at < replies.size(); ++count) {
        if (replies.mid(at, 4) == "true")
            at += 4;
        else if (replies.mid(at, 5) == "false")
            at += 5;
        else
            return -1;
    }
    return count;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static QCoreApplication application(*argc, *argv);
    static QuietService service;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    int ends[2];
    require(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0);
    QByteArray replies;
    int lineEnds = 0;
    {
        QtServiceSysPrivate server;
        server.serviceFlags = QtServiceBase::ServiceFlags(data[0] & 3);
        server.incomingConnection(ends[0]);
        auto *connection = server.findChild<QTcpSocket *>();
        require(connection != nullptr);

        QByteArray sent;
        for (std::size_t at = 1; at < size;) {
            const std::size_t wanted = data[at++];
            const std::size_t length = std::min(wanted, size - at);
            if (length == 0)
                continue;
            require(::write(ends[1], data + at, length) == ssize_t(length));
            sent.append(reinterpret_cast<const char *>(data + at), int(length));
            at += length;
            // Reads the chunk and answers the complete lines in it, within this call.
            require(connection->waitForReadyRead(5000));
            replies += readAvailable(ends[1]);
        }
        lineEnds = sent.count('\n');
        ::close(ends[1]);
        connection->waitForReadyRead(0);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    const int count = countReplies(replies);
    require(count >= 0 && count <= lineEnds);
    return 0;
}
