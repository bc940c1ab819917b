#pragma once

#include <QByteArray>
#include <QLatin1StringView>
#include <QString>

/// Paths of what is uploaded with a folder that it lies in. The mark stands in them once, in front of the part that
/// the server keeps: "/home/anna/.//./Photos/2020/a.jpg" goes into the folder "Photos/2020" of the destination. To the
/// system it is the path without that. With a "/" at the end it stands for a folder of which nothing else is uploaded,
/// with two for one that could not be read.
/// All other paths are plain, and stay to the letter as somebody has written them.
namespace TreePath {

/// What nobody writes, and what leads nowhere.
inline constexpr QLatin1StringView mark("/.//./");

/// That of the folder @p name, in the folder @p parent on this machine.
QByteArray ofFolder(const QByteArray& parent, const QByteArray& name);
/// The same of a folder that could not be read, from that of the @p folder.
QByteArray ofUnread(const QByteArray& folder);
/// The part that the server keeps; null for a plain path.
QString relative(const QString& path);
/// That part as a list of files shows it; a plain path as it is.
QString shown(const QString& path);
/// Where it goes, below the destination: that part, or the name of a file that goes into the destination itself.
QString below(const QString& path);
/// The folder that it goes into, below the destination; null for the destination itself.
QString folder(const QString& path);
/// How many folders that part names.
int levels(const QString& path);
/// Whether it stands for a folder, and no file is to be sent.
bool isFolder(const QString& path);
/// Whether that could not be read: then it is not made either.
bool isUnread(const QString& path);

/// Whether it goes into @p folder, or into a folder there: a path below the destination with a "/" at its end, or an
/// empty one for the destination itself, where no plain path counts.
bool liesIn(const QString& path, const QString& folder);

/// @p path as a plain one to the same file.
QString plain(const QString& path);

/// The first part of @p path that stands for the last of its folders but @p levels, with a "/" at its end.
QString withoutLevels(const QString& path, int levels);

} // namespace TreePath
