#include "service/QtServicePrivate.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTcpSocket>
#include <QTimer>
#include <QVector>

#include <cstdlib>
#include <limits>
#include <vector>

#include <sys/stat.h>

namespace {

constexpr int runFailed = -1;
// rwxr-x---: files a service creates are closed to others.
constexpr mode_t serviceUmask = 027;

// A command line that is the text "num:" followed by at least one character.
bool isNumericCommand(const QString &command)
{
    return command.length() > 4 && command.startsWith(QLatin1String("num:"));
}

} // namespace

// Service host

QtServiceBase *QtServiceBasePrivate::instance = nullptr;

QtServiceBasePrivate::QtServiceBasePrivate(const QString &name) : controller(name) {}

QtServiceBasePrivate::~QtServiceBasePrivate()
{
    delete commandServer;
}

void QtServiceBasePrivate::startService()
{
    owner->start();
}

int QtServiceBasePrivate::run(bool asService, const QStringList &argList)
{
    int argc = argList.size();
    QVector<QByteArray> localArguments;
    std::vector<char *> argv;
    localArguments.reserve(argc);
    argv.reserve(size_t(argc));
    for (const QString &argument : argList) {
        localArguments << argument.toLocal8Bit();
        argv.push_back(localArguments.last().data());
    }
    // Deliberate: argv holds exactly argc pointers, with no terminating null entry.

    if (asService && !sysInit())
        return runFailed;
    owner->makeApplication(argc, argv.data());
    // Deliberate: without an application the command server stays in place.
    if (!QCoreApplication::instance())
        return runFailed;
    // Listening starts only now that the application, and its event dispatcher, exist.
    if (asService)
        sysSetPath();

    // start() runs as the first action of the event loop, never before it.
    QtServiceStarter starter(this);
    QTimer::singleShot(0, &starter, &QtServiceStarter::slotStart);
    const int result = owner->execApplication();
    delete QCoreApplication::instance();
    if (asService)
        sysCleanup();
    return result;
}

bool QtServiceBasePrivate::start()
{
    // Deliberate: a running instance never answers, so this waits until that instance ends.
    if (sendCmd(controller.serviceName(), QStringLiteral("alive")))
        return false;
    // Stays set in this process as well; the child inherits it and knows it is the service.
    ::setenv("QTSERVICE_RUN", "1", 1);
    return QProcess::startDetached(filePath(), arguments.mid(1), QStringLiteral("/"));
}

QString QtServiceBasePrivate::filePath() const
{
    if (arguments.isEmpty())
        return QString();
    const QString program = arguments.first();
    const QString file = QFileInfo(program).fileName();

    // An empty directory stands for the current one.
    QString directory;
    if (program.startsWith(QLatin1Char('/'))) {
        directory = QFileInfo(program).absolutePath();
    } else if (program.contains(QLatin1Char('/'))) {
        QDir current = QDir::current();
        // A failed change leaves the current directory.
        current.cd(program.left(program.lastIndexOf(QLatin1Char('/'))));
        directory = current.absolutePath();
    } else if (const char *path = std::getenv("PATH")) {
        const QStringList entries =
                QString::fromLocal8Bit(path).split(QLatin1Char(':'), Qt::KeepEmptyParts);
        for (const QString &entry : entries) {
            // Deliberate: an empty entry tests "/" + name and, when that exists, yields the
            // current directory.
            if (QFile::exists(entry + QLatin1Char('/') + program)) {
                directory = QDir(entry).absolutePath();
                break;
            }
        }
    }
    return QDir(directory).absoluteFilePath(file);
}

bool QtServiceBasePrivate::sysInit()
{
    commandServer = new QtServiceSysPrivate;
    commandServer->serviceFlags = serviceFlags;
    ::umask(serviceUmask);
    return true;
}

void QtServiceBasePrivate::sysSetPath()
{
    // Whether listening worked is not examined: the service runs either way.
    if (commandServer)
        commandServer->setPath(socketPath(controller.serviceName()));
}

void QtServiceBasePrivate::sysCleanup()
{
    if (commandServer) {
        commandServer->close();
        delete commandServer;
        commandServer = nullptr;
    }
}

// Starter

QtServiceStarter::QtServiceStarter(QtServiceBasePrivate *host) : QObject(nullptr), host(host) {}

void QtServiceStarter::slotStart()
{
    host->startService();
}

// Command server

QtServiceSysPrivate::QtServiceSysPrivate() : QtUnixServerSocket(nullptr)
{
    connect(this, &QTcpServer::newConnection, this, &QtServiceSysPrivate::tidyQueue);
}

