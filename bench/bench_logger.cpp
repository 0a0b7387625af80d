// Lines per second from 1, 2 and 8 posting threads, counted when every line has reached its
// sink: Orvex::Logger into a composer that only collects, delivered by this thread's event loop as
// a host's main loop delivers them (asleep while the queue is empty), side by side with spdlog's asynchronous
// logger (a queue large enough never to block or drop) into a sink that only collects, and the
// floor of the logger's design: a bare posted event carrying the QString to a QObject that
// appends its UTF-8.
#include "RatioReporter.h"

#include <util/Logger.h>

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>
#include <QObject>
#include <QThread>

#include <spdlog/async.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace {

constexpr int linesPerThread = 100000;

// Counts delivered lines and ends the event loop at the last one.
struct LineCount
{
    void add()
    {
        if (++lines == total)
            loop->quit();
    }
    // Delivers posted events in this thread until `total` lines have arrived.
    template <class Post>
    void run(std::size_t lineCount, Post post)
    {
        QEventLoop eventLoop;
        lines = 0;
        total = lineCount;
        loop = &eventLoop;
        std::thread posters(post);
        eventLoop.exec();
        posters.join();
    }
    std::size_t lines = 0;
    std::size_t total = 0;
    QEventLoop *loop = nullptr;
};

class CollectingComposer : public Orvex::TextLineComposer<char>
{
public:
    void writeLine(const std::string &line) override
    {
        bytes += line.size();
        count.add();
    }
    std::size_t bytes = 0;
    LineCount count;
};

class CollectingSink : public spdlog::sinks::base_sink<spdlog::details::null_mutex>
{
public:
    std::atomic<std::size_t> lines{0};
    std::size_t bytes = 0;

protected:
    void sink_it_(const spdlog::details::log_msg &message) override
    {
        bytes += message.payload.size();
        lines.fetch_add(1, std::memory_order_release);
    }
    void flush_() override {}
};

template <class Post>
void postFromThreads(int threadCount, Post post)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([t, &post] {
            for (int i = 0; i < linesPerThread; ++i)
                post(t, i);
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}

void linesOrvex(benchmark::State &state)
{
    const int threadCount = int(state.range(0));
    const std::size_t total = std::size_t(threadCount) * linesPerThread;
    CollectingComposer composer;
    Orvex::setDefaultLogger(Orvex::LogTrace, &composer);
    const QString text = QStringLiteral("a line of ordinary length for a trace of data traffic");
    for (auto _ : state) {
        composer.count.run(total, [&] {
            postFromThreads(threadCount, [&](int, int) {
                Orvex::Logger::log(text, Orvex::LogTrace);
            });
        });
    }
    Orvex::setDefaultLogger(Orvex::LogTrace, nullptr);
    state.SetItemsProcessed(std::int64_t(state.iterations()) * std::int64_t(total));
}

// The floor: what Qt's posted-event queue costs a line, with no level, composer or logger.
class LineEvent : public QEvent
{
public:
    explicit LineEvent(const QString &text) : QEvent(QEvent::User), text(text) {}
    QString text;
};

class AppendingReceiver : public QObject
{
public:
    bool event(QEvent *event) override
    {
        if (event->type() != QEvent::User)
            return QObject::event(event);
        bytes.append(static_cast<LineEvent *>(event)->text.toUtf8());
        bytes.clear();
        count.add();
        return true;
    }
    QByteArray bytes;
    LineCount count;
};

void linesPostEvent(benchmark::State &state)
{
    const int threadCount = int(state.range(0));
    const std::size_t total = std::size_t(threadCount) * linesPerThread;
    AppendingReceiver receiver;
    const QString text = QStringLiteral("a line of ordinary length for a trace of data traffic");
    for (auto _ : state) {
        receiver.count.run(total, [&] {
            postFromThreads(threadCount, [&](int, int) {
                QCoreApplication::postEvent(&receiver, new LineEvent(text));
            });
        });
    }
    state.SetItemsProcessed(std::int64_t(state.iterations()) * std::int64_t(total));
}

void linesSpdlog(benchmark::State &state)
{
    const int threadCount = int(state.range(0));
    const std::size_t total = std::size_t(threadCount) * linesPerThread;
    spdlog::init_thread_pool(total + 1, 1);
    auto sink = std::make_shared<CollectingSink>();
    auto logger = std::make_shared<spdlog::async_logger>("bench", sink, spdlog::thread_pool(),
                                                         spdlog::async_overflow_policy::block);
    logger->set_pattern("%v");
    logger->set_level(spdlog::level::trace);
    const std::string text = "a line of ordinary length for a trace of data traffic";
    for (auto _ : state) {
        sink->lines = 0;
        postFromThreads(threadCount, [&](int, int) {
            logger->trace(text);
        });
        while (sink->lines.load(std::memory_order_acquire) < total)
            std::this_thread::yield();
    }
    state.SetItemsProcessed(std::int64_t(state.iterations()) * std::int64_t(total));
}

void threads(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Arg(1)->Arg(2)->Arg(8)->UseRealTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK(linesOrvex)->Name("lines/orvex")->Apply(threads);
BENCHMARK(linesPostEvent)->Name("lines/postevent")->Apply(threads);
BENCHMARK(linesSpdlog)->Name("lines/spdlog")->Apply(threads);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    Orvex::Logger::init();
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
