#include "service/QtServiceController.h"

#include "service/QtServicePrivate.h"
#include "service/QtUnixSocket.h"
#include "service/ServiceRegistry_p.h"

#include <QProcess>

#include <pwd.h>
#include <unistd.h>

namespace {

QString loginName()
{
    const passwd *entry = ::getpwuid(::getuid());
    if (!entry || !entry->pw_name)
        return QString();
    return QString::fromLocal8Bit(entry->pw_name);
}

} // namespace

class QtServiceControllerPrivate
{
public:
    QtServiceController *q;
    QString serviceName;
};

QtServiceController::QtServiceController(const QString &name)
    : d(new QtServiceControllerPrivate{this, name})
{}

QtServiceController::~QtServiceController()
{
    delete d;
}

QString QtServiceController::serviceName() const
{
    return d->serviceName;
}

bool QtServiceController::install(const QString &serviceFilePath, const QString &account,
                                  const QString &password)
{
    // Empty account and password are passed all the same: always three arguments.
    const QStringList arguments{QStringLiteral("-i"), account, password};
    return QProcess::execute(serviceFilePath, arguments) == 0;
}

bool QtServiceController::uninstall()
{
    return OrvexRegistry::remove(d->serviceName);
}

bool QtServiceController::isInstalled() const
{
    return OrvexRegistry::contains(d->serviceName);
}

bool QtServiceController::isRunning() const
{
    QtUnixSocket socket(nullptr);
    return socket.connectTo(socketPath(d->serviceName));
}

QString QtServiceController::serviceDescription() const
{
    return OrvexRegistry::value(d->serviceName, OrvexRegistry::Field::Description).toString();
}

QtServiceController::StartupType QtServiceController::startupType() const
{
    return StartupType(
            OrvexRegistry::value(d->serviceName, OrvexRegistry::Field::StartupType).toInt());
}

QString QtServiceController::serviceFilePath() const
{
    return OrvexRegistry::value(d->serviceName, OrvexRegistry::Field::Path).toString();
}

bool QtServiceController::start(const QStringList &arguments)
{
    if (!isInstalled() || isRunning())
        return false;
    return QProcess::startDetached(serviceFilePath(), arguments);
}

bool QtServiceController::start()
{
    return start(QStringList());
}

bool QtServiceController::stop()
{
    return sendCmd(d->serviceName, QStringLiteral("terminate"));
}

bool QtServiceController::pause()
{
    return sendCmd(d->serviceName, QStringLiteral("pause"));
}

bool QtServiceController::resume()
{
    return sendCmd(d->serviceName, QStringLiteral("resume"));
}

bool QtServiceController::sendCommand(int code)
{
    return sendCmd(d->serviceName, QLatin1String("num:") + QString::number(code));
}

bool QtServiceBasePrivate::install(const QString &account, const QString &password)
{
    Q_UNUSED(account)
    Q_UNUSED(password)
    return OrvexRegistry::write(controller.serviceName(), filePath(), serviceDescription,
                                int(startupType));
}

QString socketPath(const QString &serviceName)
{
    return QLatin1String("/var/tmp/") + encodeName(serviceName, false) + QLatin1Char('.')
            + loginName();
}

QString encodeName(const QString &name, bool allowUpper)
{
    QString allowed = QStringLiteral("abcdefghijklmnopqrstuvwxyz1234567890");
    if (allowUpper)
        allowed += QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZ");
    // Deliberate: the name is lowered before the test, so allowUpper never changes the result.
    QString encoded = name.toLower();
    for (int i = 0; i < encoded.size();) {
        if (allowed.contains(encoded.at(i), Qt::CaseSensitive))
            ++i;
        else
            encoded.remove(i, 1);
    }
    return encoded;
}

bool sendCmd(const QString &serviceName, const QString &command)
{
    QtUnixSocket socket(nullptr);
    if (!socket.connectTo(socketPath(serviceName)))
        return false;
    socket.write((command + QLatin1String("\r\n")).toLatin1());
    socket.flush();
    // No time limit: the answer comes when the service gives it, or the connection ends.
    socket.waitForReadyRead(-1);
    const QByteArray answer = socket.readAll();
    // Text up to the first zero byte; a trailing line break makes the answer false.
    const bool result = QString::fromLatin1(answer.constData()) == QLatin1String("true");
    socket.close();
    return result;
}
