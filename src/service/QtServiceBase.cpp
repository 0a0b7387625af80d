#include "service/QtServiceBase.h"

#include "service/QtServicePrivate.h"

#include <QMessageLogger>
#include <QStringList>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <syslog.h>

namespace {

// Exit codes of the command line.
constexpr int exitSuccess = 0;
constexpr int exitFailed = -1;
constexpr int exitStartFailed = -4;

constexpr int maxNameLength = 255;

constexpr char helpText[] =
        "\n%s -[i|u|e|s|v|h]\n"
        "\t-i(nstall) [account] [password]\t: Install the service, optionally using given account "
        "and password\n"
        "\t-u(ninstall)\t: Uninstall the service.\n"
        "\t-e(xec)\t\t: Run as a regular application. Useful for debugging.\n"
        "\t-t(erminate)\t: Stop the service.\n"
        "\t-c(ommand) num\t: Send command code num to the service.\n"
        "\t-v(ersion)\t: Print version and status information.\n"
        "\t-h(elp)   \t: Show this help\n"
        "\tNo arguments\t: Start the service.\n";

// Warnings about the name carry no file, line or function, whatever the build type.
void nameWarning(const char *text)
{
    QMessageLogger(nullptr, 0, nullptr).warning("%s", text);
}

bool isOption(const QString &argument, const char *shortForm, const char *longForm)
{
    return argument == QLatin1String(shortForm) || argument == QLatin1String(longForm);
}

} // namespace

QtServiceBase::QtServiceBase(int argc, char **argv, const QString &name) : d(nullptr)
{
    QtServiceBasePrivate::instance = this;

    QString cleaned = name;
    if (cleaned.length() > maxNameLength) {
        nameWarning("QtService: 'name' is longer than 255 characters.");
        cleaned.truncate(maxNameLength);
    }
    if (cleaned.contains(QLatin1Char('\\'))) {
        nameWarning("QtService: 'name' contains backslashes '\\'.");
        // Deliberate: each backslash becomes U+0000, so the name keeps its length.
        cleaned.replace(QLatin1Char('\\'), QChar(0));
    }

    d = new QtServiceBasePrivate(cleaned);
    d->owner = this;
    for (int i = 0; i < argc; ++i)
        d->arguments << QString::fromLocal8Bit(argv[i]);
}

QtServiceBase::~QtServiceBase()
{
    delete d;
    QtServiceBasePrivate::instance = nullptr;
}

QString QtServiceBase::serviceName() const
{
    return d->controller.serviceName();
}

QString QtServiceBase::serviceDescription() const
{
    return d->serviceDescription;
}

void QtServiceBase::setServiceDescription(const QString &description)
{
    d->serviceDescription = description;
}

QtServiceController::StartupType QtServiceBase::startupType() const
{
    return d->startupType;
}

void QtServiceBase::setStartupType(QtServiceController::StartupType type)
{
    d->startupType = type;
}

QtServiceBase::ServiceFlags QtServiceBase::serviceFlags() const
{
    return d->serviceFlags;
}

void QtServiceBase::setServiceFlags(ServiceFlags flags)
{
    if (d->serviceFlags == flags)
        return;
    d->serviceFlags = flags;
    if (d->commandServer)
        d->commandServer->serviceFlags = flags;
}

