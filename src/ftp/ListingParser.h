#pragma once

#include "ListingEntry.h"

#include <QByteArrayView>
#include <QDateTime>

#include <optional>

/// What parseListingLine() made of the beginning of a listing.
struct ParsedListing {
    /// How many bytes the line took, its line end included; 0 when there is no whole line yet; negative when what
    /// comes is no listing: a line of more than maximumListingLine bytes.
    qint64 consumed = 0;
    /// The item that the line describes. Lines such as "total 12" and lines that cannot be parsed have none.
    std::optional<ListingEntry> entry;
    /// The line says that the listing is not whole: a complaint about what could not be read.
    bool isComplaint = false;
    /// Nobody knows what the line says: it may be an item, in a form of its own.
    bool isUnread = false;
};

/// The longest line that is read, in bytes, line end included.
inline constexpr qsizetype maximumListingLine = 1 << 20;

/// Reads the first line of @p bytes, which are what an FTP server sends for LIST: a Unix long listing or a DOS one, in
/// any of their dialects, mixed as they come. Lines end with LF or CR LF.
///
/// A date without a year is the newest one that lies at most a day after @p now. Dates are in the time zone of @p now
/// unless they name their own.
///
/// The answer depends on the arguments alone, not on any locale, and takes time in proportion to the line's length.
/// Safe on any thread.
ParsedListing parseListingLine(QByteArrayView bytes, const QDateTime& now);

/// Measures a listing by what is kept of it, so that a large folder is listed whole and a server that does not end is
/// given up.
class ListingMeasure {
public:
    static constexpr qint64 mostItems = 2'000'000;
    static constexpr qint64 mostOfNames = 32 << 20; ///< Bytes of the names, and of where links lead.
    static constexpr qint64 mostIgnored = 32 << 20; ///< Bytes of lines that have no item.
    static constexpr qint64 mostBytes = 128 << 20; ///< Of all lines, for who keeps them until the listing has ended.

    /// Counts @p line, a whole one. False when that is more than a folder has that people have.
    bool takes(const ParsedListing& line);

private:
    qint64 m_items = 0;
    qint64 m_ofNames = 0;
    qint64 m_ignored = 0;
};
