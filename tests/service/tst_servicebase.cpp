#include "service/QtServiceBase.h"
#include "service/QtServicePrivate.h"

#include <QtTest>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// Records the calls the command server makes.
class RecordingService : public QtServiceBase
{
public:
    RecordingService(const QString &name) : QtServiceBase(0, nullptr, name) {}

    QStringList calls;

protected:
    void start() override { calls << QStringLiteral("start"); }
    void stop() override { calls << QStringLiteral("stop"); }
    void pause() override { calls << QStringLiteral("pause"); }
    void resume() override { calls << QStringLiteral("resume"); }
    void processCommand(int code) override { calls << QStringLiteral("num %1").arg(code); }
    void makeApplication(int &, char **) override {}
    int execApplication() override { return 0; }
};

struct Warning
{
    QString text;
    QByteArray category;
    bool hasContext;
};
QList<Warning> warnings;

void recordWarning(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type == QtWarningMsg)
        warnings << Warning{text, context.category,
                            context.file || context.line || context.function};
}

} // namespace

class tst_ServiceBase : public QObject
{
    Q_OBJECT

private slots:
    void nameIsCleanedWithWarnings_data();
    void nameIsCleanedWithWarnings();
    void filePathSearchesPath_data();
    void filePathSearchesPath();
    void commandProtocol_data();
    void commandProtocol();
};

void tst_ServiceBase::nameIsCleanedWithWarnings_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("cleaned");
    QTest::addColumn<QStringList>("expectedWarnings");
    QTest::newRow("ordinary") << "Service"
                              << "Service" << QStringList();
    QTest::newRow("300 characters cut to 255")
            << QString(300, QLatin1Char('x')) << QString(255, QLatin1Char('x'))
            << QStringList{"QtService: 'name' is longer than 255 characters."};
    QTest::newRow("backslash becomes U+0000")
            << "a\\b\\" << QStringLiteral("a") + QChar(0) + QStringLiteral("b") + QChar(0)
            << QStringList{"QtService: 'name' contains backslashes '\\'."};
}

void tst_ServiceBase::nameIsCleanedWithWarnings()
{
    QFETCH(QString, name);
    QFETCH(QString, cleaned);
    QFETCH(QStringList, expectedWarnings);

    warnings.clear();
    const QtMessageHandler previous = qInstallMessageHandler(recordWarning);
    {
        RecordingService service(name);
        QCOMPARE(QtServiceBase::instance(), &service);
        QCOMPARE(service.serviceName(), cleaned);
    }
    qInstallMessageHandler(previous);
    QCOMPARE(QtServiceBase::instance(), nullptr);

    QCOMPARE(warnings.size(), expectedWarnings.size());
    for (int i = 0; i < warnings.size(); ++i) {
        QCOMPARE(warnings.at(i).text, expectedWarnings.at(i));
        QCOMPARE(warnings.at(i).category, QByteArray("default"));
        QVERIFY(!warnings.at(i).hasContext);
    }
}

void tst_ServiceBase::filePathSearchesPath_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");
    const QString cwd = QDir::currentPath();
    // "@" stands for the temporary directory holding bin/prog.
    QTest::newRow("absolute") << "/opt/x/../svc/prog"
                              << ""
                              << "/opt/svc/prog";
    QTest::newRow("relative, directory exists") << "@/bin/prog"
                                                << ""
                                                << "@/bin/prog";
    QTest::newRow("relative, directory missing") << "nowhere/prog"
                                                 << "" << cwd + "/prog";
    QTest::newRow("bare, later PATH entry") << "prog"
                                            << "/nonexistent:@/bin/"
                                            << "@/bin/prog";
    QTest::newRow("bare, in no entry") << "prog"
                                       << "/nonexistent" << cwd + "/prog";
}

