#include "common/RecordingComposer.h"
#include "util/Logger.h"

#include <QCoreApplication>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

// A stream buffer that fails every write, to make printing a line throw.
class FailingBuffer : public std::streambuf
{
protected:
    int_type overflow(int_type) override { throw std::runtime_error("sink failed"); }
    std::streamsize xsputn(const char *, std::streamsize) override
    {
        throw std::runtime_error("sink failed");
    }
};

} // namespace

class tst_Logger : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void levels_data();
    void levels();
    void emptyTextGivesEmptyLine();
    void levelWithoutComposerDropsSilently();
    void disabledComposerStillReceivesALine();
    void otherEventsAreConsumed();
    void composerIsFlushedWhenPrintingThrows();
    void partialLineIsContinuedAndFlushed();
    void linesFromManyThreads();

private:
    void drain() { QCoreApplication::sendPostedEvents(Orvex::Logger::instance()); }

    RecordingComposer recorders[7];
};

void tst_Logger::initTestCase()
{
    Orvex::Logger::init();
    QCOMPARE(Orvex::Logger::instance()->thread(), QThread::currentThread());
}

void tst_Logger::cleanup()
{
    drain();
    for (int level = 0; level < 7; ++level) {
        Orvex::setDefaultLogger(Orvex::LogLevel(level), nullptr);
        recorders[level].lines.clear();
        recorders[level].enabled = true;
    }
}

void tst_Logger::levels_data()
{
    QTest::addColumn<int>("form");
    QTest::addColumn<int>("expectedLevel");
    QTest::newRow("logErr writes at level 2") << 0 << 2;
    QTest::newRow("logWarn writes at level 3") << 1 << 3;
    QTest::newRow("log at level 5") << 5 << 5;
    QTest::newRow("log at level 2") << 2 << 2;
}

void tst_Logger::levels()
{
    QFETCH(int, form);
    QFETCH(int, expectedLevel);
    for (int level = 0; level < 7; ++level)
        Orvex::setDefaultLogger(Orvex::LogLevel(level), &recorders[level]);

    const QString text = QStringLiteral("héllo wörld");
    if (form == 0)
        Orvex::Logger::logErr(text);
    else if (form == 1)
        Orvex::Logger::logWarn(text);
    else
        Orvex::Logger::log(text, Orvex::LogLevel(form));
    QVERIFY(recorders[expectedLevel].lines.isEmpty()); // nothing happens on the caller's side
    drain();

    for (int level = 0; level < 7; ++level)
        QCOMPARE(recorders[level].lines,
                 level == expectedLevel ? QStringList{text} : QStringList{});
}

void tst_Logger::emptyTextGivesEmptyLine()
{
    Orvex::setDefaultLogger(Orvex::LogError, &recorders[2]);
    Orvex::Logger::logErr(QString());
    Orvex::Logger::logErr(QStringLiteral("next"));
    drain();
    QCOMPARE(recorders[2].lines, (QStringList{QString(), QStringLiteral("next")}));
}

void tst_Logger::levelWithoutComposerDropsSilently()
{
    Orvex::setDefaultLogger(Orvex::LogWarning, &recorders[3]);
    Orvex::Logger::logErr(QStringLiteral("dropped"));
    Orvex::Logger::log(QStringLiteral("unknown level"), Orvex::LogLevel(42));
    Orvex::Logger::logWarn(QStringLiteral("kept"));
    drain();
    QCOMPARE(recorders[3].lines, QStringList{QStringLiteral("kept")});
}

void tst_Logger::disabledComposerStillReceivesALine()
{
    RecordingComposer &composer = recorders[2];
    composer.enabled = false;
    composer.stream << "left over";
    Orvex::setDefaultLogger(Orvex::LogError, &composer);
    Orvex::Logger::logErr(QStringLiteral("not taken"));
    Orvex::Logger::logErr(QStringLiteral("not taken either"));
    drain();
    QCOMPARE(composer.lines, (QStringList{QStringLiteral("left over"), QString()}));
    QVERIFY(composer.atLineStart);
    QVERIFY(composer.stream.str().empty());
}

