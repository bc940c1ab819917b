#pragma once

#include "HistoryEntries.h"
#include "LedgerRow.h"

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
QList<LedgerRow> repeatable(const QList<LedgerRow>& rows);
/// Those of @p rows whose files were for another destination than @p present.
QList<LedgerRow> forOthers(const QList<LedgerRow>& rows, const Destination& present);
/// Those of @p rows whose paths lead to plain local files by now, or to a folder that is to be made, so that another
/// try can work.
QList<LedgerRow> present(const QList<LedgerRow>& rows);
/// Whether there are such among the @p rows of @p entries. Asks about no more files than that takes, and a hundred at
/// most: among more there may be some.
bool isAnyPresent(const HistoryEntries& entries, const QList<int>& rows);

/// The web address that a confirmed file has by the present settings; null for any other file, and where there is none.
QString webLink(const HistoryEntry& entry);

} // namespace HistoryRows
