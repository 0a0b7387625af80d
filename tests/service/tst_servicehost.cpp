#include "service/QtServiceController.h"
#include "service/QtUnixServerSocket.h"

#include <QtTest>

#include <csignal>

#include <sys/stat.h>

namespace {

const QString testServicePath = QStringLiteral(ORVEX_TEST_SERVICE_PATH);

const QByteArray helpText = "\n" + testServicePath.toLatin1()
        + " -[i|u|e|s|v|h]\n\t-i(nstall) [account] [password]\t: Install the service, optionally "
          "using given account and password\n\t-u(ninstall)\t: Uninstall the service.\n\t-e(xec)"
          "\t\t: Run as a regular application. Useful for debugging.\n\t-t(erminate)\t: Stop the "
          "service.\n\t-c(ommand) num\t: Send command code num to the service.\n\t-v(ersion)\t: "
          "Print version and status information.\n\t-h(elp)   \t: Show this help\n\tNo "
          "arguments\t: Start the service.\n";

struct Outcome
{
    int exitCode = -1000;
    QByteArray out;
    QByteArray err;
};

bool processGone(qint64 pid)
{
    // A detached service is reparented; a zombie left unreaped counts as ended.
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    return !stat.open(QIODevice::ReadOnly) || stat.readAll().contains(") Z ");
}

} // namespace

class tst_ServiceHost : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void options_data();
    void options();
    void controlCommands_data();
    void controlCommands();
    void serviceRunsInThisProcess();
    void runInForegroundHasNoSocketAndNoLog();
    void plainStartSpawnsDetachedService();

private:
    Outcome runService(const QStringList &arguments, const QStringList &environment = {});
    QList<QByteArray> records() const;

    QTemporaryDir dir;
    QString name;
    QString recordFile;
    QString socketFile;
    qint64 detachedPid = 0;
};

void tst_ServiceHost::initTestCase()
{
    QVERIFY(dir.isValid());
    QSettings::setPath(QSettings::NativeFormat, QSettings::SystemScope, dir.filePath("registry"));
    const qint64 pid = QCoreApplication::applicationPid();
    name = QStringLiteral("Orvex Host-Test %1").arg(pid);
    recordFile = dir.filePath(QStringLiteral("record"));

    QProcess id;
    id.start(QStringLiteral("id"), {QStringLiteral("-un")});
    QVERIFY(id.waitForFinished(5000));
    const QString login = QString::fromLocal8Bit(id.readAllStandardOutput()).trimmed();
    socketFile = QStringLiteral("/var/tmp/orvexhosttest%1.%2").arg(pid).arg(login);
}

void tst_ServiceHost::cleanup()
{
    if (detachedPid > 0) {
        ::kill(pid_t(detachedPid), SIGKILL);
        QTRY_VERIFY_WITH_TIMEOUT(processGone(detachedPid), 5000);
        detachedPid = 0;
    }
    QFile::remove(socketFile);
    QFile::remove(recordFile);
    QtServiceController(name).uninstall();
}

Outcome tst_ServiceHost::runService(const QStringList &arguments, const QStringList &environment)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("QTSERVICE_RUN"));
    env.insert(QStringLiteral("ORVEX_TEST_REGISTRY"), dir.filePath(QStringLiteral("registry")));
    env.insert(QStringLiteral("ORVEX_TEST_SERVICE"), name);
    env.insert(QStringLiteral("ORVEX_TEST_RECORD"), recordFile);
    for (const QString &variable : environment)
        env.insert(variable.section(QLatin1Char('='), 0, 0), variable.section(QLatin1Char('='), 1));
    process.setProcessEnvironment(env);
    process.start(testServicePath, arguments);
    // Runs the event loop meanwhile, so that a listener in this process can answer.
    QDeadlineTimer deadline(10000);
    while (process.state() != QProcess::NotRunning && !deadline.hasExpired())
        QTest::qWait(10);
    Outcome outcome;
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished(5000);
        return outcome;
    }
    outcome.exitCode = process.exitCode();
    outcome.out = process.readAllStandardOutput();
    outcome.err = process.readAllStandardError();
    return outcome;
}

QList<QByteArray> tst_ServiceHost::records() const
{
    QFile file(recordFile);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll().split('\n');
}

