#include "message/Manager.h"

#include "util/Logger.h"

#include <QDataStream>
#include <QHostAddress>
#include <QTcpSocket>

namespace Orvex {

namespace {

constexpr quint16 requestPort = 8889;
constexpr quint16 notificationPort = 9998;
constexpr int replyTimeoutMs = 30000;
// The Qt 4.6 data-stream format, which the service speaks.
constexpr int streamVersion = 12;

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
        if (sockets->request.waitForReadyRead(replyTimeoutMs)) {
            QByteArray reply = readSocket();
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
    QTcpSocket &socket = sockets->request;
    QDataStream in(&socket);
    in.setVersion(streamVersion);
    qint64 payloadSize = 0;
    in >> payloadSize;
    // Deliberate: once a reply has begun there is no overall time-out; the wait results are
    // ignored and only enough buffered bytes end the loop. The count is compared with the payload
    // size alone, so the last four bytes of the frame may still be on their way.
    while (socket.bytesAvailable() < payloadSize)
        socket.waitForReadyRead(replyTimeoutMs);
    QByteArray payload;
    in >> payload;
    return payload;
}

void Manager::dataReceived()
{
    while (!sockets->notification.readLine().isEmpty()) {}
    Logger::log(QStringLiteral("Data-received"), LogTrace);
}

} // namespace Orvex
