#include "service/QtUnixSocket.h"

#include "service/UnixAddress_p.h"

#include <sys/socket.h>
#include <unistd.h>

QtUnixSocket::QtUnixSocket(QObject *parent) : QTcpSocket(parent) {}

bool QtUnixSocket::connectTo(const QString &path)
{
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (descriptor == -1)
        return false;

    sockaddr_un address;
    OrvexUnix::clearAddress(&address);
    const socklen_t length = OrvexUnix::setAddressPath(&address, path.toLatin1());
    if (::connect(descriptor, reinterpret_cast<const sockaddr *>(&address), length) == -1) {
        ::close(descriptor);
        return false;
    }
    // Once connect() has succeeded the connection counts as made; Qt's verdict is not consulted.
    setSocketDescriptor(descriptor, QAbstractSocket::ConnectedState, QIODevice::ReadWrite);
    return true;
}
