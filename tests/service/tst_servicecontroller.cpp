#include "service/QtServiceController.h"

#include <QtTest>

#include <cstdio>
#include <thread>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

const QString testServicePath = QStringLiteral(ORVEX_TEST_SERVICE_PATH);

// Listens at a path, serves one connection on its own thread: reads up to the first "\r\n",
// answers, closes. Every wait is bounded.
class CommandPeer
{
public:
    CommandPeer(const QString &path, const QByteArray &answer) : path(path.toLocal8Bit())
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, this->path.constData(), sizeof(address.sun_path));
        listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
        ::unlink(this->path.constData());
        listening = ::bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof(address)) == 0
                && ::listen(listener, 1) == 0;
        if (listening)
            thread = std::thread([this, answer] {
                serve(answer);
            });
    }
    ~CommandPeer()
    {
        if (thread.joinable())
            thread.join();
        ::close(listener);
        ::unlink(path.constData());
    }

    // Waits for the connection to end; what the peer read.
    QByteArray received()
    {
        if (thread.joinable())
            thread.join();
        return bytes;
    }

    bool listening = false;

private:
    static bool readable(int descriptor)
    {
        pollfd entry = {descriptor, POLLIN, 0};
        return ::poll(&entry, 1, 5000) == 1;
    }

    void serve(const QByteArray &answer)
    {
        if (!readable(listener))
            return;
        const int connection = ::accept(listener, nullptr, nullptr);
        char chunk[256];
        ssize_t n = 0;
        while (!bytes.contains("\r\n") && readable(connection)
               && (n = ::read(connection, chunk, sizeof(chunk))) > 0)
            bytes.append(chunk, int(n));
        if (!answer.isEmpty())
            (void)!::write(connection, answer.constData(), size_t(answer.size()));
        ::close(connection);
    }

    QByteArray path;
    int listener = -1;
    QByteArray bytes;
    std::thread thread;
};

// Runs f with standard error sent to a file and returns what was written there.
template <class F>
QByteArray capturedStderr(F &&f)
{
    QTemporaryFile file;
    if (!file.open())
        return "cannot capture";
    std::fflush(stderr);
    const int saved = ::dup(STDERR_FILENO);
    ::dup2(file.handle(), STDERR_FILENO);
    f();
    std::fflush(stderr);
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    file.seek(0);
    return file.readAll();
}

} // namespace

class tst_ServiceController : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void encodeName_data();
    void encodeName();
    void socketPathUsesLoginName();
    void installRecordsService();
    void installFailures_data();
    void installFailures();
    void unwritableRegistry();
    void commands_data();
    void commands();
    void refusalsWithoutWaiting();

private:
    void useRegistry(const QString &directory);

    QTemporaryDir registry;
    QString name;
};

void tst_ServiceController::initTestCase()
{
    QVERIFY(registry.isValid());
    useRegistry(registry.path());
    name = QStringLiteral("Orvex Controller Test %1").arg(QCoreApplication::applicationPid());
    qputenv("ORVEX_TEST_SERVICE", name.toLocal8Bit());
}

void tst_ServiceController::useRegistry(const QString &directory)
{
    QSettings::setPath(QSettings::NativeFormat, QSettings::SystemScope, directory);
    qputenv("ORVEX_TEST_REGISTRY", directory.toLocal8Bit());
}

void tst_ServiceController::cleanup()
{
    useRegistry(registry.path());
    QtServiceController(name).uninstall();
    QFile::remove(socketPath(name));
}

void tst_ServiceController::encodeName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");
    QTest::newRow("punctuation dropped") << "My-Service_2"
                                         << "myservice2";
    QTest::newRow("blanks dropped, digits kept") << "My Service 2"
                                                 << "myservice2";
    QTest::newRow("non-ASCII letters dropped") << QString::fromUtf8("äöü") << "";
    QTest::newRow("adjacent removals") << "a--__b"
                                       << "ab";
    QTest::newRow("empty") << ""
                           << "";
}

void tst_ServiceController::encodeName()
{
    QFETCH(QString, name);
    QFETCH(QString, expected);
    QCOMPARE(::encodeName(name, false), expected);
    QCOMPARE(::encodeName(name, true), expected);
}

void tst_ServiceController::socketPathUsesLoginName()
{
    QProcess id;
    id.start(QStringLiteral("id"), {QStringLiteral("-un")});
    QVERIFY(id.waitForFinished(5000));
    const QString login = QString::fromLocal8Bit(id.readAllStandardOutput()).trimmed();
    QCOMPARE(socketPath(QStringLiteral("My Service 2")),
             QStringLiteral("/var/tmp/myservice2.") + login);
    QCOMPARE(socketPath(QString::fromUtf8("äöü")), QStringLiteral("/var/tmp/.") + login);
}

