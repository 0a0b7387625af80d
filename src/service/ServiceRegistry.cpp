#include "service/ServiceRegistry_p.h"

#include <QSettings>

#include <cstdio>

namespace OrvexRegistry {

namespace {

constexpr char organization[] = "Pleiklukla";
constexpr char servicesGroup[] = "services";
constexpr char pathKey[] = "path";
constexpr char descriptionKey[] = "description";
// Deliberate: written as "automaticStartup", read as "startupType", so startupType() is 0 after
// install.
constexpr char startupWriteKey[] = "automaticStartup";
constexpr char startupReadKey[] = "startupType";

const char *readKey(Field field)
{
    switch (field) {
    case Field::Path:
        return pathKey;
    case Field::Description:
        return descriptionKey;
    case Field::StartupType:
        break;
    }
    return startupReadKey;
}

// Opened afresh for every call and positioned in "services".
class Services : public QSettings
{
public:
    Services() : QSettings(QSettings::SystemScope, QLatin1String(organization), QString())
    {
        beginGroup(QLatin1String(servicesGroup));
    }
};

// operation is "install" or "uninstall", as the messages name it.
bool refuseName(const char *operation, const QString &name)
{
    if (isRecordName(name))
        return false;
    std::fprintf(stderr,
                 "Cannot %s \"%s\". A service name must not be empty or contain '/' or '\\'.\n",
                 operation, name.toLatin1().constData());
    return true;
}

// Syncs and reports the result of a write.
bool finish(const char *operation, const QString &name, Services &settings)
{
    settings.endGroup();
    settings.sync();
    if (settings.status() == QSettings::AccessError) {
        std::fprintf(stderr, "Cannot %s \"%s\". Cannot write to: %s. Check permissions.\n",
                     operation, name.toLatin1().constData(),
                     settings.fileName().toLatin1().constData());
    }
    return settings.status() == QSettings::NoError;
}

} // namespace

bool isRecordName(const QString &name)
{
    return !name.isEmpty() && !name.contains(QLatin1Char('/')) && !name.contains(QLatin1Char('\\'));
}

bool contains(const QString &name)
{
    return isRecordName(name) && Services().childGroups().contains(name, Qt::CaseSensitive);
}

QVariant value(const QString &name, Field field)
{
    if (!isRecordName(name))
        return QVariant();
    Services settings;
    settings.beginGroup(name);
    return settings.value(QLatin1String(readKey(field)));
}

bool write(const QString &name, const QString &path, const QString &description, int startupType)
{
    if (refuseName("install", name))
        return false;
    Services settings;
    settings.beginGroup(name);
    settings.setValue(QLatin1String(pathKey), path);
    settings.setValue(QLatin1String(descriptionKey), description);
    settings.setValue(QLatin1String(startupWriteKey), startupType);
    settings.endGroup();
    return finish("install", name, settings);
}

bool remove(const QString &name)
{
    if (refuseName("uninstall", name))
        return false;
    Services settings;
    settings.remove(name);
    return finish("uninstall", name, settings);
}

} // namespace OrvexRegistry
