#include "service/helpers/CommandPeer.h"

#include <QtTest>

namespace {

QStringList warnings;

void recordWarning(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    // Warnings about the name carry no file, line or function.
    if (type == QtWarningMsg && !context.file && !context.line && !context.function)
        warnings << text;
}

} // namespace

class tst_ServiceBase : public QObject
{
    Q_OBJECT

private slots:
    void nameIsCleanedWithWarnings();
    void filePathSearchesPath_data();
    void filePathSearchesPath();
    void commandProtocol_data();
    void commandProtocol();
};

void tst_ServiceBase::nameIsCleanedWithWarnings()
{
    // Cut to 255 first, then every backslash becomes U+0000, keeping the length.
    const QString name = QStringLiteral("a\\b") + QString(300, QLatin1Char('x'));
    const QtMessageHandler previous = qInstallMessageHandler(recordWarning);
    {
        RecordingService service(name);
        QCOMPARE(QtServiceBase::instance(), &service);
        QCOMPARE(service.serviceName(), QStringLiteral("a") + QChar(0) + name.mid(2, 253));
    }
    qInstallMessageHandler(previous);
    QCOMPARE(QtServiceBase::instance(), nullptr);
    QCOMPARE(warnings,
             QStringList({"QtService: 'name' is longer than 255 characters.",
                          "QtService: 'name' contains backslashes '\\'."}));
}

void tst_ServiceBase::filePathSearchesPath_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");
    // "@" stands for the temporary directory holding bin/prog and other/prog, "." for the current
    // directory.
    const auto row = [](const char *what, const char *program, const char *path,
                        const char *expected) {
        QTest::newRow(what) << program << path << expected;
    };
    row("absolute, cleaned", "/opt/x/../svc/prog", "", "/opt/svc/prog");
    row("relative", "@/bin/prog", "", "@/bin/prog");
    row("relative, directory missing", "nowhere/prog", "", "./prog");
    row("bare, first of two PATH entries holding it", "prog", "/nonexistent:@/bin/:@/other",
        "@/bin/prog");
    row("bare, in no PATH entry", "prog", "/nonexistent", "./prog");
}

void tst_ServiceBase::filePathSearchesPath()
{
    QFETCH(QString, program);
    QFETCH(QString, path);
    QFETCH(QString, expected);

    QTemporaryDir dir;
    for (const char *file : {"bin/prog", "other/prog"}) {
        QVERIFY(QDir(dir.path()).mkpath(QFileInfo(file).path()));
        QVERIFY(QFile(dir.filePath(file)).open(QIODevice::WriteOnly));
    }
    program.replace('@', QDir::current().relativeFilePath(dir.path()));
    path.replace('@', dir.path());
    expected.replace('@', dir.path())
            .replace(QRegularExpression("^\\./"), QDir::currentPath() + '/');

    const QByteArray savedPath = qgetenv("PATH");
    qputenv("PATH", path.toLocal8Bit());
    QtServiceBasePrivate host(QStringLiteral("svc"));
    host.arguments << program;
    const QString found = host.filePath();
    qputenv("PATH", savedPath);
    QCOMPARE(found, expected);
}

void tst_ServiceBase::commandProtocol_data()
{
    QTest::addColumn<int>("flags");
    QTest::addColumn<QByteArrayList>("chunks");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QStringList>("calls");
    const auto row = [](const char *what, int flags, const QByteArrayList &chunks,
                        const char *reply, const QStringList &calls) {
        QTest::newRow(what) << flags << chunks << QByteArray(reply) << calls;
    };
    const int suspendable = QtServiceBase::Suspendable;
    const int unstoppable = QtServiceBase::Unstoppable;
    row("two commands in one chunk", 0, {"alive\r\nalive\r\n"}, "truetrue", {});
    row("command split over chunks", 0, {"ali", "ve\r", "\n"}, "true", {});
    row("lone line feed ends nothing", 0, {"alive\n", "alive\r\n"}, "false", {});
    row("zero byte drops the rest of its chunk", 0, {QByteArray("alive\0\r\nx\r\n", 11), "\r\n"},
        "true", {});
    row("unknown, other case, num alone", 0, {"Alive\r\nnum:\r\nstop\r\n"}, "falsefalsefalse", {});
    row("num reads a decimal or 0", 0, {"num:-12\r\nnum:abc\r\n"}, "truetrue", {"-12", "0"});
    row("pause and resume refused without flags", 0, {"pause\r\nresume\r\n"}, "falsefalse", {});
    row("pause and resume refused to the unstoppable", unstoppable, {"pause\r\nresume\r\n"},
        "falsefalse", {});
    row("pause and resume honoured", suspendable, {"pause\r\nresume\r\n"}, "truetrue",
        {"pause", "resume"});
    row("terminate", suspendable, {"terminate\r\n"}, "true", {"stop"});
    row("terminate refused", unstoppable, {"terminate\r\n"}, "false", {});
    row("empty line: what follows waits for more data", 0, {"\r\nnum:1\r\n"}, "", {});
}

void tst_ServiceBase::commandProtocol()
{
    QFETCH(int, flags);
    QFETCH(QByteArrayList, chunks);
    QFETCH(QByteArray, reply);
    QFETCH(QStringList, calls);

    RecordingService service(QStringLiteral("protocol"));
    QtServiceSysPrivate server;
    server.serviceFlags = QtServiceBase::ServiceFlags(flags);
    const int peer = adoptedPeer(server);
    QVERIFY(peer >= 0);
    auto *connection = server.findChild<QTcpSocket *>();
    QVERIFY(connection);
    QSignalSpy arrivals(connection, &QIODevice::readyRead);
    // One chunk at a time: each is read before the next is written.
    for (int i = 0; i < chunks.size(); ++i) {
        QCOMPARE(::write(peer, chunks.at(i).constData(), size_t(chunks.at(i).size())),
                 ssize_t(chunks.at(i).size()));
        QTRY_COMPARE_WITH_TIMEOUT(arrivals.count(), i + 1, 5000);
    }
    // Replies are written and flushed within the slot, so they are all there by now.
    const QByteArray received = readAvailable(peer);
    ::close(peer);
    QCOMPARE(received, reply);
    QCOMPARE(service.calls, calls);
}

QTEST_GUILESS_MAIN(tst_ServiceBase)
#include "tst_servicebase.moc"
