#include "Addressing.h"

#include "HostText.h"
#include "LocalPath.h"
#include "PathText.h"
#include "URLText.h"

using namespace Qt::StringLiterals;

namespace Addressing {

QString appName(const QString& location)
{
    QString name = PathText::lastPathComponent(location);
    const QString extension = u".app"_s;
    // A dot at the beginning starts no extension.
    if (name.endsWith(extension) && name.size() > extension.size()) {
        name.chop(extension.size());
    }
    return name.replace(u':', u'/');
}

QString folderFromAppName(const QString& appName)
{
    // Kept: any name that begins with the product's name counts as its own.
    return appName.startsWith(u"Quillbox"_s) ? QString() : appName;
}

QString fullURL(const QString& address, const QString& folder, const QString& path)
{
    const QString host = hostText(address);
    if (host.isNull()) {
        return QString();
    }
    QString url = u"ftp://"_s + host;
    for (const QString& component : { folder, path }) {
        if (!component.isNull()) {
            url = URLText::appendingPathComponent(url, component);
        }
    }
    return url;
}

QString fullPath(const QString& address, const QString& folder, const QString& path)
{
    const QString url = fullURL(address, folder, path);
    // Kept: also the location of a file ends in "/".
    return url.isNull() ? QString() : withTrailingSlash(url);
}

QString folderBelow(const QString& location, const QString& folder)
{
    return withTrailingSlash(URLText::appendingPathComponent(location, LocalPath::toBytes(folder)));
}

QString withTrailingSlash(const QString& text)
{
    return text.endsWith(u'/') ? text : text + u'/';
}

} // namespace Addressing
