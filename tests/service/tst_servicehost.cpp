// The service executable's command line, its registry and control socket, through the test
// service run as a separate process.
#include "service/QtServiceController.h"
#include "service/QtServicePrivate.h"
#include "service/QtUnixServerSocket.h"
#include "service/helpers/ServicePlatform.h"

#include <QtTest>

#include <cstdio>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

const QString servicePath = QStringLiteral(ORVEX_TEST_SERVICE_PATH);

struct Outcome
{
    int exitCode = -1000;
    QByteArray out;
    QByteArray err;
};

// Uninstalls the service in this process; the result and what it wrote to standard error.
Outcome uninstall(const QString &name)
{
    QTemporaryFile file;
    if (!file.open())
        return {};
    std::fflush(stderr);
    const int saved = ::dup(STDERR_FILENO);
    ::dup2(file.handle(), STDERR_FILENO);
    const bool uninstalled = QtServiceController(name).uninstall();
    std::fflush(stderr);
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    file.seek(0);
    return {uninstalled ? 0 : 1, {}, file.readAll()};
}

} // namespace

class tst_ServiceHost : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void socketPathFromName();
    void registryRecord();
    void uninstallWithUnwritableRegistry();
    void commandLine_data();
    void commandLine();
    void runsInThisProcess_data();
    void runsInThisProcess();
    void killedServiceStartsAgain();
    void hostileInput_data();
    void hostileInput();

private:
    Outcome runService(const QStringList &arguments, const QString &environment = QString());
    QList<QByteArray> startRecords() const;
    QByteArray startDetached();

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
    name = QStringLiteral("Orvex Host-Test %1").arg(QCoreApplication::applicationPid());
    recordFile = dir.filePath(QStringLiteral("record"));
    socketFile = socketPath(name);
    // For the installer that QtServiceController::install runs.
    qputenv("ORVEX_TEST_REGISTRY", dir.filePath("registry").toLocal8Bit());
    qputenv("ORVEX_TEST_SERVICE", name.toLocal8Bit());
}

void tst_ServiceHost::cleanup()
{
    if (detachedPid > 0) {
        ::kill(pid_t(detachedPid), SIGKILL);
        QTRY_VERIFY_WITH_TIMEOUT(processGone(detachedPid), 5000);
        detachedPid = 0;
    }
    QDir(socketFile).removeRecursively();
    QFile::remove(socketFile);
    QFile::remove(recordFile);
    QtServiceController(name).uninstall();
}

Outcome tst_ServiceHost::runService(const QStringList &arguments, const QString &environment)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("QTSERVICE_RUN"));
    env.insert(QStringLiteral("ORVEX_TEST_RECORD"), recordFile);
    for (const QString &variable : environment.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        env.insert(variable.section(QLatin1Char('='), 0, 0), variable.section(QLatin1Char('='), 1));
    process.setProcessEnvironment(env);
    process.start(servicePath, arguments);
    // Runs the event loop meanwhile, so that a listener in this process can answer.
    QDeadlineTimer deadline(10000);
    while (process.state() != QProcess::NotRunning && !deadline.hasExpired())
        QTest::qWait(10);
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished(5000);
        return {};
    }
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

// The lines the test service recorded, from the first start() on.
QList<QByteArray> tst_ServiceHost::startRecords() const
{
    QFile file(recordFile);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray all = file.readAll();
    const int start = all.indexOf("start ");
    return start < 0 ? QList<QByteArray>() : all.mid(start).split('\n');
}

void tst_ServiceHost::socketPathFromName()
{
    QProcess id;
    id.start(QStringLiteral("id"), {QStringLiteral("-un")});
    QVERIFY(id.waitForFinished(5000));
    const QString login = QString::fromLocal8Bit(id.readAllStandardOutput()).trimmed();
    // Lower-case letters and digits only, whatever the second argument says.
    QCOMPARE(socketPath(QStringLiteral("My-Service_2")), "/var/tmp/myservice2." + login);
    QCOMPARE(socketPath(QString::fromUtf8("äöü")), "/var/tmp/." + login);
    QCOMPARE(encodeName(QStringLiteral("A b-C"), true), QStringLiteral("abc"));
}

