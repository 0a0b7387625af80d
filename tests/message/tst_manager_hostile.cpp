#include "message/Manager.h"
#include "message/MessagePeer.h"
#include "util/Logger.h"

#include <QtTest>

#include <limits>

namespace {

class RecordingComposer : public Orvex::TextLineComposer<char>
{
public:
    void writeLine(const std::string &line) override { lines << QString::fromStdString(line); }
    QStringList lines;
};

// The 8-byte outer length and the 4-byte inner length of a frame, as the service writes them.
QByteArray lengths(qint64 outer, quint32 inner)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(12);
    out << outer << inner;
    return bytes;
}

} // namespace

// The client against a broken or hostile service: replies that are not frames, lengths that lie,
// connections closed part-way. send() must return, and must not crash or leak. A reply whose outer
// length is never covered is not tried: the client then waits for it without bound, by design.
class tst_ManagerHostile : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void brokenReplies_data();
    void brokenReplies();
    void garbageDoesNotOutliveTheClient();

private:
    RecordingComposer errors;
};

void tst_ManagerHostile::initTestCase()
{
    Orvex::Logger::init();
    Orvex::setDefaultLogger(Orvex::LogError, &errors);
}

void tst_ManagerHostile::cleanup()
{
    Orvex::Manager::close();
    QCoreApplication::sendPostedEvents();
    errors.lines.clear();
}

void tst_ManagerHostile::brokenReplies_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<bool>("closeAfterReply");
    QTest::addColumn<QVariant>("expected");
    const QVariant invalid;
    QTest::newRow("negative outer length") << lengths(-1, 4) + "i42e" << false << QVariant(42);
    QTest::newRow("most negative outer length")
            << lengths(std::numeric_limits<qint64>::min(), 3) + "i7e" << false << QVariant(7);
    QTest::newRow("oversized inner length") << lengths(4, 0x7ffffff0u) + "i42e" << false << invalid;
    QTest::newRow("inner length negative as a signed number")
            << lengths(4, 0xfffffffeu) + "i42e" << false << invalid;
    QTest::newRow("null inner length with bytes behind it")
            << lengths(4, 0xffffffffu) + "i42e" << false << invalid;
    QTest::newRow("inner length longer than the outer")
            << lengths(4, 8) + "i1ei22e " << false << QVariant(1);
    QTest::newRow("inner length shorter than the outer")
            << lengths(12, 3) + "i5ejunkjunk" << false << QVariant(5);
    QTest::newRow("outer length alone") << lengths(0, 0).left(8) << false << invalid;
    QTest::newRow("text instead of a frame")
            << QByteArray("\xff garbage, not a frame\n") << false << invalid;
    QTest::newRow("closed after three bytes") << QByteArray("abc") << true << invalid;
    QTest::newRow("closed with the payload cut short") << lengths(2, 100) + "ab" << true << invalid;
}

void tst_ManagerHostile::brokenReplies()
{
    QFETCH(QByteArray, reply);
    QFETCH(bool, closeAfterReply);
    QFETCH(QVariant, expected);
    MessagePeer peer;
    QVERIFY(peer.begin());
    peer.plan({reply});
    peer.closeAfterReply(closeAfterReply);

    const QVariant result =
            Orvex::Manager::getInstance()->send(Message("ping"), QVariant("default"));
    QCOMPARE(result, expected);
    QCOMPARE(result.isValid(), expected.isValid());
    QCoreApplication::sendPostedEvents(Orvex::Logger::instance());
    QVERIFY(errors.lines.isEmpty());
}

void tst_ManagerHostile::garbageDoesNotOutliveTheClient()
{
    // Bytes past the frame stay in the client's buffer; a fresh client starts clean.
    MessagePeer peer;
    QVERIFY(peer.begin());
    peer.plan({lengths(3, 3) + "i1e" + lengths(0x7fffffffffffffff, 0)});
    QCOMPARE(Orvex::Manager::getInstance()->send(Message("ping"), QVariant()), QVariant(1));
    Orvex::Manager::close();

    peer.plan({MessagePeer::frame(3, "i2e")});
    QCOMPARE(Orvex::Manager::getInstance()->send(Message("ping"), QVariant()), QVariant(2));
    QCOMPARE(peer.requestConnections(), 2);
}

QTEST_GUILESS_MAIN(tst_ManagerHostile)
#include "tst_manager_hostile.moc"
