#ifndef ORVEX_SERVICE_QTSERVICEPRIVATE_H
#define ORVEX_SERVICE_QTSERVICEPRIVATE_H

#include "service/QtServiceController.h"

#include <QString>
#include <QStringList>

class QtServiceBase;

// Internal to the service framework, but reachable from tests and tools: fields and operations
// are public.

// The private half of a service object: its description, startup type, command line and a
// controller for its own name. Owned by the service object.
class QtServiceBasePrivate
{
public:
    explicit QtServiceBasePrivate(const QString &name);

    // The absolute path of the service executable, found from the first argument (searched in
    // PATH when it is a bare name); null when there are no arguments.
    QString filePath() const;

    // Records the service in the registry: its executable's path, description and startup type.
    // account and password are accepted and not recorded. False, after a message on standard
    // error, when the registry cannot be written.
    bool install(const QString &account, const QString &password);

    QtServiceBase *owner = nullptr;
    QString serviceDescription;
    QtServiceController::StartupType startupType = QtServiceController::ManualStartup;
    // The whole command line, program path first.
    QStringList arguments;
    QtServiceController controller;
};

#endif // ORVEX_SERVICE_QTSERVICEPRIVATE_H
