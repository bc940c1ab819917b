#include "HistoryEntries.h"

#include <algorithm>
#include <utility>

HistoryEntries::HistoryEntries(std::initializer_list<HistoryEntry> entries)
{
    for (const HistoryEntry& entry : entries) {
        append(entry);
    }
}

HistoryEntry HistoryEntries::operator[](qsizetype row) const
{
    HistoryEntry entry = withoutPath(row);
    entry.path = m_paths.at(row);
    return entry;
}

HistoryEntry HistoryEntries::withoutPath(qsizetype row) const
{
    const Row& basis = m_rows[static_cast<size_t>(row)];
    HistoryEntry entry{
        .outcome = basis.outcome,
        .isManual = basis.isManual,
        .isQueuedAgain = basis.isQueuedAgain,
        .isAwaitingTry = basis.isAwaitingTry,
        .time = basis.time,
    };
    if (basis.details >= 0) {
        const Details& details = m_details[static_cast<size_t>(basis.details)];
        const Recipient& recipient = m_recipients[details.recipient];
        entry.destination = recipient.destination;
        entry.username = recipient.username;
        entry.encryption = recipient.encryption;
        entry.size = details.size;
        entry.acknowledged = details.acknowledged;
        entry.durationMs = details.durationMs;
        entry.listedSize = details.listedSize;
        entry.status = details.status;
        entry.reply = details.reply;
    }
    return entry;
}

void HistoryEntries::append(const PathList& files, qint64 time)
{
    m_paths.append(files);
    m_rows.resize(m_rows.size() + static_cast<size_t>(files.size()), { .time = time });
}

void HistoryEntries::append(const HistoryEntry& entry)
{
    append(PathList{ entry.path });
    set(size() - 1, entry);
}

void HistoryEntries::set(qsizetype row, const HistoryEntry& entry)
{
    Row& basis = m_rows[static_cast<size_t>(row)];
    basis.outcome = entry.outcome;
    basis.isManual = entry.isManual;
    basis.isQueuedAgain = entry.isQueuedAgain;
    basis.isAwaitingTry = entry.isAwaitingTry;
    basis.time = entry.time;
    const bool hasDetails = !entry.destination.isNull() || entry.size || entry.durationMs || entry.listedSize
        || !entry.status.isNull() || !entry.reply.isNull();
    if (basis.details < 0 && hasDetails) {
        basis.details = static_cast<int>(m_details.size());
        m_details.emplace_back();
    }
    if (basis.details >= 0) {
        m_details[static_cast<size_t>(basis.details)]
            = { recipientOf(entry), entry.size,   entry.acknowledged, entry.durationMs,
                entry.listedSize,   entry.status, entry.reply };
    }
}

size_t HistoryEntries::recipientOf(const HistoryEntry& entry)
{
    Recipient recipient{ entry.destination, entry.username, entry.encryption };
    const auto found = std::find(m_recipients.rbegin(), m_recipients.rend(), recipient);
    if (found == m_recipients.rend()) {
        m_recipients.push_back(std::move(recipient));
        return m_recipients.size() - 1;
    }
    return static_cast<size_t>(m_recipients.rend() - found) - 1;
}
