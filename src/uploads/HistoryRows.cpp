#include "HistoryRows.h"

#include "LocalItem.h"
#include "LocalPath.h"
#include "TreePath.h"
#include "URLText.h"
#include "WebLink.h"

#include <algorithm>
#include <iterator>

using Outcome = HistoryEntry::Outcome;

namespace {

bool isPlainLocalFile(const HistoryEntry& entry)
{
    const std::optional<LocalItem> item = LocalItem::at(entry.path);
    const bool isMade = TreePath::isFolder(entry.path) && !TreePath::isUnread(entry.path);
    return item && (item->isPlainFile || (item->isFolder && isMade));
}

} // namespace

QList<int> HistoryRows::unsettled(const HistoryEntries& entries, int first)
{
    QList<int> rows;
    for (int row = first; row < static_cast<int>(entries.size()); ++row) {
        if (entries.withoutPath(row).isUnsettled()) {
            rows.append(row);
        }
    }
    return rows;
}

QList<int> HistoryRows::remarkable(const HistoryEntries& entries, int first)
{
    QList<int> remarkable;
    QList<int> all;
    for (int row = first; row < static_cast<int>(entries.size()); ++row) {
        const HistoryEntry entry = entries.withoutPath(row);
        if (entry.isManual || entry.outcome == Outcome::Note) {
            continue;
        }
        all.append(row);
        if (entry.outcome != Outcome::Confirmed) {
            remarkable.append(row);
        }
    }
    return remarkable.isEmpty() ? all : remarkable;
}

QList<LedgerRow> HistoryRows::repeatable(const QList<LedgerRow>& rows)
{
    QList<LedgerRow> repeatable;
    std::copy_if(rows.cbegin(), rows.cend(), std::back_inserter(repeatable), [](const LedgerRow& row) {
        return row.key.isOfThisRun() ? row.entry.canQueueAgain() : row.entry.canOthersQueueAgain();
    });
    return repeatable;
}

QList<LedgerRow> HistoryRows::forOthers(const QList<LedgerRow>& rows, const Destination& present)
{
    QList<LedgerRow> others;
    std::copy_if(rows.cbegin(), rows.cend(), std::back_inserter(others),
                 [&present](const LedgerRow& row) { return !row.entry.isFor(present); });
    return others;
}

QList<LedgerRow> HistoryRows::present(const QList<LedgerRow>& rows)
{
    QList<LedgerRow> present;
    std::copy_if(rows.cbegin(), rows.cend(), std::back_inserter(present),
                 [](const LedgerRow& row) { return isPlainLocalFile(row.entry); });
    return present;
}

bool HistoryRows::isAnyPresent(const HistoryEntries& entries, const QList<int>& rows)
{
    constexpr qsizetype most = 100;
    return rows.size() > most
        || std::any_of(rows.cbegin(), rows.cend(), [&entries](int row) { return isPlainLocalFile(entries[row]); });
}

QString HistoryRows::webLink(const HistoryEntry& entry)
{
    if (entry.outcome != Outcome::Confirmed) {
        return QString();
    }
    return ::webLink(
        URLText::appendingPathComponent(entry.destination, LocalPath::toBytes(TreePath::below(entry.path))));
}
