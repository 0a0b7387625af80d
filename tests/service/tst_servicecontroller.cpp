#include "service/QtServiceController.h"
#include "service/QtUnixServerSocket.h"

#include <QtTest>

#include <cstdio>

#include <unistd.h>

namespace {

const QString testServicePath = QStringLiteral(ORVEX_TEST_SERVICE_PATH);

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

    // The installer inherits this process's standard error.
    bool installed = true;
    const QByteArray installMessage = capturedStderr([&] {
        installed = QtServiceController::install(testServicePath, QString(), QString());
    });
    QVERIFY(!installed);
    QCOMPARE(installMessage,
             "Cannot install \"" + name.toLatin1() + "\". Cannot write to: " + file
                     + ". Check permissions.\nThe service " + name.toLatin1()
                     + " could not be installed\n");

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

void tst_ServiceController::refusalsWithoutWaiting()
{
    QtServiceController controller(name);
    QVERIFY(!controller.isRunning());
    QVERIFY(!controller.stop());
    QVERIFY(!controller.sendCommand(1));
    QVERIFY(!controller.start());

    QVERIFY(QtServiceController::install(testServicePath, QString(), QString()));
    QtUnixServerSocket server(socketPath(name));
    QVERIFY(server.isListening());
    QVERIFY(controller.isRunning());
    // Already running: not started a second time.
    QVERIFY(!controller.start());
    server.close();
}

QTEST_GUILESS_MAIN(tst_ServiceController)
#include "tst_servicecontroller.moc"
