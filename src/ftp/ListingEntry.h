#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace quillbox {

/// One item of a directory listing. A field that the server's line did not have is null or has no value. Kept small,
/// because a folder may hold 100,000 items; items of the same owner share its text.
struct ListingEntry {
    static constexpr int folderType = 4; ///< A folder's `type`, as in dirent.h.
    static constexpr int plainFileType = 8; ///< A plain file's.
    static constexpr int linkType = 10; ///< A symbolic link's.

    /// kCFFTPResourceName. The parser reads its bytes as Mac OS Roman, one character for each byte; whoever hands the
    /// entry on puts that right (FTPManager::contentsOfServer() does).
    QString name;
    QByteArray rawName; ///< The name's bytes as they came, only when they are not valid UTF-8; null otherwise.
    QString owner; ///< kCFFTPResourceOwner, a name or a number.
    QString group; ///< kCFFTPResourceGroup, a name or a number.
    QString link; ///< kCFFTPResourceLink: where a link leads, as Mac OS Roman.
    std::optional<qint64> size; ///< kCFFTPResourceSize, in bytes. Devices have none.
    std::optional<qint64> modDate; ///< kCFFTPResourceModDate, in milliseconds since the beginning of 1970, UTC.
    std::optional<int> type; ///< kCFFTPResourceType: a code as above, 0 for what has none.
    std::optional<int> mode; ///< kCFFTPResourceMode: permission bits (07777) without the type. None in DOS listings.

    /// Whether two items are the same in everything.
    friend bool operator==(const ListingEntry&, const ListingEntry&) = default;
};

} // namespace quillbox

#ifndef QUILLBOX_NO_GLOBAL_NAMES
using quillbox::ListingEntry;
#endif
