#include "service/QtServiceController.h"

#include "service/QtServicePrivate.h"
#include "service/QtUnixSocket.h"

#include <QProcess>
#include <QSettings>

#include <cstdio>

#include <pwd.h>
#include <unistd.h>

namespace {

// The registry: every access opens it afresh, so other processes' changes are seen.
constexpr char organization[] = "Pleiklukla";
constexpr char servicesGroup[] = "services";
constexpr char pathKey[] = "path";
constexpr char descriptionKey[] = "description";
// Deliberate: written as "automaticStartup", read as "startupType", so startupType() is 0 after
// install.
constexpr char startupWriteKey[] = "automaticStartup";
constexpr char startupReadKey[] = "startupType";

QVariant serviceValue(const QString &serviceName, const char *key)
{
    QSettings settings(QSettings::SystemScope, QLatin1String(organization), QString());
    settings.beginGroup(QLatin1String(servicesGroup));
    settings.beginGroup(serviceName);
    return settings.value(QLatin1String(key));
}

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
    QSettings settings(QSettings::SystemScope, QLatin1String(organization), QString());
    settings.beginGroup(QLatin1String(servicesGroup));
    settings.remove(d->serviceName);
    settings.endGroup();
    settings.sync();
    if (settings.status() == QSettings::AccessError) {
        std::fprintf(stderr, "Cannot uninstall \"%s\". Cannot write to: %s. Check permissions.\n",
                     d->serviceName.toLatin1().constData(),
                     settings.fileName().toLatin1().constData());
    }
    return settings.status() == QSettings::NoError;
}

bool QtServiceController::isInstalled() const
{
    QSettings settings(QSettings::SystemScope, QLatin1String(organization), QString());
    settings.beginGroup(QLatin1String(servicesGroup));
    return settings.childGroups().contains(d->serviceName, Qt::CaseSensitive);
}

bool QtServiceController::isRunning() const
{
    QtUnixSocket socket(nullptr);
    return socket.connectTo(socketPath(d->serviceName));
}

QString QtServiceController::serviceDescription() const
{
    return serviceValue(d->serviceName, descriptionKey).toString();
}

QtServiceController::StartupType QtServiceController::startupType() const
{
    return StartupType(serviceValue(d->serviceName, startupReadKey).toInt());
}

QString QtServiceController::serviceFilePath() const
{
    return serviceValue(d->serviceName, pathKey).toString();
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
    QSettings settings(QSettings::SystemScope, QLatin1String(organization), QString());
    settings.beginGroup(QLatin1String(servicesGroup));
    settings.beginGroup(controller.serviceName());
    settings.setValue(QLatin1String(pathKey), filePath());
    settings.setValue(QLatin1String(descriptionKey), serviceDescription);
    settings.setValue(QLatin1String(startupWriteKey), int(startupType));
    settings.endGroup();
    settings.endGroup();
    settings.sync();
    if (settings.status() == QSettings::AccessError) {
        std::fprintf(stderr, "Cannot install \"%s\". Cannot write to: %s. Check permissions.\n",
                     controller.serviceName().toLatin1().constData(),
                     settings.fileName().toLatin1().constData());
    }
    return settings.status() == QSettings::NoError;
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
