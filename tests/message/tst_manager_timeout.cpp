#include "common/RecordingComposer.h"
#include "message/Manager.h"
#include "message/MessagePeer.h"
#include "util/Logger.h"

#include <QtTest>

// Waits the full reply time-out once, so it is kept apart from the fast client tests.
class tst_ManagerTimeout : public QObject
{
    Q_OBJECT

private slots:
    void silentServiceGivesDefaultAfterTimeout();
};

void tst_ManagerTimeout::silentServiceGivesDefaultAfterTimeout()
{
    RecordingComposer errors;
    Orvex::Logger::init();
    Orvex::setDefaultLogger(Orvex::LogError, &errors);
    // Answers a second after the time-out: the late reply must reach no later client.
    MessagePeer peer;
    QVERIFY(peer.begin());
    peer.plan({{QByteArray(), MessagePeer::frame(4, "i13e")}, 31000});

    QElapsedTimer timer;
    timer.start();
    QCOMPARE(Orvex::Manager::getInstance()->send(Message("ping"), QVariant("fallback")),
             QVariant("fallback"));
    QVERIFY(timer.elapsed() >= 29000);
    QCoreApplication::sendPostedEvents(Orvex::Logger::instance());
    QCOMPARE(errors.lines, QStringList{"[No return]"});
    QCOMPARE(peer.received().size(), 12 + 6);

    // The failed exchange deleted the singleton; a new one connects again once the peer has
    // written its late reply to the old connection, and gets its own reply.
    peer.plan({{MessagePeer::frame(3, "i5e")}});
    Orvex::Manager::getInstance();
    QTRY_COMPARE_WITH_TIMEOUT(peer.requestConnections(), 2, 10000);
    QCOMPARE(Orvex::Manager::getInstance()->send(Message("ping"), QVariant("fallback")),
             QVariant(5));
    Orvex::Manager::close();
    Orvex::setDefaultLogger(Orvex::LogError, nullptr);
}

QTEST_GUILESS_MAIN(tst_ManagerTimeout)
#include "tst_manager_timeout.moc"
