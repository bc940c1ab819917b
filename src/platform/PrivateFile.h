#pragma once

#include <QByteArray>
#include <QFlags>
#include <QString>

/// Files that only their owner may read. Symbolic links are followed: what lies where they lead is read and replaced,
/// and they stay.
namespace PrivateFile {

/// Makes the folder at @p path and what is missing above it, for the owner alone. True when it is there.
bool makeFolder(const QString& path);

/// Where a chain of links at @p path leads, whether something is there or not. Links in a circle lead nowhere: then it
/// is the first of them, which stands in the way.
QString behindLinks(const QString& path);

/// Writes @p bytes to the file at @p path in one step: whoever reads it, and whenever this program is killed, it holds
/// what it held before or all of them. Folders that are missing are made for the owner alone. False when it could not
/// be written; then it stands as it was.
bool replace(const QString& path, const QByteArray& bytes);

/// Removes what was left beside the file at @p path by programs that were killed while they replaced it, those of
/// earlier versions included as far as nobody else can have made them. What a running one is writing stays.
void removeUnfinished(const QString& path);

/// What others than the owner can do with a file.
enum class Right {
    Read = 1,
    Write = 2,
    Replace = 4, ///< Put another file in its place, as its folder takes files from them.
    None = 8, ///< Nothing: what the file or its folder gives them leads nowhere without the other.
};
Q_DECLARE_FLAGS(Rights, Right)
Q_DECLARE_OPERATORS_FOR_FLAGS(Rights)

struct Access {
    Rights had; ///< What others could do.
    Rights have; ///< What they can still do, as that cannot be changed.
};

/// What others can do with the file at @p path; no right when there is no file, or all is the owner's alone. A link is
/// followed.
Rights rightsOfOthers(const QString& path);

/// Takes all access from others than the owner that they have to the file at @p path, or to its folder. Of a link's
/// target the file alone: its folder has other uses. Right::None is told only where it could be taken.
Access closeToOthers(const QString& path);

} // namespace PrivateFile
