#include "FileURL.h"

#include <QSysInfo>
#include <QUrl>

using namespace Qt::StringLiterals;

QString localPath(const QUrl& url)
{
    if (!url.isLocalFile()) {
        return {};
    }
    const QString host = url.host();
    const bool isHere = host.isEmpty() || host == u"localhost"_s
        || host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) == 0;
    return isHere ? url.path(QUrl::FullyDecoded) : QString();
}
