#include "service/QtServicePrivate.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdlib>

QtServiceBasePrivate::QtServiceBasePrivate(const QString &name) : controller(name) {}

QString QtServiceBasePrivate::filePath() const
{
    if (arguments.isEmpty())
        return QString();
    const QString program = arguments.first();
    const QString file = QFileInfo(program).fileName();

    // An empty directory stands for the current one.
    QString directory;
    if (program.startsWith(QLatin1Char('/'))) {
        directory = QFileInfo(program).absolutePath();
    } else if (program.contains(QLatin1Char('/'))) {
        QDir current = QDir::current();
        // A failed change leaves the current directory.
        current.cd(program.left(program.lastIndexOf(QLatin1Char('/'))));
        directory = current.absolutePath();
    } else if (const char *path = std::getenv("PATH")) {
        const QStringList entries =
                QString::fromLocal8Bit(path).split(QLatin1Char(':'), Qt::KeepEmptyParts);
        for (const QString &entry : entries) {
            // Deliberate: an empty entry tests "/" + name and, when that exists, yields the
            // current directory.
            if (QFile::exists(entry + QLatin1Char('/') + program)) {
                directory = QDir(entry).absolutePath();
                break;
            }
        }
    }
    return QDir(directory).absoluteFilePath(file);
}
