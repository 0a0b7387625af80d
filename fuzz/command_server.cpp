// The command server on arbitrary chunks from its peer, against the command table.
//
// The first byte gives the service flags; the rest is a list of chunks, each a length byte and
// that many bytes. A fresh server adopts one end of a socket pair, every chunk is written to the
// other end and handed to the server before the next. The replies and the calls reaching the
// service must be exactly those that the protocol gives for the text sent.
#include <service/QtServiceBase.h>
#include <service/QtServicePrivate.h>

#include "common/Check.h"

#include <QCoreApplication>
#include <QTcpSocket>

#include <cstdint>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

class RecordingService : public QtServiceBase
{
public:
    RecordingService() : QtServiceBase(0, nullptr, QStringLiteral("fuzz")) {}
    QStringList calls;

protected:
    void start() override {}
    void stop() override { calls << QStringLiteral("stop"); }
    void pause() override { calls << QStringLiteral("pause"); }
    void resume() override { calls << QStringLiteral("resume"); }
    void processCommand(int code) override { calls << QString::number(code); }
    void makeApplication(int &, char **) override {}
    int execApplication() override { return 0; }
};

RecordingService *service = nullptr;

QByteArray readAvailable(int fd)
{
    QByteArray received(4096, '\0');
    pollfd entry = {fd, POLLIN, 0};
    const ssize_t n = ::poll(&entry, 1, 0) == 1 ? ::read(fd, received.data(), 4096) : 0;
    received.truncate(int(qMax<ssize_t>(n, 0)));
    return received;
}

// The protocol: every line ended by "\r\n" is a command, until an empty one, which leaves the rest
// of the buffer for the next chunk.
void answer(QString &buffer, QtServiceBase::ServiceFlags flags, QByteArray &replies,
            QStringList &calls)
{
    for (int end; (end = buffer.indexOf(QLatin1String("\r\n"))) >= 0;) {
        const QString command = buffer.left(end);
        buffer.remove(0, end + 2);
        if (command.isEmpty())
            return;
        const int before = calls.size();
        if (command == "terminate" && !(flags & QtServiceBase::Unstoppable))
            calls << "stop";
        if ((command == "pause" || command == "resume") && (flags & QtServiceBase::Suspendable))
            calls << command;
        if (command.size() > 4 && command.startsWith("num:"))
            calls << QString::number(command.mid(4).toInt());
        replies += calls.size() > before || command == "alive" ? "true" : "false";
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static QCoreApplication application(*argc, *argv);
    static RecordingService recording;
    service = &recording;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    int ends[2];
    check(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0, "socket pair");
    QtServiceSysPrivate server;
    server.serviceFlags = QtServiceBase::ServiceFlags(data[0] & 3);
    server.incomingConnection(ends[0]);
    auto *connection = server.findChild<QTcpSocket *>();
    check(connection != nullptr, "connection adopted");
    QString buffer;
    for (std::size_t at = 1; at < size;) {
        const std::size_t wanted = data[at++];
        const std::size_t length = std::min(wanted, size - at);
        if (length == 0)
            continue;
        const QByteArray chunk(reinterpret_cast<const char *>(data + at), int(length));
        at += length;
        check(::write(ends[1], chunk.constData(), length) == ssize_t(length), "chunk written");
        // Reads the chunk and answers the complete lines in it, within this call.
        check(connection->waitForReadyRead(5000), "chunk read");
        buffer += QString::fromUtf8(chunk.constData()); // up to a zero byte
        QByteArray replies;
        QStringList calls;
        answer(buffer, server.serviceFlags, replies, calls);
        check(readAvailable(ends[1]) == replies && service->calls == calls,
              "replies and calls of the command table");
        service->calls.clear();
    }
    ::close(ends[1]);
    return 0;
}
