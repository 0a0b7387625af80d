// A service executable for the tests. The tests set ORVEX_TEST_REGISTRY (the directory that stands
// for the system-wide settings) and ORVEX_TEST_SERVICE (the service name).
#include "service/QtServicePrivate.h"

#include <QSettings>

int main(int argc, char **argv)
{
    // Before anything else, so that nothing touches the machine's real registry.
    QSettings::setPath(QSettings::NativeFormat, QSettings::SystemScope,
                       qEnvironmentVariable("ORVEX_TEST_REGISTRY"));

    QtServiceBasePrivate service(qEnvironmentVariable("ORVEX_TEST_SERVICE"));
    for (int i = 0; i < argc; ++i)
        service.arguments << QString::fromLocal8Bit(argv[i]);
    service.serviceDescription = QStringLiteral("Records itself for the tests");

    if (argc >= 2 && qstrcmp(argv[1], "-i") == 0)
        return service.install(QString(), QString()) ? 0 : 1;
    return 2;
}