void tst_ServiceHost::options_data()
{
    const QByteArray n = name.toLatin1();
    const QByteArray path = testServicePath.toLatin1();
    const QByteArray version = "The service\n\t" + n + "\n\t" + path + "\n\n";
    QTest::addColumn<bool>("installed");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QStringList>("environment");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("out");
    QTest::addColumn<QByteArray>("errStart");

    const QStringList none;
    QTest::newRow("help") << false << QStringList{"-h"} << none << 0 << helpText << QByteArray();
    QTest::newRow("help, long") << false << QStringList{"-help"} << none << 0 << helpText
                                << QByteArray();
    QTest::newRow("version, not installed") << false << QStringList{"-v"} << none << 0
                                            << version + "is not installed and not running\n\n"
                                            << QByteArray();
    QTest::newRow("version, installed") << true << QStringList{"-version"} << none << 0
                                        << version + "is installed and not running\n\n"
                                        << QByteArray();
    QTest::newRow("install") << false << QStringList{"-i", "account", "secret"} << none << 0
                             << "The service " + n + " has been installed under: " + path + "\n"
                             << QByteArray();
    QTest::newRow("install again") << true << QStringList{"-install"} << none << 0 << QByteArray()
                                   << "The service " + n + " is already installed\n";
    QTest::newRow("uninstall") << true << QStringList{"-u"} << none << 0
                               << "The service " + n + " has been uninstalled.\n"
                               << QByteArray();
    QTest::newRow("uninstall, not installed")
            << false << QStringList{"-uninstall"} << none << 0 << QByteArray()
            << "The service " + n + " is not installed\n";
    QTest::newRow("terminate, not running")
            << false << QStringList{"-t"} << none << 0 << QByteArray()
            << QByteArray("The service could not be stopped.");
    QTest::newRow("pause, not running")
            << false << QStringList{"-p"} << none << 0 << QByteArray() << QByteArray();
    QTest::newRow("command, not running")
            << false << QStringList{"-c", "3"} << none << 0 << QByteArray() << QByteArray();
    QTest::newRow("exec without application")
            << false << QStringList{"-e"} << QStringList{"ORVEX_TEST_NO_APP=1"} << 255
            << QByteArray() << QByteArray("The service could not be executed.");
    QTest::newRow("run without application")
            << false << QStringList() << QStringList{"ORVEX_TEST_NO_APP=1", "QTSERVICE_RUN=1"}
            << 255 << QByteArray() << QByteArray("The service failed to run.");
}

void tst_ServiceHost::options()
{
    QFETCH(bool, installed);
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, environment);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, out);
    QFETCH(QByteArray, errStart);

    if (installed)
        QCOMPARE(runService({QStringLiteral("-i")}).exitCode, 0);
    const Outcome outcome = runService(arguments, environment);
    QCOMPARE(outcome.exitCode, exitCode);
    QCOMPARE(outcome.out, out);
    QVERIFY2(outcome.err.startsWith(errStart), outcome.err.constData());
    if (errStart.isEmpty())
        QCOMPARE(outcome.err, QByteArray());
    const QString option = arguments.value(0);
    const bool installedAfter = option.startsWith(QLatin1String("-i"))
            || (installed && !option.startsWith(QLatin1String("-u")));
    QCOMPARE(QtServiceController(name).isInstalled(), installedAfter);
}

void tst_ServiceHost::controlCommands_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("err");

    QTest::newRow("command without number") << QStringList{"-c"} << QByteArray("true")
                                            << QByteArray("num:0\r\n") << 0 << QByteArray();
    QTest::newRow("command with number") << QStringList{"-command", "-7"} << QByteArray("false")
                                         << QByteArray("num:-7\r\n") << 0 << QByteArray();
    QTest::newRow("command with letters") << QStringList{"-c", "abc"} << QByteArray("true")
                                          << QByteArray("num:0\r\n") << 0 << QByteArray();
    QTest::newRow("negative command") << QStringList{"-c", "-5"} << QByteArray("true")
                                      << QByteArray("num:-5\r\n") << 0 << QByteArray();
    // A refused terminate shows in a warning, so the answer rule can be seen from outside.
    const QByteArray refused = "The service could not be stopped.";
    QTest::newRow("terminate") << QStringList{"-terminate"} << QByteArray("true")
                               << QByteArray("terminate\r\n") << 0 << QByteArray();
    QTest::newRow("answer up to a zero byte") << QStringList{"-t"} << QByteArray("true\0x", 6)
                                              << QByteArray("terminate\r\n") << 0 << QByteArray();
    QTest::newRow("answer with line break") << QStringList{"-t"} << QByteArray("true\r\n")
                                            << QByteArray("terminate\r\n") << 0 << refused;
    QTest::newRow("answer in another case") << QStringList{"-t"} << QByteArray("True")
                                            << QByteArray("terminate\r\n") << 0 << refused;
    QTest::newRow("answer false") << QStringList{"-t"} << QByteArray("false")
                                  << QByteArray("terminate\r\n") << 0 << refused;
    QTest::newRow("pause") << QStringList{"-pause"} << QByteArray("true") << QByteArray("pause\r\n")
                           << 0 << QByteArray();
    QTest::newRow("resume") << QStringList{"-r"} << QByteArray("false") << QByteArray("resume\r\n")
                            << 0 << QByteArray();
    QTest::newRow("start while an instance answers")
            << QStringList() << QByteArray("true") << QByteArray("alive\r\n") << 252
            << "The service " + name.toLatin1() + " could not start\n";
}