void tst_ServiceBase::filePathSearchesPath()
{
    QFETCH(QString, program);
    QFETCH(QString, path);
    QFETCH(QString, expected);

    QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("bin")));
    QFile prog(dir.filePath(QStringLiteral("bin/prog")));
    QVERIFY(prog.open(QIODevice::WriteOnly));
    const QString relativeDir = QDir::current().relativeFilePath(dir.path());
    program.replace(QLatin1Char('@'), relativeDir);
    path.replace(QLatin1Char('@'), dir.path());
    expected.replace(QLatin1Char('@'), dir.path());

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

    const int none = 0;
    const int suspendable = QtServiceBase::Suspendable;
    const int unstoppable = QtServiceBase::Unstoppable;
    QTest::newRow("two commands in one chunk") << none << QByteArrayList{"alive\r\nalive\r\n"}
                                               << QByteArray("truetrue") << QStringList();
    QTest::newRow("command split over chunks")
            << none << QByteArrayList{"ali", "ve\r", "\n"} << QByteArray("true") << QStringList();
    QTest::newRow("lone line feed ends nothing")
            << none << QByteArrayList{"alive\n"} << QByteArray() << QStringList();
    QTest::newRow("lone line feed joins two lines")
            << none << QByteArrayList{"alive\n", "alive\r\n"} << QByteArray("false")
            << QStringList();
    QTest::newRow("zero byte drops the rest of its chunk")
            << none << QByteArrayList{QByteArray("alive\0\r\nx\r\n", 11), "\r\n"}
            << QByteArray("true") << QStringList();
    QTest::newRow("another case") << none << QByteArrayList{"Alive\r\n"} << QByteArray("false")
                                  << QStringList();
    QTest::newRow("num alone") << none << QByteArrayList{"num:\r\n"} << QByteArray("false")
                               << QStringList();
    QTest::newRow("num with letters")
            << none << QByteArrayList{"num:abc\r\n"} << QByteArray("true") << QStringList{"num 0"};
    QTest::newRow("num negative") << none << QByteArrayList{"num:-12\r\n"} << QByteArray("true")
                                  << QStringList{"num -12"};
    QTest::newRow("pause refused") << none << QByteArrayList{"pause\r\nresume\r\n"}
                                   << QByteArray("falsefalse") << QStringList();
    QTest::newRow("pause and resume honoured")
            << suspendable << QByteArrayList{"pause\r\nresume\r\n"} << QByteArray("truetrue")
            << QStringList{"pause", "resume"};
    QTest::newRow("terminate") << suspendable << QByteArrayList{"terminate\r\n"}
                               << QByteArray("true") << QStringList{"stop"};
    QTest::newRow("terminate refused") << unstoppable << QByteArrayList{"terminate\r\n"}
                                       << QByteArray("false") << QStringList();
    QTest::newRow("empty line stops the chunk")
            << none << QByteArrayList{"\r\nalive\r\n"} << QByteArray() << QStringList();
    QTest::newRow("lines after an empty one wait for more data")
            << none << QByteArrayList{"\r\nnum:1\r\n", "num:2\r\n"} << QByteArray("truetrue")
            << QStringList{"num 1", "num 2"};
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
    int ends[2];
    QCOMPARE(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    server.incomingConnection(ends[0]);
    auto *connection = server.findChild<QTcpSocket *>();
    QVERIFY(connection);
    QSignalSpy arrivals(connection, &QIODevice::readyRead);

    // One chunk at a time: each is read before the next is written.
    for (int i = 0; i < chunks.size(); ++i) {
        QCOMPARE(::write(ends[1], chunks.at(i).constData(), size_t(chunks.at(i).size())),
                 ssize_t(chunks.at(i).size()));
        QTRY_COMPARE_WITH_TIMEOUT(arrivals.count(), i + 1, 5000);
    }

    // Replies are written and flushed within the slot, so they are all there by now.
    QByteArray received;
    char buffer[256];
    pollfd entry = {ends[1], POLLIN, 0};
    while (::poll(&entry, 1, 0) == 1) {
        const ssize_t n = ::read(ends[1], buffer, sizeof(buffer));
        if (n <= 0)
            break;
        received.append(buffer, int(n));
    }
    ::close(ends[1]);
    QCOMPARE(received, reply);
    QCOMPARE(service.calls, calls);
}

QTEST_GUILESS_MAIN(tst_ServiceBase)
#include "tst_servicebase.moc"
