#pragma once

#include "FileTally.h"
#include "HistoryEntries.h"

#include <QList>
#include <QStringList>

/// What the history shows and copies.
namespace HistoryText {

enum class Column { File, Size, Duration, Speed, Outcome, Reply };
constexpr int columnCount = 6;

/// The title of @p column.
QString title(Column column);
/// What stands in @p column; null where there is nothing to say. Unseen characters are made visible.
QString cell(const HistoryEntry& entry, Column column);
/// What to tell in full of a cell that may be too narrow for it.
QString toolTip(const HistoryEntry& entry, Column column);

/// The titles of what line() gives, separated by tabs.
QString titleLine();
/// @p entry as one line, separated by tabs: the whole path, and bare numbers in bytes and seconds, as a spreadsheet
/// reads them. Tabs and line ends in names are made visible, so that they separate nothing.
QString line(const HistoryEntry& entry);
/// The lines of those @p rows of @p entries under the titles. Takes time by the number of rows.
QString lines(const HistoryEntries& entries, const QList<int>& rows);

/// How many files stand where, in one line; empty when there are none.
QString summary(const FileTally& tally, qsizetype waiting);

} // namespace HistoryText
