#include "service/QtUnixServerSocket.h"
#include "service/QtUnixSocket.h"

#include <QtTest>

namespace {

int openDescriptorCount()
{
    return QDir(QStringLiteral("/dev/fd"))
            .entryList(QDir::AllEntries | QDir::NoDotAndDotDot)
            .size();
}

} // namespace

class tst_UnixSocket : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void bytesFlowBothWays();
    void staleFileDoesNotStopListening();
    void missingDirectoryLeavesServerIdle();
    void pathIsUsedUpToNul();
    void connectToNobodyLeaksNothing_data();
    void connectToNobodyLeaksNothing();

private:
    QString socketFile(const QString &name) const { return dir->filePath(name); }

    QScopedPointer<QTemporaryDir> dir;
};

void tst_UnixSocket::init()
{
    dir.reset(new QTemporaryDir);
    QVERIFY(dir->isValid());
}

void tst_UnixSocket::bytesFlowBothWays()
{
    const QString path = socketFile(QStringLiteral("s"));
    QtUnixServerSocket server(path);
    QVERIFY(server.isListening());
    QCOMPARE(server.path, path);

    QtUnixSocket client;
    QVERIFY(client.connectTo(path));
    QCOMPARE(client.state(), QAbstractSocket::ConnectedState);
    QTRY_VERIFY_WITH_TIMEOUT(server.hasPendingConnections(), 5000);
    QTcpSocket *accepted = server.nextPendingConnection();

    QByteArray atServer;
    QByteArray atClient;
    connect(accepted, &QIODevice::readyRead, this, [&] {
        atServer += accepted->readAll();
    });
    connect(&client, &QIODevice::readyRead, this, [&] {
        atClient += client.readAll();
    });
    client.write("ping\r\n");
    QTRY_COMPARE_WITH_TIMEOUT(atServer, QByteArray("ping\r\n"), 5000);
    accepted->write("true");
    QTRY_COMPARE_WITH_TIMEOUT(atClient, QByteArray("true"), 5000);

    QSignalSpy closed(&client, &QAbstractSocket::disconnected);
    accepted->close();
    QTRY_COMPARE_WITH_TIMEOUT(closed.count(), 1, 5000);
}

void tst_UnixSocket::staleFileDoesNotStopListening()
{
    const QString path = socketFile(QStringLiteral("stale"));
    {
        QtUnixServerSocket earlier(path);
        QVERIFY(earlier.isListening());
    }
    QVERIFY2(QFileInfo::exists(path), "destruction alone removes the socket file");

    QtUnixServerSocket server;
    server.setPath(path);
    QVERIFY(server.isListening());
    QtUnixSocket client;
    QVERIFY(client.connectTo(path));

    server.close();
    QVERIFY(!server.isListening());
    QVERIFY(server.path.isNull());
    QVERIFY(!QFileInfo::exists(path));
}

void tst_UnixSocket::missingDirectoryLeavesServerIdle()
{
    QtUnixServerSocket server(socketFile(QStringLiteral("missing/s")));
    QVERIFY(!server.isListening());
    QVERIFY(server.path.isNull());

    // A failed path also drops the path listened on before.
    const QString path = socketFile(QStringLiteral("s"));
    server.setPath(path);
    QVERIFY(server.isListening());
    server.setPath(socketFile(QStringLiteral("missing/s")));
    QVERIFY(server.path.isNull());
}

void tst_UnixSocket::pathIsUsedUpToNul()
{
    const QString path = socketFile(QStringLiteral("s"));
    const QString withNul = path + QChar(0) + QStringLiteral("tail");
    QtUnixServerSocket server(withNul);
    QVERIFY(server.isListening());
    QCOMPARE(server.path, withNul);
    QVERIFY(QFileInfo::exists(path));
    QtUnixSocket client;
    QVERIFY(client.connectTo(path));
    server.close();
    QVERIFY(!QFileInfo::exists(path));
}

void tst_UnixSocket::connectToNobodyLeaksNothing_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("no file") << "none";
    QTest::newRow("regular file") << "file";
    QTest::newRow("socket file left by a destroyed server") << "stale";
}

void tst_UnixSocket::connectToNobodyLeaksNothing()
{
    QFETCH(QString, kind);
    const QString path = socketFile(QStringLiteral("target"));
    if (kind == QLatin1String("file")) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
    } else if (kind == QLatin1String("stale")) {
        QtUnixServerSocket earlier(path);
        QVERIFY(earlier.isListening());
    }

    const int before = openDescriptorCount();
    QtUnixSocket client;
    QVERIFY(!client.connectTo(path));
    QCOMPARE(client.state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(openDescriptorCount(), before);
}

QTEST_GUILESS_MAIN(tst_UnixSocket)
#include "tst_unixsocket.moc"