void tst_ServiceHost::registryRecord()
{
    QtServiceController controller(name);
    QVERIFY(controller.uninstall());
    QVERIFY(!controller.start());
    QVERIFY(!QtServiceController::install(dir.filePath("no-such-program"), QString(), QString()));
    QVERIFY(!QtServiceController::install(QStringLiteral("false"), QString(), QString()));
    QVERIFY(!controller.isInstalled());

    QVERIFY(QtServiceController::install(servicePath, QString(), QString()));
    QVERIFY(controller.isInstalled());
    QVERIFY(!QtServiceController(name.toLower()).isInstalled());
    QCOMPARE(controller.serviceFilePath(), servicePath);
    QCOMPARE(controller.serviceDescription(), QStringLiteral("Records itself for the tests"));
    // Written as "automaticStartup", read as "startupType".
    QCOMPARE(controller.startupType(), QtServiceController::AutoStartup);
    QSettings settings(QSettings::SystemScope, QStringLiteral("Pleiklukla"), QString());
    settings.beginGroup(QStringLiteral("services/") + name);
    QCOMPARE(settings.childKeys(), QStringList({"automaticStartup", "description", "path"}));
    QCOMPARE(settings.value("automaticStartup").toInt(), int(QtServiceController::ManualStartup));

    // Nobody listens: refused at once, without waiting. Somebody listens: not started twice.
    QVERIFY(!controller.stop());
    QVERIFY(!controller.sendCommand(1));
    QtUnixServerSocket server(socketFile);
    QVERIFY(controller.isRunning());
    QVERIFY(!controller.start());
    server.close();
    QVERIFY(controller.uninstall());
}

void tst_ServiceHost::uninstallWithUnwritableRegistry()
{
    // A settings file that is a directory can be neither read nor replaced, whoever runs this.
    QTemporaryDir other;
    QVERIFY(QDir(other.path()).mkpath(QStringLiteral("Pleiklukla.conf")));
    QSettings::setPath(QSettings::NativeFormat, QSettings::SystemScope, other.path());
    const Outcome outcome = uninstall(name);
    QSettings::setPath(QSettings::NativeFormat, QSettings::SystemScope, dir.filePath("registry"));
    QCOMPARE(outcome.exitCode, 1);
    QCOMPARE(outcome.err,
             "Cannot uninstall \"" + name.toLatin1() + "\". Cannot write to: "
                     + other.filePath(QStringLiteral("Pleiklukla.conf")).toLatin1()
                     + ". Check permissions.\n");
}

void tst_ServiceHost::commandLine_data()
{
    QTest::addColumn<bool>("installed");
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("environment");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("out");
    QTest::addColumn<QString>("errStart");
    // A non-null answer has this process listen as the service. In the texts "@" stands for the
    // service name, "%" for the executable's path.
    const auto row = [](const char *what, bool installed, const char *arguments,
                        const char *environment, const QByteArray &answer, const char *sent,
                        int exitCode, const char *out, const char *err) {
        QTest::newRow(what) << installed << arguments << environment << answer << QByteArray(sent)
                            << exitCode << out << err;
    };
    const QByteArray none;
    row("help", false, "-help", "", none, "", 0, "\n% -[i|u|e|s|v|h]\n\t-i(nstall) [account]", "");
    row("version", true, "-version", "", none, "", 0,
        "The service\n\t@\n\t%\n\nis installed and not running\n\n", "");
    row("install", false, "-i account secret", "", none, "", 0,
        "The service @ has been installed under: %\n", "");
    row("install again", true, "-install", "", none, "", 0, "",
        "The service @ is already installed\n");
    // Below a file no directory can be made, whoever runs this.
    row("install, registry unwritable", false, "-i", "ORVEX_TEST_REGISTRY=/dev/null/registry", none,
        "", 255, "",
        "Cannot install \"@\". Cannot write to: /dev/null/registry/Pleiklukla.conf. Check "
        "permissions.\nThe service @ could not be installed\n");
    row("uninstall", true, "-u", "", none, "", 0, "The service @ has been uninstalled.\n", "");
    row("uninstall, not installed", false, "-uninstall", "", none, "", 0, "",
        "The service @ is not installed\n");
    row("exec without application", false, "-e", "ORVEX_TEST_NO_APP=1", none, "", 255, "",
        "The service could not be executed.");
    row("run without application", false, "", "ORVEX_TEST_NO_APP=1 QTSERVICE_RUN=1", none, "", 255,
        "", "The service failed to run.");
    // A refused terminate shows in a warning, so the answer rule can be seen from outside.
    const char *refused = "The service could not be stopped.";
    row("terminate, not running", false, "-t", "", none, "", 0, "", refused);
    row("terminate", false, "-terminate", "", QByteArray("true\0x", 6), "terminate\r\n", 0, "", "");
    row("answer with line break", false, "-t", "", "true\r\n", "terminate\r\n", 0, "", refused);
    row("command without number", false, "-c", "", "true", "num:0\r\n", 0, "", "");
    row("command with letters", false, "-command abc", "", "true", "num:0\r\n", 0, "", "");
    row("negative command", false, "-c -5", "", "false", "num:-5\r\n", 0, "", "");
    row("pause", false, "-pause", "", "true", "pause\r\n", 0, "", "");
    row("resume", false, "-r", "", "false", "resume\r\n", 0, "", "");
    row("start while an instance answers", false, "", "", "true", "alive\r\n", 252, "",
        "The service @ could not start\n");
}

