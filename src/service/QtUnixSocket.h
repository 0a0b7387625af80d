#ifndef ORVEX_SERVICE_QTUNIXSOCKET_H
#define ORVEX_SERVICE_QTUNIXSOCKET_H

#include "orvexsupport_export.h"

#include <QString>
#include <QTcpSocket>

class QObject;

/// \addtogroup service
/// @{

/// The connecting end of a Unix-domain stream socket. connectTo() makes the connection itself with
/// the POSIX calls and hands the connected descriptor to QTcpSocket; from then on reading, writing,
/// signals and closing are Qt's own. An ordinary Qt object of the thread that created it.
class ORVEXSUPPORT_EXPORT QtUnixSocket : public QTcpSocket
{
    Q_OBJECT

public:
    /// Unconnected.
    explicit QtUnixSocket(QObject *parent = nullptr);

    /// Connects synchronously to the socket listening at path (Latin-1, used up to its first NUL,
    /// at most 104 bytes) and blocks as long as connect() does. False when nobody listens there;
    /// no descriptor is left open then.
    bool connectTo(const QString &path);
};

/// @}

#endif // ORVEX_SERVICE_QTUNIXSOCKET_H
