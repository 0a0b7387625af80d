#include "service/QtUnixServerSocket.h"
#include "service/QtUnixSocket.h"

#include <QtTest>

class tst_UnixSocket : public QObject
{
    Q_OBJECT

private slots:
    void listenOverWhatIsThere_data();
    void listenOverWhatIsThere();
    void connectToNobodyLeaksNothing_data();
    void connectToNobodyLeaksNothing();
};

void tst_UnixSocket::listenOverWhatIsThere_data()
{
    QTest::addColumn<QString>("inTheWay");
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("listening");
    QTest::newRow("fresh path") << ""
                                << "s" << true;
    QTest::newRow("socket file of a server destroyed without close") << "socket"
                                                                     << "s" << true;
    QTest::newRow("regular file") << "file"
                                  << "s" << true;
    QTest::newRow("path with NUL: used up to it")
            << "" << QStringLiteral("s") + QChar(0) + "tail" << true;
    QTest::newRow("directory missing") << ""
                                       << "missing/s" << false;
}

void tst_UnixSocket::listenOverWhatIsThere()
{
    QFETCH(QString, inTheWay);
    QFETCH(QString, path);
    QFETCH(bool, listening);

    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("s"));
    if (inTheWay == "socket")
        QVERIFY(QtUnixServerSocket(file).isListening());
    if (inTheWay == "file")
        QVERIFY(QFile(file).open(QIODevice::WriteOnly));
    QCOMPARE(QFileInfo::exists(file), !inTheWay.isEmpty());

    // A failed path also drops the path listened on before.
    QtUnixServerSocket server;
    if (!listening)
        server.setPath(dir.filePath(QStringLiteral("earlier")));
    server.setPath(dir.filePath(path));
    QCOMPARE(server.path, listening ? dir.filePath(path) : QString());
    QtUnixSocket client;
    QCOMPARE(client.connectTo(file), listening);
    server.close();
    QVERIFY(!server.isListening());
    QVERIFY(server.path.isNull());
    QVERIFY(!QFileInfo::exists(file));
}

void tst_UnixSocket::connectToNobodyLeaksNothing_data()
{
    QTest::addColumn<bool>("stale");
    QTest::newRow("no file") << false;
    QTest::newRow("socket file left by a destroyed server") << true;
}

void tst_UnixSocket::connectToNobodyLeaksNothing()
{
    QFETCH(bool, stale);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("target"));
    if (stale)
        QVERIFY(QtUnixServerSocket(path).isListening());
    QVERIFY(QFileInfo::exists(path) == stale);

    const auto openDescriptors = [] {
        return QDir(QStringLiteral("/dev/fd")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    };
    const int before = openDescriptors().size();
    QtUnixSocket client;
    QVERIFY(!client.connectTo(path));
    QCOMPARE(client.state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(openDescriptors().size(), before);
}

QTEST_GUILESS_MAIN(tst_UnixSocket)
#include "tst_unixsocket.moc"
