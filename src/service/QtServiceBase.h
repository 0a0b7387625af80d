#ifndef ORVEX_SERVICE_QTSERVICEBASE_H
#define ORVEX_SERVICE_QTSERVICEBASE_H

#include "orvexsupport_export.h"
#include "service/QtServiceController.h"

#include <QByteArray>
#include <QFlags>
#include <QString>

class QtServiceBasePrivate;

/// \addtogroup service
/// @{

/// The base of a background service. A service executable's main() constructs one object of a
/// subclass with its argc, argv and the service's name, and returns what exec() returns.
///
/// Life cycle:
///  1. exec() reads the first command-line argument: install, uninstall, report, control a running
///     instance, run in the foreground (-e), or, with no recognised option, start.
///  2. A start without QTSERVICE_RUN in the environment launches the same executable detached, with
///     QTSERVICE_RUN set to "1" and working directory "/", and returns 0 at once.
///  3. In the detached process exec() creates the command server, sets umask 027, calls
///     makeApplication(), listens on the control socket (see socketPath()), and calls start() from
///     the first turn of the event loop run by execApplication().
///  4. When the event loop ends, the application object is deleted and the control socket closed
///     and its file removed.
///
/// One service object per process; everything runs on the main thread.
class ORVEXSUPPORT_EXPORT QtServiceBase
{
public:
    /// The kind of a logMessage(): Error and Warning map to their syslog priorities, the rest is
    /// informational.
    enum MessageType { Success = 0, Error = 1, Warning = 2, Information = 3 };

    /// What the command server lets other processes do to the running service.
    enum ServiceFlag {
        /// The command server honours "pause" and "resume".
        Suspendable = 0x1,
        /// The command server refuses "terminate".
        Unstoppable = 0x2
    };
    /// A combination of ServiceFlag values.
    Q_DECLARE_FLAGS(ServiceFlags, ServiceFlag)

    /// A name of 256 characters or more is cut to 255; a backslash in it becomes U+0000. Both
    /// come with a warning.
    QtServiceBase(int argc, char **argv, const QString &name);
    /// Stops nothing.
    virtual ~QtServiceBase();

    /// The name as constructed, after the clean-up above.
    QString serviceName() const;

    /// Recorded in the registry on install; empty until set.
    QString serviceDescription() const;
    /// Sets what install records.
    void setServiceDescription(const QString &description);

    /// ManualStartup until set.
    QtServiceController::StartupType startupType() const;
    /// Sets what install records.
    void setStartupType(QtServiceController::StartupType type);

    /// None until set.
    ServiceFlags serviceFlags() const;
    /// A running service honours the new flags from its next command on.
    void setServiceFlags(ServiceFlags flags);

    /// Runs the command line; the result is the process's exit code.
    int exec();

    /// The most recently constructed service object; null once it is destroyed.
    static QtServiceBase *instance();

    /// Writes message to syslog, one record per line, under the service's encoded name. Only a
    /// service running detached logs; elsewhere the call does nothing. id, category and data are
    /// ignored.
    void logMessage(const QString &message, MessageType type = Success, int id = 0,
                    uint category = 0, const QByteArray &data = QByteArray());

protected:
    /// The service's work begins here: called once, from the event loop, after the application
    /// object exists.
    virtual void start() = 0;
    /// Called on "terminate", before the event loop is asked to quit. Does nothing by default.
    virtual void stop();
    /// Called on "pause" when the service is Suspendable. Does nothing by default.
    virtual void pause();
    /// Called on "resume" when the service is Suspendable. Does nothing by default.
    virtual void resume();
    /// Called on "num:<code>". Does nothing by default.
    virtual void processCommand(int code);

    /// Must create the process's application object (a QCoreApplication or a subclass) from the
    /// given arguments, which stay valid while it runs.
    virtual void makeApplication(int &argc, char **argv) = 0;
    /// Must run the application's event loop and return its exit code.
    virtual int execApplication() = 0;

private:
    friend class QtServiceBasePrivate;
    friend class QtServiceSysPrivate;

    QtServiceBasePrivate *d;

    Q_DISABLE_COPY(QtServiceBase)
};

Q_DECLARE_OPERATORS_FOR_FLAGS(QtServiceBase::ServiceFlags)

/// @}

#endif // ORVEX_SERVICE_QTSERVICEBASE_H
