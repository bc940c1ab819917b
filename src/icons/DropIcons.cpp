#include "DropIcons.h"

#include "BusName.h"
#include "DesktopEntry.h"
#include "FileChanges.h"
#include "IconFiles.h"
#include "IconSettings.h"
#include "PrivateFile.h"
#include "ProgramIdentity.h"
#include "UserDefaults.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QStandardPaths>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int pictureEdge = 256;
constexpr std::array bothSorts{ IconSort::OwnServer, IconSort::SubFolder };

QByteArray png(const IconPicture& picture)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    drawn(picture, pictureEdge).save(&buffer, "PNG");
    return buffer.data();
}

bool isLink(const QString& path)
{
    return QFileInfo(path).isSymLink();
}

/// std::nullopt where it cannot be read.
std::optional<QByteArray> contentOf(const QString& path)
{
    QFile file(path);
    return QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly) ? std::optional(file.readAll()) : std::nullopt;
}

QString backupOf(const QString& settings)
{
    return settings + u".bak"_s;
}

/// What belongs to the settings of the program's file @p file, other files of theirs first.
QStringList settingsFilesOf(const QString& file)
{
    const QString path = IconSettings::filePath(file);
    return { backupOf(path), path };
}

} // namespace

/// A file of an icon, in the order in which they are made.
struct DropIcons::Part {
    enum class Kind { Settings, Link, Picture, Entry };

    Kind kind;
    QString path;
    QByteArray content = {};
    QFile::Permissions permissions = {};
    QString target = {}; ///< Of a link; null for a file.
};

