// The command server on arbitrary chunks from its peer, against the command table.
//
// The first byte gives the service flags; the rest is a list of chunks, each a length byte and
// that many bytes. A fresh server adopts one end of a socket pair, every chunk is written to the
// other end and handed to the server before the next. The replies and the calls reaching the
// service must be exactly those that the protocol gives for the text sent.
#include "common/Check.h"
#include "service/helpers/CommandPeer.h"

#include <QCoreApplication>
#include <QTcpSocket>

#include <cstdint>

namespace {

RecordingService *service = nullptr;

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
    static RecordingService recording(QStringLiteral("fuzz"));
    service = &recording;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    QtServiceSysPrivate server;
    server.serviceFlags = QtServiceBase::ServiceFlags(data[0] & 3);
    const int peer = adoptedPeer(server);
    CHECK(peer >= 0);
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
        check(::write(peer, chunk.constData(), length) == ssize_t(length), "chunk written");
        // Reads the chunk and answers the complete lines in it, within this call.
        check(connection->waitForReadyRead(5000), "chunk read");
        buffer += QString::fromUtf8(chunk.constData()); // up to a zero byte
        QByteArray replies;
        QStringList calls;
        answer(buffer, server.serviceFlags, replies, calls);
        check(readAvailable(peer) == replies && service->calls == calls,
              "replies and calls of the command table");
        service->calls.clear();
    }
    ::close(peer);
    return 0;
}
