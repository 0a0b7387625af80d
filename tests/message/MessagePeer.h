#ifndef ORVEX_TESTS_MESSAGEPEER_H
#define ORVEX_TESTS_MESSAGEPEER_H

#include <QByteArray>
#include <QDataStream>
#include <QHash>
#include <QHostAddress>
#include <QList>
#include <QMutex>
#include <QMutexLocker>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#include <atomic>

// A stand-in message service for the client tests: listens on the loopback ports 8889 and 9998 in
// its own thread (the client blocks the test's thread while it waits), records every request byte,
// and answers each complete request frame with the planned reply chunks.
class MessagePeer : public QThread
{
public:
    MessagePeer() = default;
    ~MessagePeer() override
    {
        quit();
        wait();
    }

    // Starts the thread and returns once both ports listen (false if either is taken).
    bool begin()
    {
        start();
        while (!ready.load())
            QThread::msleep(1);
        return listening.load();
    }

    // The reply to every later request, written as these chunks with `delayMs` between them.
    void plan(const QList<QByteArray> &chunks, int delayMs = 0)
    {
        QMutexLocker lock(&mutex);
        replyChunks = chunks;
        chunkDelayMs = delayMs;
    }

    // While set, a request connection is closed as soon as a whole request has arrived.
    void closeOnRequest(bool close)
    {
        QMutexLocker lock(&mutex);
        closeAfterRequest = close;
    }

    // While set, a request connection is closed as soon as the planned reply has been written.
    void closeAfterReply(bool close)
    {
        QMutexLocker lock(&mutex);
        closeAfterReplying = close;
    }

    int requestConnections() const { return connections.load(); }

    QByteArray received()
    {
        QMutexLocker lock(&mutex);
        return receivedBytes;
    }

    // Writes `line` on the notification connection (from the peer's own thread).
    void notify(const QByteArray &line)
    {
        QMetaObject::invokeMethod(notificationServer, [this, line] {
            for (QTcpSocket *socket : notificationServer->findChildren<QTcpSocket *>())
                socket->write(line);
        });
    }

    int notificationClients()
    {
        int count = 0;
        QMetaObject::invokeMethod(
                notificationServer,
                [this, &count] {
                    count = notificationServer->findChildren<QTcpSocket *>().size();
                },
                Qt::BlockingQueuedConnection);
        return count;
    }

    static QByteArray frame(qint64 outerLength, const QByteArray &payload)
    {
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out.setVersion(12);
        out << outerLength << payload;
        return bytes;
    }

protected:
    void run() override
    {
        QTcpServer requests;
        QTcpServer notifications;
        notificationServer = &notifications;
        listening = requests.listen(QHostAddress::LocalHost, 8889)
                && notifications.listen(QHostAddress::LocalHost, 9998);
        QObject::connect(&requests, &QTcpServer::newConnection, [&requests, this] {
            while (QTcpSocket *socket = requests.nextPendingConnection()) {
                ++connections;
                QObject::connect(socket, &QTcpSocket::readyRead, [socket, this] {
                    serve(socket);
                });
            }
        });
        QObject::connect(&notifications, &QTcpServer::newConnection, [&notifications] {
            while (notifications.nextPendingConnection()) {}
        });
        ready = true;
        exec();
        notificationServer = nullptr;
    }

private:
    // Answers once the buffered bytes hold a whole request frame.
    void serve(QTcpSocket *socket)
    {
        QByteArray &pending = pendingBytes[socket];
        const QByteArray bytes = socket->readAll();
        pending += bytes;
        QList<QByteArray> chunks;
        int delayMs = 0;
        bool closing = false;
        bool closingAfterReply = false;
        {
            QMutexLocker lock(&mutex);
            receivedBytes += bytes;
            chunks = replyChunks;
            delayMs = chunkDelayMs;
            closing = closeAfterRequest;
            closingAfterReply = closeAfterReplying;
        }
        while (pending.size() >= 12) {
            QDataStream in(pending);
            in.setVersion(12);
            qint64 outer = 0;
            quint32 inner = 0;
            in >> outer >> inner;
            const int frameSize = 12 + (inner == 0xFFFFFFFFu ? 0 : int(inner));
            if (pending.size() < frameSize)
                return;
            pending.remove(0, frameSize);
            if (closing) {
                pendingBytes.remove(socket);
                socket->disconnectFromHost();
                socket->deleteLater();
                return;
            }
            for (int i = 0; i < chunks.size(); ++i) {
                socket->write(chunks.at(i));
                socket->flush();
                if (delayMs > 0 && i + 1 < chunks.size())
                    QThread::msleep(delayMs);
            }
            if (closingAfterReply) {
                pendingBytes.remove(socket);
                socket->disconnectFromHost();
                socket->deleteLater();
                return;
            }
        }
    }

    QMutex mutex;
    QByteArray receivedBytes;
    QList<QByteArray> replyChunks;
    int chunkDelayMs = 0;
    bool closeAfterRequest = false;
    bool closeAfterReplying = false;
    std::atomic<int> connections{0};
    QHash<QTcpSocket *, QByteArray> pendingBytes;
    QTcpServer *notificationServer = nullptr;
    std::atomic<bool> ready{false};
    std::atomic<bool> listening{false};
};

#endif // ORVEX_TESTS_MESSAGEPEER_H
