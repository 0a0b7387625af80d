#include "message/Manager.h"

#include "util/Logger.h"

#include <QDataStream>
#include <QHostAddress>
#include <QTcpSocket>
#include <QThread>

#include <limits>

namespace Orvex {

namespace {

constexpr quint16 requestPort = 8889;
constexpr quint16 notificationPort = 9998;
constexpr int replyTimeoutMs = 30000;
// The Qt 4.6 data-stream format, which the service speaks.
constexpr int streamVersion = 12;
// The longest payload a QByteArray can hold: its allocation, header and terminating zero included,
// stays within what Qt allocates at all.
constexpr qint64 maxPayloadSize =
        qint64(std::numeric_limits<int>::max()) - qint64(sizeof(QByteArrayData)) - 1;

// The service has closed the connection in the middle of a frame, so the frame never completes.
// Deliberate: the caller waits for it as for any unfinished reply, forever, but asleep.
[[noreturn]] void waitForever()
{
    for (;;)
        QThread::sleep(3600);
}

// Reads one frame from socket into payload. False, with nothing read beyond the length, when the
// announced length is one no QByteArray can hold.
bool readFrame(QTcpSocket &socket, QByteArray *payload)
{
    QDataStream in(&socket);
    in.setVersion(streamVersion);
    qint64 payloadSize = 0;
    in >> payloadSize;
    if (payloadSize > maxPayloadSize)
        return false;
    // Deliberate: once a reply has begun there is no overall time-out; the wait results are
    // ignored and only enough buffered bytes end the loop. The count is compared with the payload
    // size alone, so the last four bytes of the frame may still be on their way.
    while (socket.bytesAvailable() < payloadSize) {
        // A closed socket answers every wait at once; nothing more can arrive on it.
        if (socket.state() == QAbstractSocket::UnconnectedState)
            waitForever();
        socket.waitForReadyRead(replyTimeoutMs);
    }
    in >> *payload;
    return true;
}

} // namespace

// Destroyed in reverse order: the notification socket first, then the request socket.
struct Manager::Sockets
{
    QTcpSocket request;
    QTcpSocket notification;
};

Manager *Manager::instance = nullptr;

Manager::Manager() : QObject(nullptr), sockets(new Sockets)
{
    connect(&sockets->notification, &QTcpSocket::readyRead, this, &Manager::dataReceived);
    sockets->request.abort();
    sockets->request.connectToHost(QHostAddress::LocalHost, requestPort, QIODevice::ReadWrite);
    sockets->notification.connectToHost(QHostAddress::LocalHost, notificationPort,
                                        QIODevice::ReadWrite);
}

Manager::~Manager()
{
    delete sockets;
}

Manager *Manager::getInstance()
{
    if (!instance)
        instance = new Manager();
    return instance;
}

void Manager::close()
{
    if (instance) {
        delete instance;
        instance = nullptr;
    }
}

QVariant Manager::send(const Message &message, const QVariant &defaultValue)
{
    // Any state but unconnected passes, a connection still being made included.
    if (sockets->request.state() == QAbstractSocket::UnconnectedState) {
        Logger::logErr(QStringLiteral("[default]"));
        return defaultValue;
    }
    try {
        writeSocket(message.data);
        QByteArray reply;
        // A length that cannot be decoded counts as no reply.
        if (sockets->request.waitForReadyRead(replyTimeoutMs)
            && readFrame(sockets->request, &reply)) {
            return Message::takeFirst(&reply);
        }
    } catch (...) {
        // Handled as a time-out below.
    }
    Logger::logErr(QStringLiteral("[No return]"));
    // Deliberate: this usually deletes the very object running send(), so that the next
    // getInstance() connects afresh; no member is touched from here on.
    close();
    return defaultValue;
}

qint64 Manager::writeSocket(const QByteArray &data)
{
    QByteArray frame;
    QDataStream out(&frame, QIODevice::WriteOnly);
    out.setVersion(streamVersion);
    // Deliberate: the outer length counts the payload only, not the 4-byte inner length.
    out << static_cast<qint64>(data.size());
    out << data;
    return sockets->request.write(frame);
}

QByteArray Manager::readSocket()
{
    QByteArray payload;
    readFrame(sockets->request, &payload);
    return payload;
}

void Manager::dataReceived()
{
    while (!sockets->notification.readLine().isEmpty()) {}
    Logger::log(QStringLiteral("Data-received"), LogTrace);
}

} // namespace Orvex
