#ifndef ORVEX_MESSAGE_MANAGER_H
#define ORVEX_MESSAGE_MANAGER_H

#include "message/Message.h"
#include "orvexsupport_export.h"

#include <QByteArray>
#include <QObject>
#include <QVariant>

namespace Orvex {

/// \addtogroup message
/// @{

/// The process-wide client of the local message service on the loopback interface.
///
/// Life cycle:
///  1. getInstance() creates the one Manager on first use; its constructor starts connecting to
///     port 8889 (requests and replies) and port 9998 (unsolicited data, logged as a trace line)
///     without waiting.
///  2. send() writes one request frame and blocks until its reply has arrived, then returns the
///     reply's first element. On an unconnected socket it returns the default value.
///  3. A send() that gets no reply within 30000 ms (or fails with an exception) deletes the
///     singleton itself; the next getInstance() builds a fresh client. Fetch the pointer through
///     getInstance() for every request, never keep it.
///  4. close() deletes the singleton explicitly; nothing deletes it at process exit.
///
/// Everything runs on the thread that created the singleton; there are no locks.
class ORVEXSUPPORT_EXPORT Manager : public QObject
{
    Q_OBJECT

public:
    /// Starts connecting both sockets. Hosts use getInstance() instead.
    Manager();
    ~Manager() override;

    /// The singleton, created and connecting on first use.
    static Manager *getInstance();
    /// Deletes the singleton, if any; the next getInstance() connects afresh.
    static void close();

    /// Sends one request and returns the first element of its reply. Never throws: on failure it
    /// logs "[default]" or "[No return]" at error level and returns defaultValue.
    /// A reply announcing a length no QByteArray can hold counts as no reply ("[No return]").
    /// Deliberate: once a reply has begun, it waits without bound for the rest of its frame, asleep
    /// when the service has closed the connection.
    QVariant send(const Message &message, const QVariant &defaultValue);

    /// Writes one frame: the payload's size as a signed 64-bit integer, then the payload as a
    /// data-stream byte array (stream version 12). Returns the result of QIODevice::write.
    qint64 writeSocket(const QByteArray &data);
    /// Reads one frame from the request socket and returns its payload; empty when the announced
    /// length is one no QByteArray can hold.
    QByteArray readSocket();

private slots:
    void dataReceived();

private:
    struct Sockets;

    Sockets *sockets;
    static Manager *instance;

    Q_DISABLE_COPY(Manager)
};

/// @}

} // namespace Orvex

#endif // ORVEX_MESSAGE_MANAGER_H
