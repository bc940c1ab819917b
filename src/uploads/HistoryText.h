#pragma once

#include "FileTally.h"
#include "HistoryEntry.h"

#include <QList>
#include <QStringList>

/// What the history shows and copies.
namespace HistoryText {

enum class Column { File, Size, Duration, Speed, Outcome, Reply, Time, Copy };
constexpr int columnCount = 8;

/// The title of @p column.
QString title(Column column);
/// What an outcome is called, without what a file adds to it.
QString outcomeWords(UploadOutcome::Kind outcome);
/// Whether what the upload said comes behind them.
bool showsStatus(UploadOutcome::Kind outcome);
constexpr QStringView queuedAgainWords = u" (queued again)"; ///< They come behind.
/// What stands in @p column; null where there is nothing to say. Unseen characters are made visible.
QString cell(const HistoryEntry& entry, Column column);
/// What to tell in full of a cell that may be too narrow for it.
QString toolTip(const HistoryEntry& entry, Column column);

/// What fields() gives.
QStringList titles();
/// What a spreadsheet wants to know of @p entry: the whole path, bare numbers in bytes and seconds, the time with its
/// distance from UTC. Tabs, line ends and bytes that are no text are made visible.
QStringList fields(const HistoryEntry& entry);
/// @p fields separated by tabs, with the end of a line.
QString line(const QStringList& fields);

/// How many files stand where, in one line; empty when there are none.
QString summary(const FileTally& tally, qsizetype waiting);

} // namespace HistoryText
