#ifndef ORVEX_TESTS_COMMANDPEER_H
#define ORVEX_TESTS_COMMANDPEER_H

// The command server's peer, for the protocol test and the fuzz target: a service that records the
// calls it gets, and the far end of a socket pair that the server adopts.

#include "service/QtServiceBase.h"
#include "service/QtServicePrivate.h"

#include <QByteArray>
#include <QStringList>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

class RecordingService : public QtServiceBase
{
public:
    explicit RecordingService(const QString &name) : QtServiceBase(0, nullptr, name) {}

    QStringList calls;

protected:
    void start() override {}
    void stop() override { calls << QStringLiteral("stop"); }
    void pause() override { calls << QStringLiteral("pause"); }
    void resume() override { calls << QStringLiteral("resume"); }
    void processCommand(int code) override { calls << QString::number(code); }
    void makeApplication(int &, char **) override {}
    int execApplication() override { return 0; }
};

// Hands one end of a new socket pair to the server; the other end, or -1.
inline int adoptedPeer(QtServiceSysPrivate &server)
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
        return -1;
    server.incomingConnection(ends[0]);
    return ends[1];
}

// What the server has written to the peer so far, without waiting. Read into a plain array: g++ 12
// at -O3 takes QByteArray::data() for its 24-byte header and warns of an impossible overflow.
inline QByteArray readAvailable(int peer)
{
    char buffer[4096];
    pollfd entry = {peer, POLLIN, 0};
    const ssize_t n = ::poll(&entry, 1, 0) == 1 ? ::read(peer, buffer, sizeof buffer) : 0;
    return QByteArray(buffer, int(qMax<ssize_t>(n, 0)));
}

#endif // ORVEX_TESTS_COMMANDPEER_H
