#include "common/MessageFrame.h"
#include "common/RecordingComposer.h"
#include "message/Manager.h"
#include "message/MessagePeer.h"
#include "util/Logger.h"

#include <QtTest>

#include <cstdio>
#include <limits>

Q_DECLARE_METATYPE(MessagePeer::Plan)

class tst_Manager : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void replies_data();
    void replies();
    void defaultWhenNothingListens();
    void failedExchangeRebuildsSingleton_data();
    void failedExchangeRebuildsSingleton();
    void notificationsAreDrainedAndLogged();
    void hostileReplies_data();
    void hostileReplies();

private:
    QStringList drainErrors();

    RecordingComposer errors;
    RecordingComposer traces;
};

void tst_Manager::initTestCase()
{
    // Another program on a port would answer in the peer's place, or leave the client waiting.
    if (const quint16 port = MessagePeer::takenPort())
        QFAIL(qPrintable(QStringLiteral("loopback port %1 is taken by another program").arg(port)));
    Orvex::Logger::init();
    Orvex::setDefaultLogger(Orvex::LogError, &errors);
    Orvex::setDefaultLogger(Orvex::LogTrace, &traces);
}

void tst_Manager::cleanup()
{
    Orvex::Manager::close();
    QCoreApplication::sendPostedEvents();
    errors.lines.clear();
    traces.lines.clear();
}

QStringList tst_Manager::drainErrors()
{
    QCoreApplication::sendPostedEvents(Orvex::Logger::instance());
    return errors.lines;
}

// Each row also checks the request frame: the outer length counts the payload only, and an empty
// message goes as a null byte array.
void tst_Manager::replies_data()
{
    QTest::addColumn<QByteArray>("payload");
    QTest::addColumn<QList<QByteArray>>("chunks");
    QTest::addColumn<bool>("close");
    QTest::addColumn<QVariant>("expected");
    const QByteArray hello = messageFrame("5:hello2:");
    const QVariant invalid;
    const auto row = [](const char *name, const QByteArray &reply, const QVariant &expected,
                        bool close = false, const QByteArray &payload = "ping") {
        QTest::newRow(name) << payload << QList<QByteArray>{reply} << close << expected;
    };
    row("integer, empty message", messageFrame("i42e"), 42, false, QByteArray());
    row("byte string, rest dropped", hello, QByteArray("hello"), false, QByteArray(300, 'x'));
    row("null frame gives no value", messageFrame(QByteArray()), invalid);
    row("no element", messageFrame("xyz"), invalid);
    // The client reads the length as soon as a byte is there and then waits only until the
    // payload's length is buffered, so each write ends past the length and the last is 5+ bytes.
    QTest::newRow("split across writes")
            << QByteArray("ping")
            << QList<QByteArray>{hello.left(9), hello.mid(9, 5), hello.mid(14)} << false
            << QVariant(QByteArray("hello"));

    // Broken services: send() still returns, with whatever the bytes decode to.
    row("negative outer length", frameLengths(-1, 4) + "i42e", 42);
    row("most negative outer length", frameLengths(std::numeric_limits<qint64>::min(), 3) + "i7e",
        7);
    row("oversized inner length", frameLengths(4, 0x7ffffff0u) + "i42e", invalid);
    row("null inner length with bytes behind", frameLengths(4, 0xffffffffu) + "i42e", invalid);
    row("inner length longer than the outer", frameLengths(4, 8) + "i1ei22e ", 1);
    row("inner length shorter than the outer", frameLengths(12, 3) + "i5ejunkjunk", 5);
    row("text instead of a frame", "\xff garbage, not a frame\n", invalid);
    row("closed after three bytes", "abc", invalid, true);
    row("closed with the payload cut short", frameLengths(2, 100) + "ab", invalid, true);
}

void tst_Manager::replies()
{
    QFETCH(QByteArray, payload);
    QFETCH(QList<QByteArray>, chunks);
    QFETCH(bool, close);
    QFETCH(QVariant, expected);
    MessagePeer peer;
    QVERIFY(peer.begin());
    peer.plan({chunks, 50, close});

    Message message;
    if (!payload.isNull())
        message.data = payload;
    const QVariant reply = Orvex::Manager::getInstance()->send(message, QVariant("default"));
    QCOMPARE(peer.received(), messageFrame(payload));
    QCOMPARE(reply, expected);
    QCOMPARE(reply.isValid(), expected.isValid());
    QVERIFY(drainErrors().isEmpty());
}

void tst_Manager::defaultWhenNothingListens()
{
    Orvex::Manager *manager = Orvex::Manager::getInstance();
    QTest::qWait(200); // lets the refused connection be noticed
    QCOMPARE(manager->send(Message("ping"), QVariant(7)), QVariant(7));
    QCOMPARE(manager->send(Message("ping"), QVariant("again")), QVariant("again"));
    QCOMPARE(drainErrors(), (QStringList{"[default]", "[default]"}));
    QCOMPARE(Orvex::Manager::getInstance(), manager); // kept, no reconnection
}

