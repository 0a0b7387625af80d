#ifndef ORVEX_SERVICE_QTSERVICECONTROLLER_H
#define ORVEX_SERVICE_QTSERVICECONTROLLER_H

#include "orvexsupport_export.h"

#include <QString>
#include <QStringList>
#include <QtGlobal>

class QtServiceControllerPrivate;

/// \addtogroup service
/// @{

/// Acts on a background service from any process: installs and uninstalls it in the service
/// registry (the system-wide settings of "Pleiklukla", group "services"), reads its record, starts
/// its executable, tells whether it runs and sends it control commands over its control socket.
///
/// Holds nothing but the name; every call opens the registry or the socket afresh, so controllers
/// may be created and dropped freely. Every call is synchronous and blocks its thread.
class ORVEXSUPPORT_EXPORT QtServiceController
{
public:
    /// How the service is meant to start; stored in the registry by number.
    enum StartupType { AutoStartup = 0, ManualStartup = 1 };

    /// The service need not exist.
    explicit QtServiceController(const QString &name);
    virtual ~QtServiceController();

    /// The name as given.
    QString serviceName() const;

    /// Runs serviceFilePath with "-i", account, password and waits, without a time limit, for it to
    /// end. True when it exits with 0.
    static bool install(const QString &serviceFilePath, const QString &account = QString(),
                        const QString &password = QString());
    /// Removes the service's registry record; does not stop it. False, after a message on standard
    /// error, when the registry cannot be written.
    bool uninstall();

    /// Whether the registry holds a record of this name; case-sensitive.
    bool isInstalled() const;
    /// Whether something accepts connections on the service's control socket.
    bool isRunning() const;

    /// The recorded description; empty when not installed.
    QString serviceDescription() const;
    /// Deliberate: install writes "automaticStartup" and this reads "startupType", so a service
    /// installed through the command line reads as AutoStartup.
    StartupType startupType() const;
    /// The recorded path of the executable; empty when not installed.
    QString serviceFilePath() const;

    /// Starts the installed executable detached. False when the service is not installed or
    /// already running, or when it could not be started.
    bool start(const QStringList &arguments);
    /// start() with no arguments.
    bool start();

    /// \name Control commands
    /// @{

    /// Send one command each ("terminate", "pause", "resume", "num:<code>") and block until the
    /// service answers; true only for the answer "true".
    bool stop();
    bool pause();
    bool resume();
    bool sendCommand(int code);
    /// @}

private:
    QtServiceControllerPrivate *d;

    Q_DISABLE_COPY(QtServiceController)
};

/// The control socket of a service: "/var/tmp/" + encodeName(serviceName, false) + "." + the login
/// name of the process's real user.
ORVEXSUPPORT_EXPORT QString socketPath(const QString &serviceName);

/// The lower-case letters a to z and the digits of name; everything else is dropped.
/// Deliberate: the name is lowered first, so allowUpper never changes the result.
ORVEXSUPPORT_EXPORT QString encodeName(const QString &name, bool allowUpper);

/// Sends one command line to the service's control socket and waits, without a time limit, for the
/// answer or the end of the connection. False at once when nobody listens; true only for "true".
ORVEXSUPPORT_EXPORT bool sendCmd(const QString &serviceName, const QString &command);

/// @}

#endif // ORVEX_SERVICE_QTSERVICECONTROLLER_H
