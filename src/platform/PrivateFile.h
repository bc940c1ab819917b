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

} // namespace PrivateFile
