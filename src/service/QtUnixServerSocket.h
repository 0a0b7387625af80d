#ifndef ORVEX_SERVICE_QTUNIXSERVERSOCKET_H
#define ORVEX_SERVICE_QTUNIXSERVERSOCKET_H

#include "orvexsupport_export.h"

#include <QString>
#include <QTcpServer>

class QObject;

/// \addtogroup service
/// @{

/// The listening end of a Unix-domain stream socket. setPath() creates, binds and listens on the
/// descriptor itself and hands it to QTcpServer, which accepts and queues connections as usual.
/// An ordinary Qt object of the thread that created it.
///
/// Life cycle: idle (path null) -> setPath() -> listening (path set) -> close() -> idle, the socket
/// file removed. Destroying a listening server closes the descriptor but leaves the file, which the
/// next setPath() on that path removes.
class ORVEXSUPPORT_EXPORT QtUnixServerSocket : public QTcpServer
{
    Q_OBJECT

public:
    /// Idle.
    explicit QtUnixServerSocket(QObject *parent = nullptr);
    /// Calls setPath(path).
    QtUnixServerSocket(const QString &path, QObject *parent = nullptr);
    ~QtUnixServerSocket() override;

    /// Removes any file at path, then listens there. No result: success shows in isListening() and
    /// in a non-null path. Paths are Latin-1, used up to their first NUL, at most 104 bytes.
    void setPath(const QString &path);

    /// Stops listening and removes the socket file. Hides QTcpServer::close(); call it through
    /// this class for the file to go.
    void close();

    /// The path listened on, as given; null while idle. Read it, do not set it.
    QString path;
};

/// @}

#endif // ORVEX_SERVICE_QTUNIXSERVERSOCKET_H
