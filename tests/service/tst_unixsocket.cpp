#include "service/QtUnixServerSocket.h"
#include "service/QtUnixSocket.h"

#include <QtTest>

class tst_UnixSocket : public QObject
{
    Q_OBJECT

private slots:
    void listenOverWhatIsThere_data();
    void listenOverWhatIsThere();
};

void tst_UnixSocket::listenOverWhatIsThere_data()
{
    QTest::addColumn<QString>("inTheWay");
    QTest::addColumn<QString>("path"); // "+" pads the whole path to 106 bytes
    QTest::addColumn<int>("fileLength"); // of the socket file made, when the path is cut
    QTest::addColumn<bool>("listening");
    const auto row = [](const char *what, const char *inTheWay, const QString &path, int fileLength,
                        bool listening) {
        QTest::newRow(what) << inTheWay << path << fileLength << listening;
    };
    row("fresh path", "", "s", 0, true);
    row("socket file of a server destroyed without close", "socket", "s", 0, true);
    row("regular file", "file", "s", 0, true);
    row("path with NUL: used up to it", "", QStringLiteral("s") + QChar(0) + "tail", 0, true);
    row("path of 106 bytes: cut at 104", "", "s+", 104, true);
    row("directory missing", "", "missing/s", 0, false);
}

void tst_UnixSocket::listenOverWhatIsThere()
{
    QFETCH(QString, inTheWay);
    QFETCH(QString, path);
    QFETCH(int, fileLength);
    QFETCH(bool, listening);

    QTemporaryDir dir;
    path = dir.filePath(path);
    if (path.endsWith('+'))
        path = path.chopped(1).leftJustified(106, 'x');
    const QString file = fileLength > 0 ? path.left(fileLength) : dir.filePath(QStringLiteral("s"));
    if (inTheWay == "socket")
        QVERIFY(QtUnixServerSocket(file).isListening());
    if (inTheWay == "file")
        QVERIFY(QFile(file).open(QIODevice::WriteOnly));
    QCOMPARE(QFileInfo::exists(file), !inTheWay.isEmpty());

    // A failed path also drops the path listened on before.
    QtUnixServerSocket server;
    if (!listening)
        server.setPath(dir.filePath(QStringLiteral("earlier")));
    server.setPath(path);
    QCOMPARE(server.path, listening ? path : QString());
    QCOMPARE(QFileInfo::exists(file), listening);
    QtUnixSocket client;
    QCOMPARE(client.connectTo(path), listening);
    server.close();
    QVERIFY(!server.isListening());
    QVERIFY(server.path.isNull());
    // close() removes the whole path, so the file of a cut path stays.
    QCOMPARE(QFileInfo::exists(file), fileLength > 0);

    // Nobody listens now: connecting fails and leaves no descriptor open, stale file or none.
    const auto descriptors = [] {
        return QDir(QStringLiteral("/dev/fd")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    };
    const int before = descriptors().size();
    QVERIFY(!QtUnixSocket(nullptr).connectTo(path));
    QCOMPARE(descriptors().size(), before);
}

QTEST_GUILESS_MAIN(tst_UnixSocket)
#include "tst_unixsocket.moc"
