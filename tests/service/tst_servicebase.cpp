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
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QStringList>("calls");
    // The rest of the command table is checked by the command server's corpus replay.
    QTest::newRow("pause and resume refused without flags")
            << 0 << QByteArray("falsefalse") << QStringList();
    QTest::newRow("pause and resume honoured")
            << int(QtServiceBase::Suspendable) << QByteArray("truetrue")
            << QStringList{"pause", "resume"};
}

void tst_ServiceBase::commandProtocol()
{
    QFETCH(int, flags);
    RecordingService service(QStringLiteral("protocol"));
    QtServiceSysPrivate server;
    server.serviceFlags = QtServiceBase::ServiceFlags(flags);
    const int peer = adoptedPeer(server);
    auto *connection = server.findChild<QTcpSocket *>();
    QVERIFY(peer >= 0 && connection);
    const QByteArray sent = "pause\r\nresume\r\n";
    QCOMPARE(::write(peer, sent.constData(), size_t(sent.size())), ssize_t(sent.size()));
    // Replies are written and flushed within the slot that reads the commands.
    QVERIFY(connection->waitForReadyRead(5000));
    const QByteArray received = readAvailable(peer);
    ::close(peer);
    QTEST(received, "reply");
    QTEST(service.calls, "calls");
}

QTEST_GUILESS_MAIN(tst_ServiceBase)
#include "tst_servicebase.moc"
