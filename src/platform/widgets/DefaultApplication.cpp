#include "DefaultApplication.h"

#include "FileInputStream.h"
#include "FileURL.h"

#include <QDesktopServices>
#include <QMimeDatabase>
#include <QUrl>

#include <algorithm>
#include <array>
#include <memory>

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

/// As much of a file as tells what it is. Not left to the database, which cannot open every path.
QByteArray beginningOf(const QString& path)
{
    std::array<char, 16384> buffer{};
    const std::unique_ptr<FileInputStream> file = FileInputStream::create(path);
    const qint64 count = file == nullptr ? 0 : file->read(buffer);
    return { buffer.data(), std::max<qint64>(count, 0) };
}

} // namespace

bool DefaultApplication::isProgram(const QString& path)
{
    const QMimeDatabase types;
    // Either may be a disguise of the other.
    return isProgramType(types.mimeTypeForFile(path, QMimeDatabase::MatchExtension))
        || isProgramType(types.mimeTypeForData(beginningOf(path)));
}

bool DefaultApplication::open(const QString& path)
{
    return !isProgram(path) && QDesktopServices::openUrl(QUrl(fileURI(path)));
}
