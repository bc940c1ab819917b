#include "DropIcons.h"

#include "BusName.h"
#include "IconName.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr QLatin1String launcherSuffix(".desktop");
constexpr QLatin1String ownMark("X-Quillbox-Copy"); ///< The launcher's key that says for which file name we made it.

/// @p text as the value of a key in a launcher. Some readers drop blanks at either end of a value.
QString asValue(QString text)
{
    text.replace(u'\\', u"\\\\"_s);
    if (text.startsWith(u' ')) {
        text.replace(0, 1, u"\\s"_s);
    }
    if (text.endsWith(u' ')) {
        text.replace(text.size() - 1, 1, u"\\s"_s);
    }
    return text;
}

/// @p word of a launcher's command line: quoted for it, and then as a value.
QString asWord(QString word)
{
    for (const QChar special : { u'\\', u'"', u'`', u'$' }) {
        word.replace(special, QString(u'\\') + special);
    }
    word.replace(u'%', u"%%"_s);
    return asValue(u'"' + word + u'"');
}

/// The command line that starts the program at @p path. By way of a shell, as a launcher's first word must not hold
/// "=", and some desktops look for a program whose name has "%%" in it when "%" was meant.
QString commandLine(const QString& path)
{
    return u"/bin/sh -c "_s + asWord(u"exec \"$0\" \"$@\""_s) + u' ' + asWord(path) + u" %F"_s;
}

/// The line by which the desktop knows the windows of the program's file @p fileName by their instance; none for the
/// name that is the class of all windows, which the product's own launcher claims.
QString windowsLine(const QString& fileName)
{
    return fileName == u"quillbox"_s ? QString() : u"StartupWMClass="_s + asValue(fileName) + u'\n';
}

/// Whether anything is at @p path, were it a link that leads nowhere.
bool isTaken(const QString& path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

/// Writes a file that was not there before; leaves none behind when it fails.
bool writeNew(const QString& path, const QByteArray& content, QFile::Permissions permissions)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
        return false;
    }
    const bool isWritten = file.write(content) == content.size() && file.flush() && file.setPermissions(permissions);
    file.close();
    if (!isWritten || file.error() != QFile::NoError) {
        file.remove();
        return false;
    }
    return true;
}

/// Whether the launcher at @p path was made by us, for the program's file @p fileName.
bool isOurs(const QString& path, const QString& fileName)
{
    QFile file(path);
    if (QFileInfo(path).isSymLink() || !file.open(QIODevice::ReadOnly)) {
        return false;
    }
    return file.readAll().split('\n').contains((ownMark + u'=' + asValue(fileName)).toUtf8());
}

/// Writes a launcher for @p fileName as writeNew() does, but in place of one of our own that is left there.
bool writeLauncher(const QString& path, const QString& fileName, const QByteArray& content,
                   QFile::Permissions permissions)
{
    if (isOurs(path, fileName)) {
        QFile::remove(path);
    }
    return writeNew(path, content, permissions);
}

constexpr QFile::Permissions readable = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther;
constexpr QFile::Permissions executable = readable | QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther;

} // namespace

DropIcons::Folders DropIcons::Folders::standard()
{
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    return {
        .links = data + u"/quillbox/copies"_s,
        .launchers = QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation),
        .desktop = QFileInfo(desktop).isDir() && desktop != QDir::homePath() ? desktop : QString(),
    };
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

