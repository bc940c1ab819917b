#include "FileURL.h"

#include "LocalPath.h"

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
    if (!isHere) {
        return {};
    }
    // Not decoded by the URL: it would read bytes that are not UTF-8 as something else.
    return LocalPath::fromBytes(QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()));
}

QString fileURI(const QString& path)
{
    return u"file://"_s + QString::fromLatin1(LocalPath::toBytes(path).toPercentEncoding("/!$&'()*+,:=@"));
}
