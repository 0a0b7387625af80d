// Internal to the library; not installed.
#ifndef ORVEX_SERVICE_SERVICEREGISTRY_P_H
#define ORVEX_SERVICE_SERVICEREGISTRY_P_H

#include <QString>
#include <QVariant>

// The one owner of the service registry: the system-wide settings of "Pleiklukla", one group per
// service under "services". Every call opens the store afresh, so other processes' changes are
// seen. A name the store would read as a path (empty, or holding '/' or '\') reaches no record.
namespace OrvexRegistry {

// What a record holds that is read back.
enum class Field { Path, Description, StartupType };

// Whether name stands for a record of its own: not empty and no path separator in it.
bool isRecordName(const QString &name);

// Whether name is one of the groups under "services" (case-sensitive).
bool contains(const QString &name);

// The field of name's record; invalid when absent or when name is no record name.
QVariant value(const QString &name, Field field);

// Writes name's record. False, after a message on standard error, when name is no record name or
// the store cannot be written; false without a message on a format error.
bool write(const QString &name, const QString &path, const QString &description, int startupType);

// Removes name's record; as write() for the result and the messages.
bool remove(const QString &name);

} // namespace OrvexRegistry

#endif // ORVEX_SERVICE_SERVICEREGISTRY_P_H