void tst_ServiceHost::commandLine()
{
    QFETCH(bool, installed);
    QFETCH(QString, arguments);
    QFETCH(QString, environment);
    QFETCH(QByteArray, answer);
    QFETCH(int, exitCode);
    QFETCH(QString, out);
    QFETCH(QString, errStart);

    if (installed)
        QCOMPARE(runService({QStringLiteral("-i")}).exitCode, 0);
    QtUnixServerSocket server;
    if (!answer.isNull()) {
        server.setPath(socketFile);
        QVERIFY(server.isListening());
    }
    QByteArray received;
    connect(&server, &QTcpServer::newConnection, this, [&] {
        QTcpSocket *connection = server.nextPendingConnection();
        connect(connection, &QIODevice::readyRead, this, [&, connection] {
            received += connection->readAll();
            if (received.endsWith("\r\n"))
                connection->write(answer);
        });
    });
    const Outcome outcome = runService(arguments.split(' ', Qt::SkipEmptyParts), environment);
    server.close();
    QTEST(received, "sent");
    QCOMPARE(outcome.exitCode, exitCode);
    const auto expand = [this](QString text) {
        return text.replace('@', name).replace('%', servicePath).toLatin1();
    };
    QVERIFY2(outcome.out.startsWith(expand(out)), outcome.out.constData());
    QCOMPARE(outcome.out.isEmpty(), out.isEmpty());
    QVERIFY2(outcome.err.startsWith(expand(errStart)), outcome.err.constData());
    QCOMPARE(outcome.err.isEmpty(), errStart.isEmpty());
    const QString option = arguments.section(' ', 0, 0);
    QCOMPARE(QtServiceController(name).isInstalled(),
             (option == "-i" && exitCode == 0) || (installed && option != "-u"));
    QVERIFY(startRecords().isEmpty());
}

void tst_ServiceHost::runsInThisProcess_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("inTheWay");
    QTest::addColumn<QByteArray>("started");

    const QByteArray path = servicePath.toLocal8Bit();
    const QByteArray here = " loop 1 umask 27 cwd " + QDir::currentPath().toLocal8Bit();
    // QTSERVICE_RUN marks the service process: it runs here, whatever the argument.
    QTest::newRow("service") << QStringList{"-x"} << ""
                             << here + " socket yes args " + path + "|-x";
    QTest::newRow("service, directory at the socket path: runs without listening")
            << QStringList() << "directory" << here + " socket no args " + path;
    QTest::newRow("foreground: no socket, no log") << QStringList{"-e", "extra"} << ""
                                                   << " socket no args " + path + "|extra";
}

