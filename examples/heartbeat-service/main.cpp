// A background service that writes a heartbeat line to syslog every few seconds.
//
//   orvex-heartbeat-service -i    record it in the service registry
//   orvex-heartbeat-service -v    show whether it is installed and running
//   orvex-heartbeat-service       start it as a detached background process
//   orvex-heartbeat-service -e    run it in the foreground (no control socket, no syslog)
//   orvex-heartbeat-service -u    remove it from the registry
//
// While running it honours "pause", "resume" and numeric commands (the number sets the interval in
// seconds), sent through QtServiceController or the -p, -r and -c options.
//
// Two environment variables serve demonstrations and tests:
//   ORVEX_HEARTBEAT_REGISTRY  a directory standing in for the machine's system-wide settings
//   ORVEX_HEARTBEAT_PIDFILE   a file that receives the running service's process id
#include <service/QtServiceBase.h>

#include <QCoreApplication>
#include <QFile>
#include <QSettings>
#include <QTimer>

namespace {

constexpr int defaultIntervalSeconds = 5;

class HeartbeatService : public QtServiceBase
{
public:
    HeartbeatService(int argc, char **argv)
        : QtServiceBase(argc, argv, QStringLiteral("Orvex Heartbeat"))
    {
        setServiceDescription(QStringLiteral("Logs a heartbeat line every few seconds"));
        setServiceFlags(Suspendable);
        setStartupType(QtServiceController::AutoStartup);
    }

protected:
    void start() override
    {
        // A child of the application, which the framework deletes after the event loop.
        timer = new QTimer(QCoreApplication::instance());
        timer->setInterval(defaultIntervalSeconds * 1000);
        QObject::connect(timer, &QTimer::timeout, [this] {
            ++beats;
            logMessage(QStringLiteral("heartbeat %1").arg(beats), Information);
        });
        timer->start();

        const QString pidFile = qEnvironmentVariable("ORVEX_HEARTBEAT_PIDFILE");
        QFile file(pidFile);
        if (!pidFile.isEmpty() && file.open(QIODevice::WriteOnly))
            file.write(QByteArray::number(QCoreApplication::applicationPid()) + '\n');
        logMessage(QStringLiteral("started, one beat every %1 s").arg(defaultIntervalSeconds));
    }

    void stop() override { logMessage(QStringLiteral("stopping after %1 beats").arg(beats)); }

    void pause() override
    {
        timer->stop();
        logMessage(QStringLiteral("paused"));
    }

    void resume() override
    {
        timer->start();
        logMessage(QStringLiteral("resumed"));
    }

    void processCommand(int code) override
    {
        if (code <= 0) {
            logMessage(QStringLiteral("ignored command %1").arg(code), Warning);
            return;
        }
        timer->setInterval(code * 1000);
        logMessage(QStringLiteral("one beat every %1 s from now on").arg(code));
    }

    void makeApplication(int &argc, char **argv) override { new QCoreApplication(argc, argv); }

    int execApplication() override { return QCoreApplication::exec(); }

private:
    QTimer *timer = nullptr;
    int beats = 0;
};

} // namespace

int main(int argc, char **argv)
{
    // Before the service object exists: the registry is read and written through QSettings.
    const QString registry = qEnvironmentVariable("ORVEX_HEARTBEAT_REGISTRY");
    if (!registry.isEmpty())
        QSettings::setPath(QSettings::NativeFormat, QSettings::SystemScope, registry);

    HeartbeatService service(argc, argv);
    return service.exec();
}