int QtServiceBase::exec()
{
    const QByteArray name = serviceName().toLatin1();
    const QString option = d->arguments.size() >= 2 ? d->arguments.at(1) : QString();

    if (isOption(option, "-i", "-install")) {
        if (d->controller.isInstalled()) {
            std::fprintf(stderr, "The service %s is already installed\n", name.constData());
            return exitSuccess;
        }
        const QString account = d->arguments.value(2);
        const QString password = d->arguments.value(3);
        if (!d->install(account, password)) {
            std::fprintf(stderr, "The service %s could not be installed\n", name.constData());
            return exitFailed;
        }
        std::printf("The service %s has been installed under: %s\n", name.constData(),
                    d->filePath().toLatin1().constData());
        return exitSuccess;
    }
    if (isOption(option, "-u", "-uninstall")) {
        if (!d->controller.isInstalled()) {
            std::fprintf(stderr, "The service %s is not installed\n", name.constData());
            return exitSuccess;
        }
        if (!d->controller.uninstall()) {
            std::fprintf(stderr, "The service %s could not be uninstalled\n", name.constData());
            return exitFailed;
        }
        std::printf("The service %s has been uninstalled.\n", name.constData());
        return exitSuccess;
    }
    if (isOption(option, "-v", "-version")) {
        std::printf("The service\n\t%s\n\t%s\n\n", name.constData(),
                    d->arguments.at(0).toLatin1().constData());
        std::printf("is %s", d->controller.isInstalled() ? "installed" : "not installed");
        std::printf(" and %s\n\n", d->controller.isRunning() ? "running" : "not running");
        return exitSuccess;
    }
    if (isOption(option, "-e", "-exec")) {
        d->arguments.removeAt(1);
        const int result = d->run(false, d->arguments);
        if (result == exitFailed)
            qErrnoWarning("The service could not be executed.");
        return result;
    }
    if (isOption(option, "-t", "-terminate")) {
        if (!d->controller.stop())
            qErrnoWarning("The service could not be stopped.");
        return exitSuccess;
    }
    if (isOption(option, "-p", "-pause")) {
        d->controller.pause();
        return exitSuccess;
    }
    if (isOption(option, "-r", "-resume")) {
        d->controller.resume();
        return exitSuccess;
    }
    if (isOption(option, "-c", "-command")) {
        // Missing or unreadable numbers send 0.
        const int code = d->arguments.size() > 2 ? d->arguments.at(2).toInt(nullptr, 10) : 0;
        d->controller.sendCommand(code);
        return exitSuccess;
    }
    if (isOption(option, "-h", "-help")) {
        // Deliberate: printed as it stands, listing a letter s that is no option and leaving out
        // pause and resume.
        std::printf(helpText, d->arguments.at(0).toLatin1().constData());
        return exitSuccess;
    }

    // Anything else starts the service; an unrecognised option is passed on to it.
    if (std::getenv("QTSERVICE_RUN")) {
        const int result = d->run(true, d->arguments);
        if (result == exitFailed) {
            qErrnoWarning("The service failed to run.");
            return exitFailed;
        }
        return result;
    }
    if (!d->start()) {
        std::fprintf(stderr, "The service %s could not start\n", name.constData());
        return exitStartFailed;
    }
    return exitSuccess;
}

QtServiceBase *QtServiceBase::instance()
{
    return QtServiceBasePrivate::instance;
}

void QtServiceBase::logMessage(const QString &message, MessageType type, int id, uint category,
                               const QByteArray &data)
{
    Q_UNUSED(id)
    Q_UNUSED(category)
    Q_UNUSED(data)
    // Only a service running detached has a command server, and only it logs.
    QtServiceSysPrivate *server = d->commandServer;
    if (!server)
        return;

    int priority = LOG_INFO;
    if (type == Error)
        priority = LOG_ERR;
    else if (type == Warning)
        priority = LOG_WARNING;

    // Built once and kept: openlog() holds on to the ident.
    if (!server->logIdent) {
        const QByteArray ident = encodeName(serviceName(), true).toLocal8Bit();
        server->logIdent = new char[size_t(ident.size()) + 1];
        std::memcpy(server->logIdent, ident.constData(), size_t(ident.size()) + 1);
    }

    ::openlog(server->logIdent, LOG_PID, LOG_DAEMON);
    const QStringList lines = message.split(QLatin1Char('\n'), Qt::KeepEmptyParts);
    for (const QString &line : lines)
        ::syslog(priority, "%s", line.toLocal8Bit().constData());
    ::closelog();
}

void QtServiceBase::stop() {}

void QtServiceBase::pause() {}

void QtServiceBase::resume() {}

void QtServiceBase::processCommand(int code)
{
    Q_UNUSED(code)
}