void tst_ServiceHost::controlCommands()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, answer);
    QFETCH(QByteArray, sent);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, err);

    // This process plays the running service.
    QtUnixServerSocket server(socketFile);
    QVERIFY(server.isListening());
    QByteArray received;
    connect(&server, &QTcpServer::newConnection, this, [&] {
        QTcpSocket *connection = server.nextPendingConnection();
        connect(connection, &QIODevice::readyRead, this, [&, connection] {
            received += connection->readAll();
            if (received.endsWith("\r\n"))
                connection->write(answer);
        });
    });

    const Outcome outcome = runService(arguments);
    server.close();
    QCOMPARE(received, sent);
    QCOMPARE(outcome.exitCode, exitCode);
    QVERIFY2(outcome.err.startsWith(err), outcome.err.constData());
    QCOMPARE(outcome.err.isEmpty(), err.isEmpty());
    QVERIFY(records().join().isEmpty());
}

void tst_ServiceHost::serviceRunsInThisProcess()
{
    // QTSERVICE_RUN marks the service process: it runs here, whatever the argument.
    const Outcome outcome = runService({QStringLiteral("-x")}, {QStringLiteral("QTSERVICE_RUN=1")});
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.err, QByteArray());
    const QList<QByteArray> lines = records();
    QVERIFY(!lines.isEmpty());
    const QByteArray start = lines.first();
    QVERIFY2(start.startsWith("start pid ") && start.contains(" loop 1 umask 27 ")
                     && start.endsWith(" socket yes args " + testServicePath.toLocal8Bit() + "|-x"),
             start.constData());
    const QByteArray open = "openlog orvexhosttest"
            + QByteArray::number(QCoreApplication::applicationPid()) + " 1 24";
    QCOMPARE(lines.mid(1),
             QList<QByteArray>({open, "syslog 3 failed", "closelog", open, "syslog 4 one",
                                "syslog 4 ", "syslog 4 100% %s", "syslog 4 ", "closelog", open,
                                "syslog 6 note", "closelog", ""}));
    // The socket file went with the event loop's end.
    QVERIFY(!QFileInfo::exists(socketFile));
}

void tst_ServiceHost::runInForegroundHasNoSocketAndNoLog()
{
    const Outcome outcome = runService({QStringLiteral("-e"), QStringLiteral("extra")});
    QCOMPARE(outcome.exitCode, 0);
    const QList<QByteArray> lines = records();
    QCOMPARE(lines.size(), 2);
    QVERIFY2(lines.first().endsWith(" socket no args " + testServicePath.toLocal8Bit() + "|extra"),
             lines.first().constData());
}

void tst_ServiceHost::plainStartSpawnsDetachedService()
{
    const Outcome launcher =
            runService({QStringLiteral("-x")}, {QStringLiteral("ORVEX_TEST_STAY=1")});
    QCOMPARE(launcher.exitCode, 0);
    QCOMPARE(launcher.out + launcher.err, QByteArray());

    QTRY_VERIFY_WITH_TIMEOUT(records().first().startsWith("start pid "), 10000);
    const QByteArray start = records().first();
    detachedPid = start.split(' ').value(2).toLongLong();
    QVERIFY(detachedPid > 0);
    QVERIFY2(start.contains(" loop 1 umask 27 cwd / socket yes args "
                            + testServicePath.toLocal8Bit() + "|-x"),
             start.constData());
    struct stat info;
    QVERIFY(::stat(QFile::encodeName(socketFile).constData(), &info) == 0);
    QVERIFY(S_ISSOCK(info.st_mode));

    // Connecting is enough to count as running; nothing waits for an answer.
    const Outcome version = runService({QStringLiteral("-v")});
    QVERIFY(version.out.endsWith("is not installed and running\n\n"));
    int starts = 0;
    for (const QByteArray &line : records())
        starts += line.startsWith("start ") ? 1 : 0;
    QCOMPARE(starts, 1);
}

QTEST_GUILESS_MAIN(tst_ServiceHost)
#include "tst_servicehost.moc"
