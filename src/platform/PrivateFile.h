#pragma once

#include <QByteArray>
#include <QString>

/// Files that only their owner may read.
namespace PrivateFile {

/// Writes @p bytes to the file at @p path in one step: whoever reads it, and whenever this program is killed, it holds
/// what it held before or all of them. Its folder exists. False when it could not be written; then it stands as it was.
bool replace(const QString& path, const QByteArray& bytes);

/// Removes what was left beside the file at @p path by programs that were killed while they replaced it. What a running
/// one is writing stays.
void removeUnfinished(const QString& path);

enum class Access {
    OwnerOnly, ///< There is no such file, or only its owner has access.
    Closed, ///< Others had access, and have none any more.
    StaysOpen, ///< Others have access, and that cannot be changed.
};

/// Takes all access from others than the owner that they have to the file at @p path, or to its folder.
Access closeToOthers(const QString& path);

} // namespace PrivateFile
