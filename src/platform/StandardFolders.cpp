#include "StandardFolders.h"

#include "LocalPath.h"

#include <QDir>
#include <QStandardPaths>
#include <QStringList>

using namespace Qt::StringLiterals;

QString downloadsDirectoryPath()
{
    return QStandardPaths::standardLocations(QStandardPaths::DownloadLocation).value(0);
}

QString documentsDirectoryPath()
{
    return QStandardPaths::standardLocations(QStandardPaths::DocumentsLocation).value(0);
}

QString stateDirectoryPath()
{
    const QString path = LocalPath::fromBytes(qgetenv("XDG_STATE_HOME"));
    return path.startsWith(u'/') ? QDir::cleanPath(path) : QDir::homePath() + u"/.local/state"_s;
}

void ignoreRelativeFolders()
{
    for (const char* const name : { "XDG_CONFIG_HOME", "XDG_DATA_HOME" }) {
        if (!qgetenv(name).startsWith('/')) {
            qunsetenv(name);
        }
    }
}
