#include "DefaultApplication.h"

#include "CodeTypes.h"
#include "FileInputStream.h"
#include "FileURL.h"
#include "PathText.h"
#include "ZipNames.h"

#include <QDesktopServices>
#include <QMimeDatabase>
#include <QStringList>
#include <QUrl>

#include <algorithm>
#include <array>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

bool isCode(const QMimeType& type, const QMimeDatabase& types)
{
    const auto named = [&types](QLatin1StringView name) {
        const QMimeType known = types.mimeTypeForName(name);
        return known.isValid() ? known.name() : QString(name);
    };
    QStringList lineage{ type.name() };
    // Where data in JavaScript's notation descends from scripts it is data all the same.
    if (!type.inherits(u"application/json"_s)) {
        lineage += type.allAncestors();
    }
    const auto codes = codeTypes();
    return std::any_of(codes.begin(), codes.end(),
                       [&](const CodeType& line) { return lineage.contains(named(line.type)); });
}

bool isNamedAsCode(const QString& name)
{
    const auto endsAs = [&name](const QString& ending) { return name.endsWith(u'.' + ending, Qt::CaseInsensitive); };
    const auto codes = codeTypes();
    return std::any_of(codes.begin(), codes.end(), [&endsAs](const CodeType& line) {
        const QStringList endings = QString(line.endings).split(u' ');
        return std::any_of(endings.begin(), endings.end(), endsAs);
    });
}

/// As much of a file as tells what it is. Not left to the database, which cannot open every path.
QByteArray beginningOf(const QString& path)
{
    std::array<char, 16384> buffer{};
    const std::unique_ptr<FileInputStream> file = FileInputStream::create(path);
    const qint64 count = file == nullptr ? 0 : file->read(buffer);
    return { buffer.data(), std::max<qint64>(count, 0) };
}

/// Whether a file that begins with @p beginning names the program that runs it. Two kinds of data begin alike.
bool namesInterpreter(const QByteArray& beginning)
{
    return beginning.startsWith("#!") && !beginning.startsWith("#!AMR") && !beginning.startsWith("#! rnews");
}

bool isMacro(QLatin1StringView part)
{
    const auto parts = macroParts();
    return std::any_of(parts.begin(), parts.end(), [part](QLatin1StringView macro) {
        const bool isAtEnd = part.endsWith(macro) && part.chopped(macro.size()).endsWith(u'/');
        return macro.endsWith(u'/') ? part.startsWith(macro) : part == macro || isAtEnd;
    });
}

/// Whether the file at @p path, which begins with @p beginning and by its name is of one of @p kinds, is a document
/// that is a zip archive inside, and holds macros there. A plain archive is no document.
bool holdsMacros(const QString& path, const QByteArray& beginning, const QList<QMimeType>& kinds)
{
    const auto isArchive = [](const QMimeType& kind) { return kind.isDefault() || kind.name() == u"application/zip"; };
    if (!beginning.startsWith("PK") || std::all_of(kinds.begin(), kinds.end(), isArchive)) {
        return false;
    }
    const QList<QByteArray> parts = namesInZip(path);
    return std::any_of(parts.begin(), parts.end(),
                       [](const QByteArray& part) { return isMacro(QLatin1StringView(part)); });
}

bool hasOpened(const QString& path)
{
    return QDesktopServices::openUrl(QUrl(fileURI(path)));
}

} // namespace

bool DefaultApplication::carriesCode(const QString& path)
{
    const QMimeDatabase types;
    const QString name = PathText::lastPathComponent(path);
    const QByteArray beginning = beginningOf(path);
    // Either name or contents may be a disguise of the other, and a name may be that of several types.
    const QList<QMimeType> named = types.mimeTypesForFileName(name);
    const QList<QMimeType> kinds = QList(named) << types.mimeTypeForData(beginning);
    return isNamedAsCode(name) || namesInterpreter(beginning) || holdsMacros(path, beginning, named)
        || std::any_of(kinds.begin(), kinds.end(), [&types](const QMimeType& kind) { return isCode(kind, types); });
}

DefaultApplication::Result DefaultApplication::open(const QString& path)
{
    if (carriesCode(path)) {
        return hasOpened(path.left(path.lastIndexOf(u'/') + 1)) ? Result::FolderShown : Result::FolderNotShown;
    }
    return hasOpened(path) ? Result::Opened : Result::NotOpened;
}
