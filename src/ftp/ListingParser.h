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
};

/// The longest line that is read, in bytes, line end included.
inline constexpr qsizetype maximumListingLine = 1 << 20;

/// The longest listing that is taken from a server, in bytes: room for some 400,000 items. What is longer is no folder
/// that people have, but a server that does not end.
inline constexpr qint64 maximumListing = 32 << 20;

/// Reads the first line of @p bytes, which are what an FTP server sends for LIST: a Unix long listing or a DOS one, in
/// any of their dialects, mixed as they come. Lines end with LF or CR LF.
///
/// A date without a year is the newest one that lies at most a day after @p now. Dates are in the time zone of @p now
/// unless they name their own.
///
/// The answer depends on the arguments alone, not on any locale, and takes time in proportion to the line's length.
/// Safe on any thread.
ParsedListing parseListingLine(QByteArrayView bytes, const QDateTime& now);
