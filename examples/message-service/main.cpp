// A stand-in for the local message service, for host developers without the real one.
//
// Listens on 127.0.0.1:8889 for request frames (signed 64-bit payload length, then a data-stream
// byte array) and answers each with one frame. Requests, by their first element:
//   ping          -> "pong"
//   echo <x>      -> <x>, of the same kind
//   add <a> <b>   -> a + b as an integer element (wrapping like 32-bit arithmetic)
//   notify <text> -> "sent", and <text> plus a line feed goes to every client of 127.0.0.1:9998
//   anything else -> an empty byte string
// Malformed frames close their connection; the service keeps running.
#include <message/Message.h>

#include <QCoreApplication>
#include <QDataStream>
#include <QHash>
#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>

#include <cstdio>

namespace {

constexpr quint16 requestPort = 8889;
constexpr quint16 notificationPort = 9998;
constexpr qint64 largestPayload = 64 * 1024 * 1024;
constexpr quint32 nullPayload = 0xFFFFFFFFu;
constexpr int headerSize = 12;

QByteArray frame(const QByteArray &payload)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(12);
    out << static_cast<qint64>(payload.size()) << payload;
    return bytes;
}

QVariantList decodeElements(QByteArray payload)
{
    QVariantList elements;
    while (!payload.isEmpty()) {
        const int before = payload.size();
        const QVariant element = Message::takeFirst(&payload);
        if (!element.isValid() || payload.size() == before)
            break;
        elements << element;
    }
    return elements;
}

QString describe(const QVariantList &elements)
{
    QStringList parts;
    for (const QVariant &element : elements) {
        if (element.type() == QVariant::Int)
            parts << QString::number(element.toInt());
        else
            parts << QStringLiteral("\"%1\"").arg(QString::fromUtf8(element.toByteArray()));
    }
    return parts.join(QLatin1Char(' '));
}

class MessageService : public QObject
{
public:
    bool listen()
    {
        if (!requests.listen(QHostAddress::LocalHost, requestPort)
            || !notifications.listen(QHostAddress::LocalHost, notificationPort)) {
            std::fprintf(stderr, "cannot listen on ports %d and %d: %s%s\n", requestPort,
                         notificationPort, qPrintable(requests.errorString()),
                         qPrintable(notifications.errorString()));
            return false;
        }
        connect(&requests, &QTcpServer::newConnection, this, &MessageService::acceptRequests);
        connect(&notifications, &QTcpServer::newConnection, this,
                &MessageService::acceptNotifications);
        std::printf("message service listening on 127.0.0.1:%d and :%d\n", requestPort,
                    notificationPort);
        std::fflush(stdout);
        return true;
    }

private:
    void acceptRequests()
    {
        while (QTcpSocket *socket = requests.nextPendingConnection()) {
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
                serve(socket);
            });
            connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
                pending.remove(socket);
                socket->deleteLater();
            });
        }
    }

    void acceptNotifications()
    {
        while (QTcpSocket *socket = notifications.nextPendingConnection()) {
            listeners << socket;
            connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
                listeners.removeAll(socket);
                socket->deleteLater();
            });
        }
    }

    void serve(QTcpSocket *socket)
    {
        QByteArray &buffer = pending[socket];
        buffer += socket->readAll();
        while (buffer.size() >= headerSize) {
            QDataStream in(buffer);
            in.setVersion(12);
            qint64 outer = 0;
            quint32 inner = 0;
            in >> outer >> inner;
            const qint64 payloadSize = inner == nullPayload ? 0 : qint64(inner);
            if (outer < 0 || payloadSize > largestPayload) {
                std::printf("malformed frame (length %lld, inner %u): connection closed\n",
                            static_cast<long long>(outer), inner);
                std::fflush(stdout);
                pending.remove(socket);
                socket->abort();
                return;
            }
            if (buffer.size() < headerSize + payloadSize)
                return;
            const QByteArray payload = buffer.mid(headerSize, int(payloadSize));
            buffer.remove(0, headerSize + int(payloadSize));
            socket->write(frame(answer(decodeElements(payload))));
        }
    }

    QByteArray answer(const QVariantList &request)
    {
        Message reply;
        const QByteArray name = request.value(0).toByteArray();
        if (name == "ping") {
            reply.addArgument("pong");
        } else if (name == "echo" && request.size() > 1) {
            reply.addArgument(request[1]);
        } else if (name == "add" && request.size() > 2) {
            const quint32 sum = quint32(request[1].toInt()) + quint32(request[2].toInt());
            reply.addArgument(int(sum));
        } else if (name == "notify" && request.size() > 1) {
            for (QTcpSocket *listener : qAsConst(listeners))
                listener->write(request[1].toByteArray() + '\n');
            reply.addArgument("sent");
        } else {
            reply.addArgument(QByteArray());
        }
        std::printf("request %s -> reply %s\n", qPrintable(describe(request)),
                    qPrintable(describe(decodeElements(reply.data))));
        std::fflush(stdout);
        return reply.data;
    }

    QTcpServer requests;
    QTcpServer notifications;
    QHash<QTcpSocket *, QByteArray> pending;
    QList<QTcpSocket *> listeners;
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    MessageService service;
    if (!service.listen())
        return 1;
    return app.exec();
}