void tst_Manager::failedExchangeRebuildsSingleton_data()
{
    QTest::addColumn<MessagePeer::Plan>("silence");
    QTest::newRow("closed without a reply") << MessagePeer::Plan{{}, 0, true};
    // Answers a second after the time-out: the late reply must reach no later client.
    QTest::newRow("reply after the time-out")
            << MessagePeer::Plan{{QByteArray(), messageFrame("i13e")}, 31000};
}

void tst_Manager::failedExchangeRebuildsSingleton()
{
    QFETCH(MessagePeer::Plan, silence);
    MessagePeer peer;
    QVERIFY(peer.begin());
    peer.plan(silence);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(Orvex::Manager::getInstance()->send(Message("ping"), QVariant(1)), QVariant(1));
    QVERIFY(silence.close || timer.elapsed() >= 29000);
    QCOMPARE(drainErrors(), QStringList{"[No return]"});

    // The singleton was deleted: the next one connects afresh and gets its own reply.
    peer.plan({{messageFrame("i5e")}});
    Orvex::Manager::getInstance();
    QTRY_VERIFY_WITH_TIMEOUT(peer.requestConnections.load() >= 2, 10000);
    QCOMPARE(Orvex::Manager::getInstance()->send(Message("ping"), QVariant(1)), QVariant(5));
}

void tst_Manager::notificationsAreDrainedAndLogged()
{
    MessagePeer peer;
    QVERIFY(peer.begin());
    Orvex::Manager::getInstance();
    QTRY_COMPARE(peer.notificationConnections.load(), 1);

    peer.notify("first line\nsecond line\n");
    QTRY_COMPARE(traces.lines, QStringList{"Data-received"});

    // Notifications never change a reply.
    peer.plan({{messageFrame("i9e")}});
    peer.notify("during a request\n");
    QCOMPARE(Orvex::Manager::getInstance()->send(Message("ping"), QVariant()), QVariant(9));
    QTRY_COMPARE(traces.lines.size(), 2);
}

void tst_Manager::hostileReplies_data()
{
    QTest::addColumn<QList<QByteArray>>("chunks");
    QTest::addColumn<bool>("close");
    QTest::addColumn<QByteArray>("result"); // null: never returns
    const QByteArray megabyte(1 << 20, 'x');
    QTest::newRow("length no QByteArray can hold, then a stream")
            << QList<QByteArray>{frameLengths(qint64(1) << 62, 0), megabyte, megabyte, megabyte}
            << false << QByteArray("default");
    QTest::newRow("closed in the middle of a frame")
            << QList<QByteArray>{frameLengths(1000, 1000) + "i4"} << true << QByteArray();
}

// The client runs in a child process, so that one that never returns can be watched and ended.
void tst_Manager::hostileReplies()
{
    QFETCH(QList<QByteArray>, chunks);
    QFETCH(bool, close);
    QFETCH(QByteArray, result);
    MessagePeer peer;
    QVERIFY(peer.begin());
    peer.plan({chunks, 0, close});

    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("ORVEX_TEST_SEND_ONCE"), QStringLiteral("1"));
    child.setProcessEnvironment(environment);
    child.start(QCoreApplication::applicationFilePath(), QStringList());
    QVERIFY(child.waitForStarted(5000));
    if (!result.isNull()) {
        const bool finished = child.waitForFinished(10000);
        if (!finished)
            child.kill();
        QVERIFY(finished);
        QCOMPARE(child.readAllStandardOutput(), result);
        QVERIFY(child.readAllStandardError().contains("[No return]"));
        return;
    }
    // Waiting forever, but asleep: clock ticks (10 ms) of CPU time over 0.7 s; a spin takes all.
    const auto cpuTicks = [&child] {
        QFile stat(QStringLiteral("/proc/%1/stat").arg(child.processId()));
        if (!stat.open(QIODevice::ReadOnly))
            return -1LL;
        const QList<QByteArray> fields = stat.readAll().split(')').value(1).split(' ');
        return fields.value(12).toLongLong() + fields.value(13).toLongLong();
    };
    QTest::qWait(300);
    const qint64 before = cpuTicks();
    QTest::qWait(700);
    const qint64 spent = cpuTicks() - before;
    const bool running = child.state() == QProcess::Running;
    child.kill();
    child.waitForFinished(5000);
    QVERIFY(running);
    QVERIFY2(before >= 0 && spent < 5, QByteArray::number(spent));
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    // The child of hostileReplies(): one request, its result on standard output.
    if (qEnvironmentVariableIsSet("ORVEX_TEST_SEND_ONCE")) {
        Orvex::Logger::init();
        const QVariant reply =
                Orvex::Manager::getInstance()->send(Message("ping"), QVariant("default"));
        QCoreApplication::sendPostedEvents(Orvex::Logger::instance());
        std::fputs(reply.toByteArray().constData(), stdout);
        return 0;
    }
    tst_Manager test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}
#include "tst_manager.moc"
