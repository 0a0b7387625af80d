#ifndef ORVEX_SERVICE_QTSERVICEPRIVATE_H
#define ORVEX_SERVICE_QTSERVICEPRIVATE_H

#include "service/QtServiceBase.h"
#include "service/QtServiceController.h"
#include "service/QtUnixServerSocket.h"

#include <QHash>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>

class QTcpSocket;

// Internal to the service framework, but reachable from tests and tools: fields and operations
// are public, slots private.

/// \addtogroup service
/// @{

class QtServiceSysPrivate;

/// The private half of a service object: its settings, command line, a controller for its own name
/// and, while it runs detached, its command server. Owned by the service object; internal.
class QtServiceBasePrivate
{
public:
    /// Holds a controller for name; the owner sets `owner` and `arguments`.
    explicit QtServiceBasePrivate(const QString &name);
    /// Deletes the command server if one is left.
    ~QtServiceBasePrivate();

    /// Calls the owner's start().
    void startService();
    /// Creates the application through the owner, listens on the control socket when asService,
    /// runs the event loop and cleans up. The owner's exit code, or -1 when there is no
    /// application.
    int run(bool asService, const QStringList &argList);
    /// Launches the executable detached, unless a running instance answers "alive".
    bool start();

    /// The absolute path of the service executable, found from the first argument (searched in
    /// PATH when it is a bare name); null when there are no arguments.
    QString filePath() const;

    /// Creates the command server and sets umask 027.
    bool sysInit();
    /// Makes the command server listen on the service's control socket.
    void sysSetPath();
    /// Closes the command server, removing the socket file, and deletes it.
    void sysCleanup();

    /// Records the service in the registry: its executable's path, description and startup type.
    /// account and password are accepted and not recorded. False, after a message on standard
    /// error, when the registry cannot be written.
    bool install(const QString &account, const QString &password);

    /// The service object that owns this.
    QtServiceBase *owner = nullptr;
    /// What install records as the description.
    QString serviceDescription;
    /// What install records as the startup type.
    QtServiceController::StartupType startupType = QtServiceController::ManualStartup;
    /// The flags handed to the command server.
    QtServiceBase::ServiceFlags serviceFlags;
    /// The whole command line, program path first.
    QStringList arguments;
    /// The controller of the service's own name.
    QtServiceController controller;
    /// Owned; exists only while the service runs detached.
    QtServiceSysPrivate *commandServer = nullptr;

    /// Backs QtServiceBase::instance().
    static QtServiceBase *instance;

    Q_DISABLE_COPY(QtServiceBasePrivate)
};

/// Calls the service's start() from the event loop; lives exactly as long as
/// QtServiceBasePrivate::run(). Internal.
class QtServiceStarter : public QObject
{
    Q_OBJECT

public:
    /// Serves host, which it does not own.
    explicit QtServiceStarter(QtServiceBasePrivate *host);

    /// The service's private half; not owned.
    QtServiceBasePrivate *host;

public slots:
    /// Calls host->startService(); run by a zero-delay single-shot timer.
    void slotStart();
};

/// The command server of a detached service: a Unix-domain server on the control socket that reads
/// command lines ended by "\r\n" and answers each with "true" or "false", without terminator.
/// Commands: "terminate", "pause", "resume", "alive", "num:<code>". Internal.
class QtServiceSysPrivate : public QtUnixServerSocket
{
    Q_OBJECT

public:
    /// Idle until QtServiceBasePrivate::sysSetPath().
    QtServiceSysPrivate();
    ~QtServiceSysPrivate() override;

    /// Adopts one connected descriptor and serves commands arriving on it.
    /// Deliberate: takes int and hides the inherited accept hook, so connections accepted on the
    /// control socket wait in the base's queue unanswered until the service process ends.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"
    void incomingConnection(int socketDescriptor);
#pragma GCC diagnostic pop

    /// Deletes the connections in the base's queue whose peer has closed and drops what the
    /// others have received.
    void tidyQueue();

    /// Takes the next line ended by "\r\n" out of the connection's buffer; empty when there is
    /// none (or when the line is empty).
    QString getCommand(const QTcpSocket *socket);
    /// Takes up to most lines out of the connection's buffer, as many calls of getCommand() would;
    /// an empty line is taken and ends the list.
    QStringList takeCommands(const QTcpSocket *socket, int most);

    /// The syslog ident, NUL-terminated; built on the first logged message, owned.
    char *logIdent = nullptr;
    /// The host's flags, kept current by QtServiceBase::setServiceFlags().
    QtServiceBase::ServiceFlags serviceFlags;
    /// Per connection, the text received and not yet taken as a command.
    QMap<const QTcpSocket *, QString> buffers;

private slots:
    void slotReady();
    void slotClosed();

private:
    // Per connection, how much of the start of its buffer is known to hold no "\r\n".
    QHash<const QTcpSocket *, int> scanned;

    Q_DISABLE_COPY(QtServiceSysPrivate)
};

/// @}

#endif // ORVEX_SERVICE_QTSERVICEPRIVATE_H
