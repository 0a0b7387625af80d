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

} // namespace

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
    MessagePeer peer; // accepts and records, never answers
    QVERIFY(peer.begin());

    QElapsedTimer timer;
    timer.start();
    QCOMPARE(Orvex::Manager::getInstance()->send(Message("ping"), QVariant("fallback")),
             QVariant("fallback"));
    QVERIFY(timer.elapsed() >= 29000);
    QCoreApplication::sendPostedEvents(Orvex::Logger::instance());
    QCOMPARE(errors.lines, QStringList{"[No return]"});
    QCOMPARE(peer.received().size(), 12 + 6);

    // The failed exchange deleted the singleton; a new one connects again.
    Orvex::Manager::getInstance();
    QTRY_COMPARE(peer.requestConnections(), 2);
    Orvex::Manager::close();
    Orvex::setDefaultLogger(Orvex::LogError, nullptr);
}

QTEST_GUILESS_MAIN(tst_ManagerTimeout)
#include "tst_manager_timeout.moc"
