// Resident memory of the message client over 100,000 sequential requests against a well-behaved
// local peer (an echo on the loopback ports). Not timed: it prints the resident set size after a
// warm-up and then every 25,000 requests, so growth per request can be read off.
#include "EchoPeer.h"

#include <message/Manager.h>
#include <util/Logger.h>

#include <QCoreApplication>

#include <cstdio>
#include <fstream>

#include <unistd.h>

namespace {

constexpr int warmUpRequests = 1000;
constexpr int requests = 100000;
constexpr int reportEvery = 25000;

long residentKiB()
{
    std::ifstream statm("/proc/self/statm");
    long pages = 0;
    long resident = 0;
    statm >> pages >> resident;
    return resident * (::sysconf(_SC_PAGESIZE) / 1024);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    Orvex::Logger::init();
    EchoPeer peer;

    const Message message("ping");
    int wrong = 0;
    auto run = [&](int count) {
        for (int i = 0; i < count; ++i) {
            if (Orvex::Manager::getInstance()->send(message, QVariant()) != QByteArray("ping"))
                ++wrong;
        }
        QCoreApplication::processEvents();
    };
    run(warmUpRequests);
    const long start = residentKiB();
    std::printf("after %d warm-up requests: %ld KiB resident\n", warmUpRequests, start);
    for (int done = 0; done < requests; done += reportEvery) {
        run(reportEvery);
        std::printf("after %6d more requests: %ld KiB resident\n", done + reportEvery,
                    residentKiB());
    }
    const long end = residentKiB();
    std::printf("growth over %d requests: %ld KiB (%.3f bytes a request); wrong replies: %d\n",
                requests, end - start, (end - start) * 1024.0 / requests, wrong);
    Orvex::Manager::close();
    return wrong == 0 ? 0 : 1;
}