void QtServiceSysPrivate::tidyQueue()
{
    // Connections wait unanswered in the base's queue. One whose peer has left is dropped from it,
    // so that the full queue never stops the server from accepting; the queue can only be taken
    // from the front, so it is taken whole and the others are put back.
    QList<QTcpSocket *> waiting;
    while (isListening() && hasPendingConnections()) {
        QTcpSocket *socket = nextPendingConnection();
        if (socket->state() == QAbstractSocket::ConnectedState)
            waiting << socket;
        else
            socket->deleteLater();
    }
    for (QTcpSocket *socket : qAsConst(waiting)) {
        // Nobody reads a queued connection: what its peer sends is dropped, not kept in memory.
        socket->skip(socket->bytesAvailable());
        addPendingConnection(socket);
        connect(socket, &QIODevice::readyRead, this, &QtServiceSysPrivate::tidyQueue,
                Qt::UniqueConnection);
        connect(socket, &QAbstractSocket::disconnected, this, &QtServiceSysPrivate::tidyQueue,
                Qt::UniqueConnection);
    }
}

QtServiceSysPrivate::~QtServiceSysPrivate()
{
    delete[] logIdent;
}

void QtServiceSysPrivate::incomingConnection(int socketDescriptor)
{
    auto *socket = new QTcpSocket(this);
    socket->setSocketDescriptor(socketDescriptor, QAbstractSocket::ConnectedState,
                                QIODevice::ReadWrite);
    connect(socket, &QIODevice::readyRead, this, &QtServiceSysPrivate::slotReady);
    connect(socket, &QAbstractSocket::disconnected, this, &QtServiceSysPrivate::slotClosed);
}

QString QtServiceSysPrivate::getCommand(const QTcpSocket *socket)
{
    return takeCommands(socket, 1).value(0);
}

QStringList QtServiceSysPrivate::takeCommands(const QTcpSocket *socket, int most)
{
    QString &buffer = buffers[socket];
    // Only what arrived since the last search is searched; scanned never passes the buffer's
    // end, as only this function takes text out and slotReady() only appends.
    int &from = scanned[socket];
    QStringList commands;
    int taken = 0;
    for (int searchFrom = qMin(from, buffer.size()); commands.size() < most;) {
        const int end = buffer.indexOf(QLatin1String("\r\n"), searchFrom);
        if (end < 0) {
            // A last "\r" may yet begin a line end.
            from = qMax(0, buffer.size() - taken - 1);
            break;
        }
        const int start = taken;
        taken = end + 2;
        searchFrom = taken;
        from = 0;
        if (end == start)
            break;
        commands << buffer.mid(start, end - start);
    }
    // Taken out at once: removing line by line would move the rest of the buffer for every line.
    buffer.remove(0, taken);
    return commands;
}

void QtServiceSysPrivate::slotReady()
{
    auto *socket = qobject_cast<QTcpSocket *>(sender());
    if (!socket)
        return;

    const QByteArray chunk = socket->readAll();
    // Deliberate: a zero byte ends the chunk; what follows it in the same chunk is dropped.
    const int zero = chunk.indexOf('\0');
    buffers[socket] += QString::fromUtf8(zero < 0 ? chunk : chunk.left(zero));

    QtServiceBase *service = QtServiceBase::instance();
    // Deliberate: an empty line ends this round; complete lines after it wait for more data.
    const QStringList commands = takeCommands(socket, std::numeric_limits<int>::max());
    for (const QString &command : commands) {
        bool accepted = false;
        if (command == QLatin1String("terminate")) {
            if (!serviceFlags.testFlag(QtServiceBase::Unstoppable)) {
                if (service)
                    service->stop();
                QCoreApplication::quit();
                accepted = true;
            }
        } else if (command == QLatin1String("pause")) {
            if (serviceFlags.testFlag(QtServiceBase::Suspendable)) {
                if (service)
                    service->pause();
                accepted = true;
            }
        } else if (command == QLatin1String("resume")) {
            if (serviceFlags.testFlag(QtServiceBase::Suspendable)) {
                if (service)
                    service->resume();
                accepted = true;
            }
        } else if (command == QLatin1String("alive")) {
            accepted = true;
        } else if (isNumericCommand(command)) {
            // Unreadable numbers give 0.
            if (service)
                service->processCommand(command.mid(4).toInt(nullptr, 10));
            accepted = true;
        }
        socket->write(accepted ? QByteArray("true") : QByteArray("false"));
        socket->flush();
    }
}

void QtServiceSysPrivate::slotClosed()
{
    if (QObject *socket = sender())
        socket->deleteLater();
    // Deliberate: the connection's buffer entry stays for the server's lifetime, under a key a
    // later connection may reuse.
}
