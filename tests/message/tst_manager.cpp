#include "message/Manager.h"
#include "message/MessagePeer.h"
#include "util/Logger.h"

#include <QtTest>

namespace {

class RecordingComposer : public Orvex::TextLineComposer<char>
{
public:
    void writeLine(const std::string &line) override { lines << QString::fromStdString(line); }
    QStringList lines;
};

// Lets the event loop run long enough for a refused loopback connection to be noticed.
void letConnectionsSettle()
{
    QTest::qWait(200);
}

} // namespace

class tst_Manager : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void requestBytes_data();
    void requestBytes();
    void replies_data();
    void replies();
    void defaultWhenNothingListens();
    void failedExchangeRebuildsSingleton();
    void notificationsAreDrainedAndLogged();

private:
    QStringList drainErrors();

    RecordingComposer errors;
    RecordingComposer traces;
};

void tst_Manager::initTestCase()
{
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

void tst_Manager::requestBytes_data()
{
    QTest::addColumn<QByteArray>("payload");
    QTest::addColumn<bool>("null");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("empty message")
            << QByteArray() << true << QByteArray::fromHex("0000000000000000ffffffff");
    QTest::newRow("one byte string") << QByteArray("4:ping") << false
                                     << QByteArray::fromHex("000000000000000600000006") + "4:ping";
    QTest::newRow("outer length counts the payload only")
            << QByteArray(300, 'x') << false
            << QByteArray::fromHex("000000000000012c0000012c") + QByteArray(300, 'x');
}

void tst_Manager::requestBytes()
{
    QFETCH(QByteArray, payload);
    QFETCH(bool, null);
    QFETCH(QByteArray, expected);

    MessagePeer peer;
    QVERIFY(peer.begin());
    peer.plan({MessagePeer::frame(4, "i42e")});
    Message message;
    if (!null)
        message.data = payload;
    QCOMPARE(message.data.isNull(), null);

    QCOMPARE(Orvex::Manager::getInstance()->send(message, QVariant(-1)), QVariant(42));
    QCOMPARE(peer.received(), expected);
    QVERIFY(drainErrors().isEmpty());
}

void tst_Manager::replies_data()
{
    QTest::addColumn<QList<QByteArray>>("chunks");
    QTest::addColumn<QVariant>("expected");
    const QByteArray intFrame = MessagePeer::frame(4, "i42e");
    const QByteArray bytesFrame = MessagePeer::frame(9, "5:hello2:");
    QTest::newRow("integer reply") << QList<QByteArray>{intFrame} << QVariant(42);
    QTest::newRow("byte string reply, rest dropped")
            << QList<QByteArray>{bytesFrame} << QVariant(QByteArray("hello"));
    QTest::newRow("null frame gives an invalid variant")
            << QList<QByteArray>{MessagePeer::frame(0, QByteArray())} << QVariant();
    QTest::newRow("reply not starting with an element")
            << QList<QByteArray>{MessagePeer::frame(3, "xyz")} << QVariant();
    // The client reads the length as soon as a first byte is there and compares the buffered
    // bytes with the payload length only, so each write here ends past the 8-byte length and the
    // last one carries more than four bytes.
    QTest::newRow("reply split across several writes")
            << QList<QByteArray>{bytesFrame.left(9), bytesFrame.mid(9, 5), bytesFrame.mid(14)}
            << QVariant(QByteArray("hello"));
}

void tst_Manager::replies()
{
    QFETCH(QList<QByteArray>, chunks);
    QFETCH(QVariant, expected);
    MessagePeer peer;
    QVERIFY(peer.begin());
    peer.plan(chunks, 50);

    const QVariant reply =
            Orvex::Manager::getInstance()->send(Message("ping"), QVariant("default"));
    QCOMPARE(reply, expected);
    QCOMPARE(reply.isValid(), expected.isValid());
    QVERIFY(drainErrors().isEmpty());
}

void tst_Manager::defaultWhenNothingListens()
{
    Orvex::Manager *manager = Orvex::Manager::getInstance();
    letConnectionsSettle();
    QCOMPARE(manager->send(Message("ping"), QVariant(7)), QVariant(7));
    QCOMPARE(manager->send(Message("ping"), QVariant("again")), QVariant("again"));
    QCOMPARE(drainErrors(), (QStringList{"[default]", "[default]"}));
    QCOMPARE(Orvex::Manager::getInstance(), manager); // kept, no reconnection
}

void tst_Manager::failedExchangeRebuildsSingleton()
{
    MessagePeer peer;
    QVERIFY(peer.begin());
    peer.closeOnRequest(true);

    QCOMPARE(Orvex::Manager::getInstance()->send(Message("ping"), QVariant(1)), QVariant(1));
    QCOMPARE(drainErrors(), QStringList{"[No return]"});
    QCOMPARE(peer.requestConnections(), 1);

    // The singleton was deleted: the next one connects afresh and works.
    peer.closeOnRequest(false);
    peer.plan({MessagePeer::frame(3, "i5e")});
    QCOMPARE(Orvex::Manager::getInstance()->send(Message("ping"), QVariant(1)), QVariant(5));
    QCOMPARE(peer.requestConnections(), 2);
}

void tst_Manager::notificationsAreDrainedAndLogged()
{
    MessagePeer peer;
    QVERIFY(peer.begin());
    Orvex::Manager::getInstance();
    QTRY_COMPARE(peer.notificationClients(), 1);

    peer.notify("first line\nsecond line\n");
    QTRY_COMPARE(traces.lines, QStringList{"Data-received"});

    // Notifications never change a reply.
    peer.plan({MessagePeer::frame(4, "i9e")});
    peer.notify("during a request\n");
    QCOMPARE(Orvex::Manager::getInstance()->send(Message("ping"), QVariant()), QVariant(9));
    QTRY_COMPARE(traces.lines.size(), 2);
}

QTEST_GUILESS_MAIN(tst_Manager)
#include "tst_manager.moc"
