#include "StandardFolders.h"

#include <QStandardPaths>
#include <QStringList>

QString downloadsDirectoryPath()
{
    return QStandardPaths::standardLocations(QStandardPaths::DownloadLocation).value(0);
}

QString documentsDirectoryPath()
{
    return QStandardPaths::standardLocations(QStandardPaths::DocumentsLocation).value(0);
}
