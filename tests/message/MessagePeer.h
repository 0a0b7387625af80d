#ifndef ORVEX_TESTS_MESSAGEPEER_H
#define ORVEX_TESTS_MESSAGEPEER_H

#include <QByteArray>
#include <QDataStream>
#include <QHostAddress>
#include <QList>
#include <QMutex>
#include <QMutexLocker>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#include <atomic>

// A stand-in message service for the client tests. It runs in its own thread (the client blocks
// the test's thread while it waits), listens on the loopback ports 8889 and 9998, records every
// request byte and answers each whole request frame as planned.
class MessagePeer : public QThread
{
public:
    struct Plan
    {
        QList<QByteArray> chunks; // written one by one, `delayMs` apart
        int delayMs = 0;
        bool close = false; // close the connection after the chunks
    };

    ~MessagePeer() override
    {
        quit();
        wait();
    }

    // The first of the two ports that another program holds, or 0.
    static quint16 takenPort()
    {
        for (const quint16 port : {8889, 9998}) {
            QTcpServer probe;
            if (!probe.listen(QHostAddress::LocalHost, port))
                return port;
        }
        return 0;
    }

    // Starts the thread; false when either port is taken.
    bool begin()
    {
        start();
        while (!ready.load())
            QThread::msleep(1);
        return listening.load();
    }

    void plan(const Plan &next)
    {
        QMutexLocker lock(&mutex);
        current = next;
    }

    QByteArray received()
    {
        QMutexLocker lock(&mutex);
        return receivedBytes;
    }

    // Writes `bytes` to every notification connection, from the peer's thread.
    void notify(const QByteArray &bytes)
    {
        QMetaObject::invokeMethod(notificationServer, [this, bytes] {
            for (QTcpSocket *socket : notificationServer->findChildren<QTcpSocket *>())
                socket->write(bytes);
        });
    }

    std::atomic<int> requestConnections{0};
    std::atomic<int> notificationConnections{0};

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
                ++requestConnections;
                QObject::connect(socket, &QTcpSocket::readyRead, [socket, this] {
                    serve(socket);
                });
            }
        });
        QObject::connect(&notifications, &QTcpServer::newConnection, [&notifications, this] {
            while (notifications.nextPendingConnection())
                ++notificationConnections;
        });
        ready = true;
        exec();
    }

private:
    // Answers once the socket's unread bytes hold a whole request frame.
    void serve(QTcpSocket *socket)
    {
        while (socket->bytesAvailable() >= 12) {
            QDataStream in(socket->peek(12));
            qint64 outer = 0;
            quint32 inner = 0;
            in >> outer >> inner;
            const int frameSize = 12 + (inner == 0xFFFFFFFFu ? 0 : int(inner));
            if (socket->bytesAvailable() < frameSize)
                return;
            Plan reply;
            {
                QMutexLocker lock(&mutex);
                receivedBytes += socket->read(frameSize);
                reply = current;
            }
            for (int i = 0; i < reply.chunks.size(); ++i) {
                QThread::msleep(i > 0 ? reply.delayMs : 0);
                socket->write(reply.chunks[i]);
                socket->flush();
            }
            if (reply.close) {
                socket->disconnectFromHost();
                socket->deleteLater();
                return;
            }
        }
    }

    QMutex mutex;
    QByteArray receivedBytes;
    Plan current;
    QTcpServer *notificationServer = nullptr;
    std::atomic<bool> ready{false};
    std::atomic<bool> listening{false};
};

#endif // ORVEX_TESTS_MESSAGEPEER_H