void tst_ServiceHost::runsInThisProcess()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, inTheWay);
    QFETCH(QByteArray, started);

    if (inTheWay == "directory")
        QVERIFY(QDir().mkpath(socketFile));
    const bool service = arguments.value(0) != "-e";
    const Outcome outcome = runService(arguments, service ? "QTSERVICE_RUN=1" : "");
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.out + outcome.err, QByteArray());
    const QList<QByteArray> lines = startRecords();
    QVERIFY2(lines.value(0).startsWith("start pid ") && lines.value(0).endsWith(started),
             lines.value(0).constData());
    const QByteArray open = "openlog orvexhosttest"
            + QByteArray::number(QCoreApplication::applicationPid()) + " 1 24";
    QCOMPARE(lines.mid(1),
             service ? QList<QByteArray>({open, "syslog 3 failed", "closelog", open, "syslog 4 one",
                                          "syslog 4 ", "syslog 4 100% %s", "syslog 4 ", "closelog",
                                          open, "syslog 6 note", "closelog", ""})
                     : QList<QByteArray>({""}));
    // The socket file went with the event loop's end; a directory in its way stays.
    QCOMPARE(QFileInfo::exists(socketFile), inTheWay == "directory");
}

// Starts the service detached, with the record file removed first, and returns its start record;
// the service's process id goes to detachedPid, so that cleanup() ends it whatever happens.
QByteArray tst_ServiceHost::startDetached()
{
    QFile::remove(recordFile);
    const Outcome launcher = runService({QStringLiteral("-x")}, "ORVEX_TEST_STAY=1");
    QDeadlineTimer deadline(10000);
    while (startRecords().isEmpty() && !deadline.hasExpired())
        QTest::qWait(20);
    const QByteArray start = startRecords().value(0);
    detachedPid = start.split(' ').value(2).toLongLong();
    return launcher.exitCode == 0 && (launcher.out + launcher.err).isEmpty() ? start
                                                                             : "launcher failed";
}

void tst_ServiceHost::killedServiceStartsAgain()
{
    // Detached: run from "/", listening, with the unrecognised argument passed on.
    const QByteArray started =
            " loop 1 umask 27 cwd / socket yes args " + servicePath.toLocal8Bit() + "|-x";
    QByteArray start = startDetached();
    QVERIFY2(start.endsWith(started), start.constData());
    // Connecting is enough to count as running; nothing waits for an answer.
    QVERIFY(runService({QStringLiteral("-v")}).out.endsWith("is not installed and running\n\n"));

    ::kill(pid_t(detachedPid), SIGKILL);
    QTRY_VERIFY_WITH_TIMEOUT(processGone(detachedPid), 5000);
    QVERIFY2(QFileInfo::exists(socketFile), "a killed service leaves its socket file");
    QVERIFY(!QtServiceController(name).isRunning());

    // The next start finds nobody answering, removes the stale file and listens again.
    start = startDetached();
    QVERIFY2(start.endsWith(started), start.constData());
    QVERIFY(QtServiceController(name).isRunning());
}

void tst_ServiceHost::hostileInput_data()
{
    QTest::addColumn<QString>("serviceName");
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QByteArray>("err");
    const QByteArray refused = ". A service name must not be empty or contain '/' or '\\'.\n";
    const auto row = [](const char *what, const QString &serviceName, const char *operation,
                        const QByteArray &err = QByteArray()) {
        QTest::newRow(what) << serviceName << operation << err;
    };
    row("empty name: uninstall refused", "", "uninstall", "Cannot uninstall \"\"" + refused);
    row("backslash: uninstall refused", "Alpha\\", "uninstall",
        "Cannot uninstall \"Alpha\\\"" + refused);
    row("path: install refused", "Alpha/Sub", "install",
        "Cannot install \"Alpha/Sub\"" + refused
                + "The service Alpha/Sub could not be installed\n");
    row("path: no other record read", "Alpha/", "read");
    row("1,000 status queries of a running service", name, "status");
    row("64 MB streamed into a queued connection", name, "stream");
    row("4 MB without a line end, in 256-byte chunks", name, "long line");
    row("256 Ki lines in one chunk", name, "many lines");
}

