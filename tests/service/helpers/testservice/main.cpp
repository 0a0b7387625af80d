// A service executable for the tests, driven by the environment:
//   ORVEX_TEST_REGISTRY  directory standing for the system-wide settings (required)
//   ORVEX_TEST_SERVICE   the service name
//   ORVEX_TEST_RECORD    file that receives one line per start() and per syslog call
//   ORVEX_TEST_STAY      set: keep running after start() until ended by the test
//   ORVEX_TEST_NO_APP    set: makeApplication() creates nothing
#define ORVEX_CAPTURE_SYSLOG
#include "service/QtServiceBase.h"
#include "service/helpers/ServicePlatform.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QThread>

#include <sys/stat.h>

void record(const QByteArray &line)
{
    QFile file(qEnvironmentVariable("ORVEX_TEST_RECORD"));
    if (!file.fileName().isEmpty() && file.open(QIODevice::Append))
        file.write(line + '\n');
}

namespace {

class TestService : public QtServiceBase
{
public:
    using QtServiceBase::QtServiceBase;

protected:
    void start() override
    {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        struct stat info;
        const bool socket = ::stat(QFile::encodeName(socketPath(serviceName())), &info) == 0
                && S_ISSOCK(info.st_mode);
        record("start pid " + QByteArray::number(QCoreApplication::applicationPid()) + " loop "
               + QByteArray::number(QThread::currentThread()->loopLevel()) + " umask "
               + QByteArray::number(uint(mask), 8) + " cwd " + QDir::currentPath().toLocal8Bit()
               + " socket " + (socket ? "yes" : "no") + " args "
               + QCoreApplication::arguments().join(QLatin1Char('|')).toLocal8Bit());
        logMessage(QStringLiteral("failed"), Error);
        logMessage(QStringLiteral("one\n\n100% %s\n"), Warning);
        logMessage(QStringLiteral("note"), Information);
        if (!qEnvironmentVariableIsSet("ORVEX_TEST_STAY"))
            QCoreApplication::quit();
    }

    void makeApplication(int &argc, char **argv) override
    {
        if (!qEnvironmentVariableIsSet("ORVEX_TEST_NO_APP"))
            new QCoreApplication(argc, argv);
    }

    int execApplication() override { return QCoreApplication::exec(); }
};

} // namespace

int main(int argc, char **argv)
{
    // Before anything else, so that nothing touches the machine's real registry.
    QSettings::setPath(QSettings::NativeFormat, QSettings::SystemScope,
                       qEnvironmentVariable("ORVEX_TEST_REGISTRY"));
    TestService service(argc, argv, qEnvironmentVariable("ORVEX_TEST_SERVICE"));
    service.setServiceDescription(QStringLiteral("Records itself for the tests"));
    return service.exec();
}
