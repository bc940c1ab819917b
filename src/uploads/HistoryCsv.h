#pragma once

#include <QByteArray>

class LedgerDatabase;
class QString;
struct HistoryEntry;
struct LedgerQuery;

/// The history as a table that other programs read (RFC 4180), in UTF-8: the whole path, bare numbers in bytes and
/// seconds, times with their distance from UTC. What cannot be seen, and bytes of names that are no UTF-8, stand as
/// they are shown: the byte E9 as ⟨0xE9⟩. A spreadsheet runs no cell: in front of what it might take for a formula
/// stands an apostrophe.
namespace HistoryCsv {

/// A line with the titles, with its end.
QByteArray titles();
/// @p entry as a line, with its end.
QByteArray line(const HistoryEntry& entry);

/// Writes the rows of @p database that fit @p query to the file at @p path, which is then new or what it was. May wait
/// for the disk.
bool write(const QString& path, LedgerDatabase& database, const LedgerQuery& query);

} // namespace HistoryCsv
