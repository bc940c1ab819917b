#pragma once

#include "ListingEntry.h"

#include <QByteArrayView>
#include <QDateTime>

#include <optional>

// The two families of listing lines. A line comes without its line end; the answer is std::nullopt when it is not of
// the family, names no item or cannot be parsed. @p now is what parseListingLine() was given.

/// A line as ls -l writes it: "-rw-r--r--   1 owner   group   1234 Jan 12 15:04 name".
std::optional<ListingEntry> parseUnixListingLine(QByteArrayView line, const QDateTime& now);

/// A line as DIR writes it: "01-12-24  03:04PM       <DIR>          name".
std::optional<ListingEntry> parseDosListingLine(QByteArrayView line, const QDateTime& now);

/// Puts the name into @p entry, its characters and, where they are not UTF-8, its bytes.
void setListingName(ListingEntry& entry, QByteArrayView name);