void tst_ServiceController::installRecordsService()
{
    QtServiceController controller(name);
    QVERIFY(!controller.isInstalled());
    QVERIFY(controller.uninstall());

    QVERIFY(QtServiceController::install(testServicePath, QString(), QString()));
    QVERIFY(controller.isInstalled());
    QVERIFY(!QtServiceController(name.toLower()).isInstalled());
    QCOMPARE(controller.serviceFilePath(), testServicePath);
    QCOMPARE(controller.serviceDescription(), QStringLiteral("Records itself for the tests"));
    QCOMPARE(controller.startupType(), QtServiceController::AutoStartup);

    QSettings settings(QSettings::SystemScope, QStringLiteral("Pleiklukla"), QString());
    settings.beginGroup(QStringLiteral("services/") + name);
    QCOMPARE(settings.childKeys(), QStringList({"automaticStartup", "description", "path"}));
    QCOMPARE(settings.value(QStringLiteral("automaticStartup")).toInt(),
             int(QtServiceController::ManualStartup));

    QVERIFY(controller.uninstall());
    QVERIFY(!controller.isInstalled());
    QCOMPARE(controller.serviceFilePath(), QString());
}

void tst_ServiceController::installFailures_data()
{
    QTest::addColumn<QString>("program");
    QTest::newRow("program missing") << registry.filePath(QStringLiteral("no-such-program"));
    QTest::newRow("non-zero exit") << QStringLiteral("false");
}

void tst_ServiceController::installFailures()
{
    QFETCH(QString, program);
    QVERIFY(!QtServiceController::install(program, QString(), QString()));
    QVERIFY(!QtServiceController(name).isInstalled());
}

void tst_ServiceController::unwritableRegistry()
{
    // Below a regular file no directory can be made, whoever runs the test.
    QTemporaryFile blocker;
    QVERIFY(blocker.open());
    const QString directory = blocker.fileName() + QStringLiteral("/registry");
    const QByteArray file = (directory + QStringLiteral("/Pleiklukla.conf")).toLatin1();
    useRegistry(directory);

    QProcess installer;
    installer.start(testServicePath, {QStringLiteral("-i")});
    QVERIFY(installer.waitForFinished(10000));
    QCOMPARE(installer.exitCode(), 255);
    QCOMPARE(installer.readAllStandardError(),
             "Cannot install \"" + name.toLatin1() + "\". Cannot write to: " + file
                     + ". Check permissions.\nThe service " + name.toLatin1()
                     + " could not be installed\n");
    bool installed = true;
    const QByteArray installMessage = capturedStderr([&] {
        installed = QtServiceController::install(testServicePath, QString(), QString());
    });
    QVERIFY(!installed);
    QVERIFY(installMessage.startsWith("Cannot install"));

    // A settings file that is a directory can be neither read nor replaced.
    QTemporaryDir other;
    QVERIFY(QDir(other.path()).mkpath(QStringLiteral("Pleiklukla.conf")));
    useRegistry(other.path());
    QtServiceController controller(name);
    bool uninstalled = true;
    const QByteArray message = capturedStderr([&] {
        uninstalled = controller.uninstall();
    });
    QVERIFY(!uninstalled);
    QCOMPARE(message,
             "Cannot uninstall \"" + name.toLatin1() + "\". Cannot write to: "
                     + other.filePath(QStringLiteral("Pleiklukla.conf")).toLatin1()
                     + ". Check permissions.\n");
}

void tst_ServiceController::commands_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QByteArray>("expectedBytes");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<bool>("expected");
    QTest::newRow("negative number")
            << "num-5" << QByteArray("num:-5\r\n") << QByteArray("true") << true;
    QTest::newRow("terminate") << "stop" << QByteArray("terminate\r\n") << QByteArray("true")
                               << true;
    QTest::newRow("pause refused")
            << "pause" << QByteArray("pause\r\n") << QByteArray("false") << false;
    QTest::newRow("resume, answer with line break")
            << "resume" << QByteArray("resume\r\n") << QByteArray("true\r\n") << false;
    QTest::newRow("answer in another case")
            << "alive" << QByteArray("alive\r\n") << QByteArray("True") << false;
    QTest::newRow("answer cut at a zero byte")
            << "alive" << QByteArray("alive\r\n") << QByteArray("true\0junk", 9) << true;
    QTest::newRow("closed without answer")
            << "alive" << QByteArray("alive\r\n") << QByteArray() << false;
}

void tst_ServiceController::commands()
{
    QFETCH(QString, command);
    QFETCH(QByteArray, expectedBytes);
    QFETCH(QByteArray, answer);
    QFETCH(bool, expected);

    CommandPeer peer(socketPath(name), answer);
    QVERIFY(peer.listening);
    QtServiceController controller(name);
    bool result = !expected;
    if (command == QLatin1String("num-5"))
        result = controller.sendCommand(-5);
    else if (command == QLatin1String("stop"))
        result = controller.stop();
    else if (command == QLatin1String("pause"))
        result = controller.pause();
    else if (command == QLatin1String("resume"))
        result = controller.resume();
    else
        result = sendCmd(name, command);
    QCOMPARE(peer.received(), expectedBytes);
    QCOMPARE(result, expected);
}

void tst_ServiceController::refusalsWithoutWaiting()
{
    QtServiceController controller(name);
    QVERIFY(!controller.isRunning());
    QVERIFY(!controller.stop());
    QVERIFY(!controller.sendCommand(1));
    QVERIFY(!controller.start());

    QVERIFY(QtServiceController::install(testServicePath, QString(), QString()));
    CommandPeer peer(socketPath(name), QByteArray());
    QVERIFY(peer.listening);
    QVERIFY(controller.isRunning());
    // Already running: not started a second time.
    QVERIFY(!controller.start());
}

QTEST_GUILESS_MAIN(tst_ServiceController)
#include "tst_servicecontroller.moc"
