#pragma once

#include "HistoryEntries.h"

#include <QList>
#include <QStringList>

/// Which rows of a history somebody asks for. Pure functions, but for those that look at local files; each takes time
/// by the number of rows that it is given, or from @p first on.
namespace HistoryRows {

/// The rows from @p first on that are unsettled.
QList<int> unsettled(const HistoryEntries& entries, int first = 0);
/// The rows of files of a queue from @p first on that somebody may want to see: those that were not simply uploaded, or
/// else all.
QList<int> remarkable(const HistoryEntries& entries, int first);
/// Those of @p rows whose files can be queued again.
QList<int> repeatable(const HistoryEntries& entries, const QList<int>& rows);
/// The folders that the files of @p rows were to go to, each once, as locations; none for a file that was never
/// started.
QStringList destinations(const HistoryEntries& entries, const QList<int>& rows);
/// Those of @p rows whose paths lead to plain local files by now, so that another try can work.
QList<int> present(const HistoryEntries& entries, const QList<int>& rows);
/// Whether there are such; asks about no more files than that takes.
bool isAnyPresent(const HistoryEntries& entries, const QList<int>& rows);

} // namespace HistoryRows
