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
    if (basis.recipient >= 0) {
        const Recipient& recipient = m_recipients[static_cast<size_t>(basis.recipient)];
        entry.destination = recipient.destination;
        entry.username = recipient.username;
        entry.encryption = recipient.encryption;
    }
    if (basis.details >= 0) {
        const Details& details = m_details[static_cast<size_t>(basis.details)];
        entry.size = details.size;
        entry.acknowledged = details.acknowledged;
        entry.durationMs = details.durationMs;
        entry.listedSize = details.listedSize;
        entry.status = details.status;
        entry.reply = details.reply;
    }
    return entry;
}

void HistoryEntries::append(const PathList& files, qint64 time, const Destination& destination)
{
    HistoryEntry entry;
    if (!destination.isNull()) {
        entry.setDestination(destination);
    }
    m_paths.append(files);
    m_rows.resize(m_rows.size() + static_cast<size_t>(files.size()), { .recipient = recipientOf(entry), .time = time });
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
    basis.recipient = recipientOf(entry);
    const bool hasDetails = entry.size || entry.acknowledged || entry.durationMs || entry.listedSize
        || !entry.status.isNull() || !entry.reply.isNull();
    if (basis.details < 0 && hasDetails) {
        basis.details = static_cast<int>(m_details.size());
        m_details.emplace_back();
    }
    if (basis.details >= 0) {
        m_details[static_cast<size_t>(basis.details)]
            = { entry.size, entry.acknowledged, entry.durationMs, entry.listedSize, entry.status, entry.reply };
    }
}

int HistoryEntries::recipientOf(const HistoryEntry& entry)
{
    if (entry.destination.isNull()) {
        return -1;
    }
    Recipient recipient{ entry.destination, entry.username, entry.encryption };
    const auto found = std::find(m_recipients.rbegin(), m_recipients.rend(), recipient);
    if (found == m_recipients.rend()) {
        m_recipients.push_back(std::move(recipient));
        return static_cast<int>(m_recipients.size()) - 1;
    }
    return static_cast<int>(m_recipients.rend() - found) - 1;
}