// Another service's record is there; no name may reach it, and a status query never jams.
void tst_ServiceHost::hostileInput()
{
    QFETCH(QString, serviceName);
    QFETCH(QString, operation);

    QSettings settings(QSettings::SystemScope, QStringLiteral("Pleiklukla"), QString());
    settings.setValue(QStringLiteral("services/Alpha/path"), QStringLiteral("/bin/alpha"));
    settings.sync();
    QtServiceController controller(serviceName);
    QByteArray written;
    if (operation == "install") {
        const Outcome outcome =
                runService({QStringLiteral("-i")}, "ORVEX_TEST_SERVICE=" + serviceName);
        QCOMPARE(outcome.exitCode, 255);
        written = outcome.err;
    } else if (operation == "uninstall") {
        const Outcome outcome = uninstall(serviceName);
        QCOMPARE(outcome.exitCode, 1);
        written = outcome.err;
    } else if (operation == "read") {
        QVERIFY(!controller.isInstalled());
        QCOMPARE(controller.serviceFilePath(), QString());
    } else if (operation == "long line") {
        // Each chunk is searched for its line end as it comes, never the whole buffer again.
        QtServiceSysPrivate server;
        const QString chunk(256, QLatin1Char('x'));
        const int chunks = 16384;
        QElapsedTimer timer;
        timer.start();
        int appended = 0;
        for (; appended < chunks && !timer.hasExpired(5000); ++appended) {
            server.buffers[nullptr] += chunk;
            QVERIFY(server.getCommand(nullptr).isEmpty());
        }
        QCOMPARE(appended, chunks);
        server.buffers[nullptr] += QLatin1String("\r\nalive\r");
        QCOMPARE(server.getCommand(nullptr).size(), chunks * chunk.size());
        QCOMPARE(server.getCommand(nullptr), QString());
        server.buffers[nullptr] += QLatin1String("\n");
        QCOMPARE(server.getCommand(nullptr), QStringLiteral("alive"));
    } else if (operation == "many lines") {
        // The lines of a chunk are taken out at once, not the rest moved after each line.
        QtServiceSysPrivate server;
        const int lines = 1 << 18;
        server.buffers[nullptr] = QStringLiteral("alive\r\n").repeated(lines) + "\r\nalive\r\n";
        QElapsedTimer timer;
        timer.start();
        const QStringList commands = server.takeCommands(nullptr, lines + 2);
        QVERIFY2(timer.elapsed() < 5000, QByteArray::number(timer.elapsed()));
        QCOMPARE(commands.size(), lines);
        QCOMPARE(commands.count(QStringLiteral("alive")), lines);
        QCOMPARE(server.buffers[nullptr], QStringLiteral("alive\r\n"));
    } else if (operation == "stream") {
        QVERIFY2(startDetached().startsWith("start pid "), "service did not start");
        const int peer = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, QFile::encodeName(socketFile).constData(),
                 sizeof(address.sun_path));
        QCOMPARE(::connect(peer, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
        const QByteArray megabyte(1 << 20, 'x');
        for (int i = 0; i < 64; ++i)
            QCOMPARE(::write(peer, megabyte.constData(), size_t(megabyte.size())),
                     ssize_t(megabyte.size()));
        QFile status(QStringLiteral("/proc/%1/status").arg(detachedPid));
        QVERIFY(status.open(QIODevice::ReadOnly));
        const QByteArray all = status.readAll();
        const QByteArray peak = all.mid(all.indexOf("VmHWM:") + 6).trimmed();
        ::close(peer);
        // Peak resident memory in kB: a server that kept the stream would hold at least the
        // 64 MB sent; a plain build peaks near 12 MB, a sanitizer build near 34 MB.
        QVERIFY2(peak.left(peak.indexOf(' ')).toInt() < 48 * 1024, peak.left(20));
    } else {
        QVERIFY2(startDetached().startsWith("start pid "), "service did not start");
        // A connect() that blocks is interrupted, so a jam fails the test instead of hanging it.
        struct sigaction interrupt = {}, previous = {};
        interrupt.sa_handler = [](int) {};
        ::sigaction(SIGALRM, &interrupt, &previous);
        int answered = 0;
        while (answered < 1000) {
            ::alarm(5);
            const bool running = controller.isRunning();
            ::alarm(0);
            if (!running)
                break;
            ++answered;
        }
        ::sigaction(SIGALRM, &previous, nullptr);
        QCOMPARE(answered, 1000);
    }
    QTEST(written, "err");
    settings.sync();
    QCOMPARE(settings.allKeys(), QStringList{"services/Alpha/path"});
    QCOMPARE(settings.value(QStringLiteral("services/Alpha/path")).toString(),
             QStringLiteral("/bin/alpha"));
    settings.remove(QStringLiteral("services/Alpha"));
}

QTEST_GUILESS_MAIN(tst_ServiceHost)
#include "tst_servicehost.moc"
