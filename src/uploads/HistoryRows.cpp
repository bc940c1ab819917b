#include "HistoryRows.h"

#include "LocalItem.h"

#include <algorithm>
#include <iterator>

using Outcome = HistoryEntry::Outcome;

namespace {

bool isPlainLocalFile(const HistoryEntry& entry)
{
    const std::optional<LocalItem> item = LocalItem::at(entry.path);
    return item && item->isPlainFile;
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

QList<int> HistoryRows::repeatable(const HistoryEntries& entries, const QList<int>& rows)
{
    QList<int> repeatable;
    std::copy_if(rows.cbegin(), rows.cend(), std::back_inserter(repeatable),
                 [&entries](int row) { return entries.withoutPath(row).canQueueAgain(); });
    return repeatable;
}

QStringList HistoryRows::destinations(const HistoryEntries& entries, const QList<int>& rows)
{
    QStringList destinations;
    for (const int row : rows) {
        const QString destination = entries.withoutPath(row).destination;
        if (!destination.isNull() && !destinations.contains(destination)) {
            destinations.append(destination);
        }
    }
    return destinations;
}

QList<int> HistoryRows::present(const HistoryEntries& entries, const QList<int>& rows)
{
    QList<int> present;
    std::copy_if(rows.cbegin(), rows.cend(), std::back_inserter(present),
                 [&entries](int row) { return isPlainLocalFile(entries[row]); });
    return present;
}

bool HistoryRows::isAnyPresent(const HistoryEntries& entries, const QList<int>& rows)
{
    return std::any_of(rows.cbegin(), rows.cend(), [&entries](int row) { return isPlainLocalFile(entries[row]); });
}
