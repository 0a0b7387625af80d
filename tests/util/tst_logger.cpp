#include "common/RecordingComposer.h"
#include "util/Logger.h"

#include <QCoreApplication>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <memory>
#include <vector>

class tst_Logger : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void lines_data();
    void lines();
    void composerIsFlushedWhenPrintingThrows();
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

void tst_Logger::lines_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<QString>("partial"); // already in the composer's current line
    QTest::addColumn<QStringList>("written"); // at `level`; no other level writes anything
    const QString text = QStringLiteral("héllo wörld");
    const auto row = [&text](const char *what, const char *call, int level) {
        QTest::newRow(what) << call << level << text << true << QString() << QStringList{text};
    };
    row("logErr writes at level 2", "logErr", 2);
    row("logWarn writes at level 3", "logWarn", 3);
    row("log at level 5", "log", 5);
    row("log at level 0, which the library never passes", "log", 0);
    row("log at level 6, which the library never passes", "log", 6);
    QTest::newRow("level without a composer")
            << "log" << 42 << text << true << QString() << QStringList();
    QTest::newRow("empty text gives an empty line")
            << "logErr" << 2 << QString() << true << QString() << QStringList{QString()};
    QTest::newRow("disabled composer still receives its line")
            << "logErr" << 2 << text << false << "left over" << QStringList{"left over"};
    QTest::newRow("partial line continued")
            << "log" << 5 << "rest" << true << "prefix " << QStringList{"prefix rest"};
}

void tst_Logger::lines()
{
    QFETCH(QString, call);
    QFETCH(int, level);
    QFETCH(QString, text);
    QFETCH(bool, enabled);
    QFETCH(QString, partial);
    QFETCH(QStringList, written);
    for (int l = 0; l < 7; ++l)
        Orvex::setDefaultLogger(Orvex::LogLevel(l), &recorders[l]);
    RecordingComposer *composer = level < 7 ? &recorders[level] : nullptr;
    if (composer) {
        composer->enabled = enabled;
        composer->stream << partial.toStdString();
        composer->atLineStart = partial.isEmpty();
    }

    if (call == "logErr")
        Orvex::Logger::logErr(text);
    else if (call == "logWarn")
        Orvex::Logger::logWarn(text);
    else
        Orvex::Logger::log(text, Orvex::LogLevel(level));
    // Other events reaching the logger are ignored.
    QCoreApplication::postEvent(Orvex::Logger::instance(), new QEvent(QEvent::User));
    for (int l = 0; l < 7; ++l)
        QVERIFY(recorders[l].lines.isEmpty()); // nothing happens on the caller's side
    drain();

    for (int l = 0; l < 7; ++l)
        QCOMPARE(recorders[l].lines, l == level ? written : QStringList());
    if (composer) {
        QVERIFY(composer->atLineStart);
        QVERIFY(composer->stream.str().empty());
    }
}

void tst_Logger::composerIsFlushedWhenPrintingThrows()
{
    RecordingComposer &composer = recorders[2];
    composer.stream << "before";
    // A stream gone bad throws on the next write.
    composer.stream.setstate(std::ios::badbit);
    composer.stream.exceptions(std::ios::failbit);
    Orvex::setDefaultLogger(Orvex::LogError, &composer);

    Orvex::LogEvent event(QStringLiteral("lost"), Orvex::LogError);
    QVERIFY_EXCEPTION_THROWN(Orvex::Logger::instance()->event(&event), std::ios::failure);
    composer.stream.exceptions(std::ios::goodbit);
    composer.stream.clear();
    QCOMPARE(composer.lines, QStringList{QStringLiteral("before")});
    QVERIFY(composer.atLineStart);
    QVERIFY(composer.stream.str().empty());
}

void tst_Logger::linesFromManyThreads()
{
    constexpr int threadCount = 8;
    constexpr int linesPerThread = 500;
    Orvex::setDefaultLogger(Orvex::LogTrace, &recorders[5]);
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
        threads.back()->start();
    }
    for (auto &thread : threads)
        QVERIFY(thread->wait(30000));
    QCOMPARE(finished.load(std::memory_order_acquire), threadCount);
    drain();

    // Every line, in the order each thread posted it.
    QVector<int> next(threadCount, 0);
    for (const QString &line : qAsConst(recorders[5].lines)) {
        const int t = line.section(QLatin1Char(' '), 0, 0).toInt();
        QCOMPARE(line.section(QLatin1Char(' '), 1).toInt(), next[t]++);
    }
    QCOMPARE(recorders[5].lines.size(), threadCount * linesPerThread);
}

QTEST_GUILESS_MAIN(tst_Logger)
#include "tst_logger.moc"
