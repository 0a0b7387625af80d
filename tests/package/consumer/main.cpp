// A host program built against the installed package only.
#include <message/Message.h>
#include <util/Logger.h>

#include <QCoreApplication>

#include <cstdio>

namespace {

class Collector : public Orvex::TextLineComposer<char>
{
public:
    void writeLine(const std::string &line) override { lines += line; }
    std::string lines;
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    Orvex::Logger::init();
    Collector collector;
    Orvex::setDefaultLogger(Orvex::LogError, &collector);

    Message message("ping");
    message.addArgument(7);
    Orvex::Logger::logErr(QString::fromLatin1(message.data));
    QCoreApplication::sendPostedEvents();
    Orvex::setDefaultLogger(Orvex::LogError, nullptr);

    if (collector.lines != "4:pingi7e") {
        std::fprintf(stderr, "unexpected: %s\n", collector.lines.c_str());
        return 1;
    }
    std::puts("consumer ok");
    return 0;
}