DropIcons::Folders DropIcons::Folders::standard()
{
    const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    Folders folders = below(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
    folders.linksWithServer = IconSettings::linkFolder();
    folders.desktop = QFileInfo(desktop).isDir() && desktop != QDir::homePath() ? desktop : QString();
    return folders;
}

DropIcons::Folders DropIcons::Folders::below(const QString& folder)
{
    return { .links = folder + u"/quillbox/copies"_s,
             .linksWithServer = folder + u"/quillbox/icons"_s,
             .pictures = folder + u"/quillbox/pictures"_s,
             .launchers = folder + u"/applications"_s,
             .desktop = folder + u"/Desktop"_s,
             .sendTo = folder + u"/Thunar/sendto"_s,
             .serviceMenus = folder + u"/kio/servicemenus"_s };
}

DropIcons::DropIcons(QString programPath, Folders folders)
    : m_programPath(std::move(programPath))
    , m_folders(std::move(folders))
{
}

QString DropIcons::ourProgramPath()
{
    const QString path = QCoreApplication::applicationFilePath();
    const QString withoutLinks = QFileInfo(path).canonicalFilePath();
    // A file that has been removed or replaced meanwhile keeps the path that it had.
    return withoutLinks.isEmpty() ? path : withoutLinks;
}

DropIcons::Outcome DropIcons::make(const Wish& wish) const
{
    return put(std::nullopt, wish);
}

DropIcons::Outcome DropIcons::change(const Icon& icon, const Wish& wish) const
{
    const std::optional<Icon> old = find(icon.name);
    return old && old->sort == icon.sort ? put(old, wish) : Outcome::Gone;
}

DropIcons::Outcome DropIcons::put(const std::optional<Icon>& old, const Wish& wish) const
{
    if (!IconName::canBeMade(IconName::judge(wish.name, wish.sort))) {
        return Outcome::NameNotPossible;
    }
    const QString file = IconName::fileName(wish.name);
    const QString oldFile = old ? IconName::fileName(old->name) : QString();
    const QStringList oldPaths = old ? pathsOf(*old) : QStringList();
    QList<Part> parts = partsOf(wish);
    if (wish.sort == IconSort::OwnServer) {
        const std::optional<QList<Part>> settings = settingsPartsOf(wish, oldFile);
        if (!settings) {
            return Outcome::NotWritable;
        }
        parts = *settings + parts;
        // First: alone it stands for an icon that is listed, and uploads nothing.
        parts.prepend(linkTo(file, wish.sort));
    }
    const auto isTakenByAnother = [this, &file](IconSort sort) { return FileChanges::isTaken(linkPath(file, sort)); };
    if (file != oldFile && std::ranges::any_of(bothSorts, isTakenByAnother)) {
        return Outcome::AlreadyThere;
    }
    // What an icon has left whose link was removed by hand must not stand in the way for good.
    const auto isForeign = [&file, &oldPaths](const Part& part) {
        return part.kind == Part::Kind::Entry && FileChanges::isTaken(part.path)
            && !DesktopEntry::isOurs(part.path, file) && !oldPaths.contains(part.path);
    };
    if (std::ranges::any_of(parts, isForeign)) {
        return Outcome::AlreadyThere;
    }
    if (old) {
        PrivateFile::removeUnfinished(IconSettings::filePath(oldFile)); // While a link still leads there.
    }
    if (wish.sort == IconSort::OwnServer) {
        PrivateFile::makeFolder(QFileInfo(IconSettings::filePath(file)).path());
    }
    FileChanges changes;
    QStringList kept;
    for (const Part& part : parts) {
        kept.append(part.path);
        const bool isOfOld = oldPaths.contains(part.path);
        if (part.kind == Part::Kind::Link && isOfOld && QFileInfo::exists(part.path)) {
            continue; // Otherwise the program has moved.
        }
        const bool replaces = isOfOld || part.kind == Part::Kind::Settings || part.kind == Part::Kind::Picture
            || DesktopEntry::isOurs(part.path, file);
        const bool isMade = part.target.isNull() ? changes.write(part.path, part.content, part.permissions, replaces)
                                                 : changes.link(part.path, part.target, replaces);
        if (!isMade) {
            return Outcome::NotWritable;
        }
    }
    // Settings that are not to be stay until the last, so that nothing goes to the main server before its time. A file
    // that lies there without its icon would give this one a server.
    const QStringList settings = settingsFilesOf(file);
    if (wish.sort == IconSort::OwnServer && file == oldFile) {
        kept += settings;
    }
    for (const QString& path : oldPaths + settings) {
        if (!kept.contains(path) && !changes.remove(path)) {
            return Outcome::NotWritable;
        }
    }
    changes.keep();
    return Outcome::Made;
}

bool DropIcons::remove(const Icon& icon) const
{
    const std::optional<Icon> present = find(icon.name);
    if (!present || present->sort != icon.sort) {
        return false;
    }
    PrivateFile::removeUnfinished(IconSettings::filePath(IconName::fileName(icon.name)));
    FileChanges changes;
    for (const QString& path : pathsOf(*present)) {
        if (!changes.remove(path)) {
            return false;
        }
    }
    changes.keep();
    return true;
}

QList<DropIcons::Icon> DropIcons::icons() const
{
    QList<Icon> found;
    for (const IconSort sort : bothSorts) {
        const QDir folder(sort == IconSort::OwnServer ? m_folders.linksWithServer : m_folders.links);
        const QStringList files = folder.entryList(QDir::Files | QDir::System | QDir::Hidden);
        for (const QString& file : files) {
            const QString name = IconName::ofFile(file);
            const bool isListed = std::ranges::find(found, name, &Icon::name) != found.end();
            if (name.isNull() || isListed || !isLink(linkPath(file, sort))) {
                continue;
            }
            const auto isOurs = [&file](const QString& path) { return DesktopEntry::isOurs(path, file); };
            found.append({ .name = name,
                           .sort = IconSettings::areOf(file) ? IconSort::OwnServer : sort,
                           .path = linkPath(file, sort),
                           .isOnDesktop = std::ranges::any_of(desktopPaths(file), isOurs),
                           .picture = IconFiles::pictureOf(launcherPath(file)),
                           .areSettingsLinked = isLink(IconSettings::filePath(file)) });
        }
    }
    std::ranges::stable_sort(found, [](const Icon& a, const Icon& b) {
        return QString::localeAwareCompare(a.name.toLower(), b.name.toLower()) < 0;
    });
    return found;
}

void DropIcons::makeMissingEntries() const
{
    for (const Icon& icon : icons()) {
        for (const Part& part : entriesOf(icon)) {
            const QString folder = QFileInfo(part.path).path();
            const bool isOfFileManager = folder == m_folders.sendTo || folder == m_folders.serviceMenus;
            const bool isOurs = DesktopEntry::isOurs(part.path, IconName::fileName(icon.name));
            FileChanges changes;
            if (isOfFileManager && changes.write(part.path, part.content, part.permissions, isOurs)) {
                changes.keep();
            }
        }
    }
}

QStringList DropIcons::command(const Icon& icon)
{
    return icon.sort == IconSort::OwnServer
        ? QStringList{ icon.path, u"--settings"_s, IconSettings::filePath(IconName::fileName(icon.name)) }
        : QStringList{ icon.path };
}

std::optional<DropIcons::Icon> DropIcons::find(const QString& name) const
{
    const QList<Icon> all = icons();
    const auto found = std::ranges::find(all, name, &Icon::name);
    return found == all.end() ? std::nullopt : std::optional(*found);
}

QString DropIcons::linkPath(const QString& file, IconSort sort) const
{
    return (sort == IconSort::OwnServer ? m_folders.linksWithServer : m_folders.links) + u'/' + file;
}

QString DropIcons::launcherPath(const QString& file) const
{
    return m_folders.launchers + u'/' + busName(file) + DesktopEntry::suffix;
}

QString DropIcons::picturePath(const QString& file) const
{
    return m_folders.pictures + u'/' + file + u".png"_s;
}

/// Where the launcher of @p file is made on the desktop, and where earlier versions have made it; none without a
/// desktop.
QStringList DropIcons::desktopPaths(const QString& file) const
{
    if (m_folders.desktop.isNull()) {
        return {};
    }
    const auto path = [this](const QString& name) { return m_folders.desktop + u'/' + name + DesktopEntry::suffix; };
    if (!file.startsWith(u'.')) {
        return { path(file) };
    }
    // A hidden file does not show on the desktop. No icon's own file begins with ":", but others' do with "_".
    return { path(u':' + file.sliced(1)), path(u'_' + file.sliced(1)) };
}

/// Launchers and entries in the menus of file managers.
QList<DropIcons::Part> DropIcons::entriesOf(const Icon& icon) const
{
    const QString file = IconName::fileName(icon.name);
    const IconFiles::Content content{ .name = icon.name,
                                      .fileName = file,
                                      .command = command(icon),
                                      .image
                                      = icon.picture.isOwn() ? picturePath(file) : ProgramIdentity::productIconName(),
                                      .picture = icon.picture,
                                      .hasOwnServer = icon.sort == IconSort::OwnServer };
    const QString entry = u'/' + busName(file) + DesktopEntry::suffix;
    const QByteArray launcher = IconFiles::launcher(content);
    QList<Part> parts{
        { Part::Kind::Entry, launcherPath(file), launcher, IconFiles::readable },
        { Part::Kind::Entry, m_folders.sendTo + entry, IconFiles::sendTo(content), IconFiles::readable },
        { Part::Kind::Entry, m_folders.serviceMenus + entry, IconFiles::serviceMenu(content), IconFiles::executable },
    };
    const QStringList desktop = desktopPaths(file);
    if (icon.isOnDesktop && !desktop.isEmpty()) {
        parts.append({ Part::Kind::Entry, desktop.first(), launcher, IconFiles::executable });
    }
    return parts;
}

DropIcons::Part DropIcons::linkTo(const QString& file, IconSort sort) const
{
    return { .kind = Part::Kind::Link, .path = linkPath(file, sort), .target = m_programPath };
}

QList<DropIcons::Part> DropIcons::partsOf(const Wish& wish) const
{
    const QString file = IconName::fileName(wish.name);
    QList<Part> parts;
    if (wish.sort == IconSort::SubFolder) {
        parts.append(linkTo(file, wish.sort));
    }
    if (wish.picture.isOwn()) {
        parts.append({ Part::Kind::Picture, picturePath(file), png(wish.picture), IconFiles::readable });
    }
    return parts
        + entriesOf({ .name = wish.name,
                      .sort = wish.sort,
                      .path = linkPath(file, wish.sort),
                      .isOnDesktop = wish.onDesktop,
                      .picture = wish.picture });
}

/// Those of @p wish, or those of the program's file @p oldFile, in whatever state they are, where @p wish changes the
/// name alone. What is damaged stays beside the new ones, and a link leads where it did. std::nullopt where that cannot
/// be read.
std::optional<QList<DropIcons::Part>> DropIcons::settingsPartsOf(const Wish& wish, const QString& oldFile) const
{
    const QString path = IconSettings::filePath(IconName::fileName(wish.name));
    const QString oldPath = oldFile.isNull() ? QString() : IconSettings::filePath(oldFile);
    QList<Part> parts;
    const auto add = [&parts](const QString& to, const QByteArray& content) {
        parts.append({ Part::Kind::Settings, to, content, FileChanges::ownersAlone });
    };
    const bool moves = path != oldPath;
    const bool isThere = (moves || wish.server) && !oldPath.isNull() && QFileInfo::exists(oldPath);
    const std::optional<QByteArray> old = isThere ? contentOf(oldPath) : QByteArray();
    const bool bringsBackup = moves && !oldPath.isNull() && QFileInfo::exists(backupOf(oldPath));
    const std::optional<QByteArray> backup = bringsBackup ? contentOf(backupOf(oldPath)) : QByteArray();
    if (!old || !backup) {
        return std::nullopt;
    }
    if (wish.server && !old->isEmpty() && !UserDefaults::valuesIn(oldPath)) {
        add(backupOf(path), *old);
    } else if (bringsBackup) {
        add(backupOf(path), *backup);
    }
    const bool isLinked = moves && isLink(oldPath);
    if (isLinked) {
        parts.append({ .kind = Part::Kind::Settings, .path = path, .target = QFileInfo(oldPath).symLinkTarget() });
    }
    if (wish.server) {
        add(path, QJsonDocument(*wish.server).toJson());
    } else if (moves && isThere && !isLinked) {
        add(path, *old);
    }
    return parts;
}

/// What there is of @p icon, in the order in which it is removed where another takes its place.
QStringList DropIcons::pathsOf(const Icon& icon) const
{
    const QString file = IconName::fileName(icon.name);
    QStringList paths;
    for (const Part& part : entriesOf({ .name = icon.name, .sort = icon.sort, .path = icon.path })) {
        paths.append(part.path);
    }
    paths += desktopPaths(file);
    paths.removeIf([&file](const QString& path) { return !DesktopEntry::isOurs(path, file); });
    // While a link is there, the icon is listed and can be removed again; the one that says that it has a server of its
    // own outlives all that would have it go to the main one.
    return paths + QStringList{ picturePath(file), linkPath(file, IconSort::SubFolder) } + settingsFilesOf(file)
        + QStringList{ linkPath(file, IconSort::OwnServer) };
}