DropIcons::Outcome DropIcons::make(const QString& name, bool onDesktop) const
{
    if (!IconName::canBeMade(IconName::judge(name))) {
        return Outcome::NameNotPossible;
    }
    const std::optional<QString> onDesktopPath = onDesktop ? desktopPath(name) : std::nullopt;
    const QString file = IconName::fileName(name);
    const auto isForeign = [&file](const QString& path) { return isTaken(path) && !isOurs(path, file); };
    // An icon whose link has been removed by hand leaves launchers, which must not stand in its way for good.
    if (isTaken(linkPath(name)) || isForeign(launcherPath(name)) || (onDesktopPath && isForeign(*onDesktopPath))) {
        return Outcome::AlreadyThere;
    }
    QDir().mkpath(m_folders.links);
    QDir().mkpath(m_folders.launchers);
    // Each of these makes a new file or none, so that what another program has made meanwhile stays as it is.
    if (::symlink(QFile::encodeName(m_programPath).constData(), QFile::encodeName(linkPath(name)).constData()) != 0) {
        return Outcome::NotWritable;
    }
    if (!writeLauncher(launcherPath(name), file, launcher(name), readable)) {
        QFile::remove(linkPath(name));
        return Outcome::NotWritable;
    }
    if (onDesktopPath && !writeLauncher(*onDesktopPath, file, launcher(name), executable)) {
        QFile::remove(launcherPath(name));
        QFile::remove(linkPath(name));
        return Outcome::NotWritable;
    }
    return Outcome::Made;
}

QList<DropIcons::Icon> DropIcons::icons() const
{
    QList<Icon> found;
    const QStringList files
        = QDir(m_folders.links)
              .entryList(QDir::Files | QDir::System | QDir::Hidden, QDir::Name | QDir::IgnoreCase | QDir::LocaleAware);
    for (const QString& file : files) {
        const QString name = IconName::ofFile(file);
        if (!name.isNull() && QFileInfo(linkPath(name)).isSymLink()) {
            const std::optional<QString> desktop = desktopPath(name);
            found.append({ .name = name, .path = linkPath(name), .isOnDesktop = desktop && isOurs(*desktop, file) });
        }
    }
    return found;
}

bool DropIcons::remove(const QString& name) const
{
    const QString file = IconName::fileName(name);
    if (!QFileInfo(linkPath(name)).isSymLink()) {
        return false;
    }
    bool isRemoved = true;
    for (const std::optional<QString>& path : { desktopPath(name), std::optional(launcherPath(name)) }) {
        if (path && isOurs(*path, file)) {
            isRemoved = QFile::remove(*path) && isRemoved;
        }
    }
    // Last: while the link is there, the icon is listed and can be removed again.
    return isRemoved && QFile::remove(linkPath(name));
}

QString DropIcons::linkPath(const QString& name) const
{
    return m_folders.links + u'/' + IconName::fileName(name);
}

QString DropIcons::launcherPath(const QString& name) const
{
    return m_folders.launchers + u'/' + busName(IconName::fileName(name)) + launcherSuffix;
}

std::optional<QString> DropIcons::desktopPath(const QString& name) const
{
    if (m_folders.desktop.isNull()) {
        return std::nullopt;
    }
    QString file = IconName::fileName(name);
    if (file.startsWith(u'.')) {
        file[0] = u'_'; // A hidden file does not show on the desktop.
    }
    return m_folders.desktop + u'/' + file + launcherSuffix;
}

QByteArray DropIcons::launcher(const QString& name) const
{
    // There is no MimeType, as in the product's own launcher: opening a file must never upload it.
    const QString text = u"[Desktop Entry]\n"
                         "Type=Application\n"
                         "Version=1.4\n"
                         "Name=%1\n"
                         "Comment=Put files into this folder of your FTP server\n"
                         "TryExec=%2\n"
                         "Exec=%3\n"
                         "Icon=io.github.quillbox.Quillbox\n"
                         "Terminal=false\n"
                         "Categories=Network;FileTransfer;Qt;\n"
                         "StartupNotify=false\n"
                         "%4%5=%6\n"_s;
    // All at once: a name may hold what looks like a place for another one.
    return text
        .arg(asValue(name), asValue(linkPath(name)), commandLine(linkPath(name)), windowsLine(IconName::fileName(name)),
             ownMark, asValue(IconName::fileName(name)))
        .toUtf8();
}
