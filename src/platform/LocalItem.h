#pragma once

#include <QString>

#include <optional>

/// What the file system says of a file, a folder or anything else at a path (LocalPath).
struct LocalItem {
    bool isFolder = false;
    bool isPlainFile = false;
    qint64 size = 0; ///< In bytes.

    /// The item at @p path, or where a link there leads to. std::nullopt when there is none that can be seen.
    static std::optional<LocalItem> at(const QString& path);
    /// Whether it is known that there is none; else one may be there that cannot be seen.
    static bool isMissing(const QString& path);
    /// Where the link at @p path leads, as it says itself; null when no link stands there.
    static QString linkTarget(const QString& path);
};
