#pragma once

#include <QByteArray>

#include <atomic>

class LedgerReader;
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

/// Writes the rows that fit @p query, as @p reader reads them, to the file at @p path, which is then new or, where the
/// answer is false, what it was. May wait for the disk; gives up soon when @p isEnding becomes true.
bool write(const QString& path, LedgerReader& reader, const LedgerQuery& query, const std::atomic<bool>& isEnding);

} // namespace HistoryCsv
