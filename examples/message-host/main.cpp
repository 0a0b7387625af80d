// A host program talking to the local message service through Orvex::Manager.
// Run it with the example message service up to see replies, and without it to see defaults.
#include <message/Manager.h>
#include <util/Logger.h>

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>

namespace {

QString show(const QVariant &value)
{
    if (!value.isValid())
        return QStringLiteral("(invalid)");
    if (value.type() == QVariant::Int)
        return QStringLiteral("int %1").arg(value.toInt());
    return QStringLiteral("\"%1\"").arg(QString::fromUtf8(value.toByteArray()));
}

void ask(const char *what, const Message &request)
{
    // Always fetched anew: a failed exchange deletes the client.
    const QVariant reply = Orvex::Manager::getInstance()->send(request, QStringLiteral("n/a"));
    std::printf("%-22s -> %s\n", what, qPrintable(show(reply)));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    Orvex::Logger::init();

    ask("ping", Message("ping"));

    Message echo("echo");
    echo.addArgument("hello, service");
    ask("echo \"hello, service\"", echo);

    Message add("add");
    add.addArgument(2);
    add.addArgument(40);
    ask("add 2 40", add);

    Message notify("notify");
    notify.addArgument("host says hi");
    ask("notify", notify);

    ask("unknown request", Message("frobnicate"));

    // Give the notification a moment to arrive, and let the logger write its lines
    // (errors such as "[default]", the "Data-received" trace) to standard error.
    QTimer::singleShot(300, &app, &QCoreApplication::quit);
    app.exec();
    Orvex::Manager::close();
    return 0;
}
