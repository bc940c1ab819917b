#include "WebLink.h"

#include "Addressing.h"
#include "DestinationSettings.h"
#include "IconSettings.h"
#include "SettingNames.h"
#include "UserDefaults.h"

QString webLink(const QString& base, const QString& folder, const QString& item)
{
    if (base.isEmpty() || folder.isEmpty() || item.size() <= folder.size() || !item.startsWith(folder)) {
        return QString();
    }
    const QByteArray path = QByteArray::fromPercentEncoding(QStringView(item).sliced(folder.size()).toUtf8());
    return Addressing::withTrailingSlash(base) + QString::fromLatin1(path.toPercentEncoding("/"));
}

namespace {

QString webAddress()
{
    return connectionSettings().string(SettingNames::webAddress).trimmed();
}

} // namespace

bool hasWebAddress()
{
    return !webAddress().isEmpty();
}

QString webLink(const QString& item)
{
    const UserDefaults::Reading reading(connectionSettings());
    const QString base = webAddress();
    return base.isEmpty() ? QString()
                          : webLink(base, DestinationSettings::createFullPathFromFTPRootRelativePath(QString()), item);
}
