#include "DefaultApplication.h"

#include <QDesktopServices>
#include <QMimeDatabase>
#include <QUrl>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

/// Types of what desktops run rather than show; with those derived from them, which scripts are.
constexpr std::array programTypes{
    "application/x-executable"_L1,       "application/x-sharedlib"_L1,
    "application/x-desktop"_L1,          "application/vnd.appimage"_L1,
    "application/x-iso9660-appimage"_L1, "application/x-ms-dos-executable"_L1,
    "application/x-msdownload"_L1,       "application/vnd.microsoft.portable-executable"_L1,
    "application/x-java-archive"_L1,     "application/x-java-jnlp-file"_L1,
    "application/x-ms-shortcut"_L1,      "application/vnd.flatpak.ref"_L1,
    "application/x-mswinurl"_L1,
};

bool isProgramType(const QMimeType& type)
{
    return std::any_of(programTypes.begin(), programTypes.end(),
                       [&type](QLatin1StringView program) { return type.inherits(QString(program)); });
}

} // namespace

bool DefaultApplication::isProgram(const QString& path)
{
    const QMimeDatabase types;
    // Either may be a disguise of the other.
    return isProgramType(types.mimeTypeForFile(path, QMimeDatabase::MatchExtension))
        || isProgramType(types.mimeTypeForFile(path, QMimeDatabase::MatchContent));
}

bool DefaultApplication::open(const QString& path)
{
    return !isProgram(path) && QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}