void tst_Logger::otherEventsAreConsumed()
{
    Orvex::setDefaultLogger(Orvex::LogError, &recorders[2]);
    QEvent plain(QEvent::User);
    QVERIFY(Orvex::Logger::instance()->event(&plain));
    QVERIFY(Orvex::Logger::instance()->event(nullptr));
    QCoreApplication::postEvent(Orvex::Logger::instance(), new QEvent(QEvent::Timer));
    drain();
    QVERIFY(recorders[2].lines.isEmpty());
}

void tst_Logger::composerIsFlushedWhenPrintingThrows()
{
    RecordingComposer &composer = recorders[2];
    FailingBuffer failing;
    composer.stream << "before";
    std::streambuf *own = static_cast<std::ios &>(composer.stream).rdbuf(&failing);
    composer.stream.exceptions(std::ios::badbit);
    Orvex::setDefaultLogger(Orvex::LogError, &composer);

    Orvex::LogEvent event(QStringLiteral("lost"), Orvex::LogError);
    bool thrown = false;
    try {
        Orvex::Logger::instance()->event(&event);
    } catch (const std::exception &) {
        thrown = true;
    }
    composer.stream.exceptions(std::ios::goodbit);
    static_cast<std::ios &>(composer.stream).rdbuf(own);
    composer.stream.clear();

    QVERIFY(thrown);
    QCOMPARE(composer.lines, QStringList{QStringLiteral("before")});
    QVERIFY(composer.atLineStart);
    QVERIFY(composer.stream.str().empty());
}

void tst_Logger::partialLineIsContinuedAndFlushed()
{
    RecordingComposer &composer = recorders[5];
    composer.stream << "prefix ";
    composer.atLineStart = false;
    Orvex::setDefaultLogger(Orvex::LogTrace, &composer);
    Orvex::Logger::log(QStringLiteral("rest"), Orvex::LogTrace);
    Orvex::Logger::log(QStringLiteral("alone"), Orvex::LogTrace);
    drain();
    QCOMPARE(composer.lines, (QStringList{QStringLiteral("prefix rest"), QStringLiteral("alone")}));
}

void tst_Logger::linesFromManyThreads()
{
    constexpr int threadCount = 8;
    constexpr int linesPerThread = 2000;
    RecordingComposer &composer = recorders[5];
    Orvex::setDefaultLogger(Orvex::LogTrace, &composer);

    // Each thread releases its end through this counter, so that a race checker that cannot see
    // inside QThread::wait still knows that all posting happened before the drain.
    std::atomic<int> finished{0};
    std::vector<std::unique_ptr<QThread>> threads;
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back(QThread::create([t, &finished] {
            for (int i = 0; i < linesPerThread; ++i)
                Orvex::Logger::log(QStringLiteral("%1 %2").arg(t).arg(i), Orvex::LogTrace);
            finished.fetch_add(1, std::memory_order_release);
        }));
    }
    for (auto &thread : threads)
        thread->start();
    for (auto &thread : threads)
        QVERIFY(thread->wait(30000));
    QCOMPARE(finished.load(std::memory_order_acquire), threadCount);
    drain();

    QCOMPARE(composer.lines.size(), threadCount * linesPerThread);
    QVector<int> next(threadCount, 0);
    for (const QString &line : qAsConst(composer.lines)) {
        const QStringList parts = line.split(QLatin1Char(' '));
        QCOMPARE(parts.size(), 2);
        const int t = parts[0].toInt();
        QCOMPARE(parts[1].toInt(), next[t]);
        ++next[t];
    }
}

QTEST_GUILESS_MAIN(tst_Logger)
#include "tst_logger.moc"
