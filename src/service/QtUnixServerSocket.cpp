#include "service/QtUnixServerSocket.h"

#include "service/UnixAddress_p.h"

#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int listenBacklog = 5;

} // namespace

QtUnixServerSocket::QtUnixServerSocket(QObject *parent) : QTcpServer(parent) {}

QtUnixServerSocket::QtUnixServerSocket(const QString &path, QObject *parent) : QTcpServer(parent)
{
    setPath(path);
}

// Deliberate: the socket file stays in the file system; only close() removes it.
QtUnixServerSocket::~QtUnixServerSocket() = default;

void QtUnixServerSocket::setPath(const QString &path)
{
    // Deliberate: an earlier socket file stays and an earlier listening descriptor stays open.
    if (!this->path.isNull())
        this->path = QString();

    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (descriptor == -1)
        return;

    sockaddr_un address;
    OrvexUnix::clearAddress(&address);
    const QByteArray latin1 = path.toLatin1();
    // A stale file from an earlier run would make bind() fail; a missing one is normal. The whole
    // path is removed, before it is cut to fit the address.
    ::unlink(latin1.constData());
    const socklen_t length = OrvexUnix::setAddressPath(&address, latin1);

    // Deliberate: after a failed bind or listen the descriptor is left open and path stays null.
    if (::bind(descriptor, reinterpret_cast<const sockaddr *>(&address), length) == -1)
        return;
    if (::listen(descriptor, listenBacklog) == -1)
        return;

    QTcpServer::setSocketDescriptor(descriptor);
    this->path = path;
}

void QtUnixServerSocket::close()
{
    QTcpServer::close();
    if (!path.isEmpty()) {
        ::unlink(path.toLatin1().constData());
        path = QString();
    }
}
