#include "FileIcons.h"

#include "DrawnIcons.h"
#include "PathText.h"

#include <QHash>
#include <QMimeDatabase>

using namespace Qt::StringLiterals;

namespace {

QMimeType typeOfExtension(const QString& extension)
{
    static const QMimeDatabase types;
    return types.mimeTypeForFile(u"name."_s + extension, QMimeDatabase::MatchExtension);
}

/// The desktop's icon, but for those of any text, of any document and of unknown kinds: as many desktops draw them,
/// white sheets, they are not seen on the table.
QIcon lookUp(const QString& extension)
{
    const QStringList sheets{ u"text-x-generic"_s, u"application-x-generic"_s };
    const QMimeType type = typeOfExtension(extension);
    QIcon icon;
    for (const QString& iconName : { type.iconName(), type.genericIconName() }) {
        if (icon.isNull() && !type.isDefault() && !iconName.isEmpty() && !sheets.contains(iconName)) {
            icon = QIcon::fromTheme(iconName);
        }
    }
    return icon.isNull() ? drawnFileIcon(type.name()) : icon;
}

QString extensionOf(const QString& name)
{
    constexpr qsizetype longest = 30; // No type has a longer one.
    const QString extension = name.mid(PathText::deletingPathExtension(name).size() + 1);
    return extension.size() <= longest ? extension : QString();
}

} // namespace

namespace FileIcons {

QIcon folder()
{
    static const QIcon icon = QIcon::fromTheme(u"folder"_s, drawnFolderIcon());
    return icon;
}

QIcon ofFileNamed(const QString& name)
{
    constexpr qsizetype mostExtensions = 1000; // Anybody may think up more; they are looked up again.
    static QHash<QString, QIcon> icons;
    const QString extension = extensionOf(name);
    auto found = icons.constFind(extension);
    if (found == icons.constEnd()) {
        if (icons.size() >= mostExtensions) {
            icons.clear();
        }
        found = icons.insert(extension, lookUp(extension));
    }
    return *found;
}

QString kindOfFileNamed(const QString& name)
{
    return typeOfExtension(extensionOf(name)).comment();
}

} // namespace FileIcons
