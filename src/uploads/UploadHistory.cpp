#include "UploadHistory.h"

#include "HistoryText.h"
#include "LocalName.h"
#include "PathText.h"

#include <algorithm>
#include <chrono>

using Outcome = HistoryEntry::Outcome;

UploadHistory::UploadHistory(Clock clock, QObject* parent)
    : QObject(parent)
    , m_clock(std::move(clock))
{
}

qint64 UploadHistory::steadyClock()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

// What happens.

void UploadHistory::filesQueued(const QStringList& paths)
{
    QList<HistoryEntry> entries;
    entries.reserve(paths.size());
    auto row = static_cast<int>(m_entries.size());
    for (const QString& path : paths) {
        m_waiting.push_back(row++);
        entries.append({ .path = path });
    }
    append(std::move(entries));
}

void UploadHistory::queueCleared()
{
    if (m_waiting.empty()) {
        return;
    }
    for (const int row : m_waiting) {
        m_entries[row].outcome = Outcome::Removed;
        count(m_entries[row]);
    }
    const auto [first, last] = std::pair(m_waiting.front(), m_waiting.back());
    m_waiting.clear();
    emit rowsChanged(first, last);
    checkDrained();
}

void UploadHistory::nextFileStarts(const QString& destination)
{
    const int row = m_waiting.front();
    m_waiting.pop_front();
    start(row, destination);
}

void UploadHistory::manualFileStarts(const QString& path, const QString& destination)
{
    append({ { .path = path, .isManual = true } });
    start(static_cast<int>(m_entries.size()) - 1, destination);
}

void UploadHistory::start(int row, const QString& destination)
{
    m_current = Current{ row, destination, m_clock() };
    // What was sent there before is about to be replaced.
    m_unchecked.remove({ destination, nameOf(row) });
    m_entries[row].outcome = Outcome::Sending;
    emit rowsChanged(row, row);
}

void UploadHistory::fileMoves(qint64 size)
{
    m_entries[m_current->row].size = size;
    emit rowsChanged(m_current->row, m_current->row);
}

void UploadHistory::fileConfirmed(qint64 sent, const QString& reply)
{
    const int row = m_current->row;
    m_entries[row].size = sent;
    m_unchecked.insert({ m_current->destination, nameOf(row) }, { row, ++m_confirmations });
    end(Outcome::Confirmed, reply);
}

void UploadHistory::fileEnded(Outcome outcome, const QString& status, const QString& reply)
{
    m_entries[m_current->row].status = status;
    end(outcome, reply);
}

void UploadHistory::end(Outcome outcome, const QString& reply)
{
    const Current ended = *std::exchange(m_current, std::nullopt);
    HistoryEntry& entry = m_entries[ended.row];
    entry.outcome = outcome;
    entry.reply = reply;
    if (entry.size) {
        entry.durationMs = m_clock() - ended.startedAt;
    }
    m_unsettled += isUnsettled(entry) ? 1 : 0;
    count(entry);
    emit rowsChanged(ended.row, ended.row);
    checkDrained();
}

void UploadHistory::note(const QString& text)
{
    append({ { .path = text, .outcome = Outcome::Note } });
}

void UploadHistory::append(QList<HistoryEntry> entries)
{
    if (entries.isEmpty()) {
        return;
    }
    const int first = rowCount();
    emit rowsAboutToBeAppended(first, first + static_cast<int>(entries.size()) - 1);
    if (m_entries.isEmpty()) {
        m_entries = std::move(entries); // The first of a run are the most at times: they need not be there twice.
    } else {
        m_entries.append(std::move(entries));
    }
    emit rowsAppended();
}

void UploadHistory::count(const HistoryEntry& entry)
{
    countIn(m_runTally, entry.outcome);
    if (!entry.isManual) {
        countIn(m_tally, entry.outcome);
    }
}

void UploadHistory::countIn(FileTally& tally, Outcome outcome)
{
    switch (outcome) {
    case Outcome::Confirmed:
        ++tally.confirmed;
        break;
    case Outcome::Failed:
    case Outcome::NotFound:
        ++tally.failed;
        break;
    case Outcome::Stopped:
        ++tally.stopped;
        break;
    case Outcome::Removed:
        ++tally.removed;
        break;
    case Outcome::Waiting:
    case Outcome::Sending:
    case Outcome::Note:
        break;
    }
}

void UploadHistory::checkDrained()
{
    if (!isQueueUnderWay() && m_tally.count() > 0) {
        emit queueDrained(std::exchange(m_tally, {}));
    }
}

bool UploadHistory::isQueueFileSent() const
{
    return m_current && !m_entries[m_current->row].isManual;
}

// The list of the server.

void UploadHistory::listingStarts(const QString& place)
{
    m_listedPlace = place;
    m_listingSequence = m_confirmations;
}

void UploadHistory::listed(const QList<ListingEntry>& entries)
{
    if (m_unchecked.isEmpty()) {
        return;
    }
    for (const ListingEntry& item : entries) {
        const auto found = m_unchecked.constFind({ m_listedPlace, localName(item) });
        if (found == m_unchecked.cend() || found->sequence > m_listingSequence) {
            continue;
        }
        const int row = found->row;
        m_unchecked.erase(found);
        if (item.type == ListingEntry::plainFileType && item.size && item.size != m_entries[row].size) {
            m_entries[row].listedSize = item.size;
            ++m_differing;
            emit rowsChanged(row, row);
        }
    }
}

void UploadHistory::listingSucceeded()
{
    // Each is looked at twice at most: what stays was confirmed while the listing ran, and goes with the next one.
    m_unchecked.removeIf([this](const QHash<Place, Unchecked>::iterator& each) {
        return each.key().first == m_listedPlace && each->sequence <= m_listingSequence;
    });
}

// What is known.

double UploadHistory::queueProgress(float percent) const
{
    const int done = m_tally.count();
    const auto all = static_cast<double>(done) + static_cast<double>(m_waiting.size()) + (isQueueFileSent() ? 1 : 0);
    if (all == 0) {
        return 0;
    }
    return (done + (isQueueFileSent() ? static_cast<double>(percent) / 100 : 0)) / all;
}

QString UploadHistory::text(const QList<int>& rows) const
{
    QString text = HistoryText::titleLine() + u'\n';
    for (const int row : rows) {
        text += HistoryText::line(m_entries[row]) + u'\n';
    }
    return text;
}

QString UploadHistory::nameOf(int row) const
{
    return PathText::lastPathComponent(m_entries[row].path);
}

// Trying again.

bool UploadHistory::isUnsettled(const HistoryEntry& entry)
{
    const bool isLost
        = entry.outcome == Outcome::Failed || entry.outcome == Outcome::Stopped || entry.outcome == Outcome::NotFound;
    return isLost && !entry.isManual && !entry.isQueuedAgain;
}

bool UploadHistory::canQueueAgain(int row) const
{
    const HistoryEntry& entry = m_entries[row];
    switch (entry.outcome) {
    case Outcome::Failed:
    case Outcome::Stopped:
    case Outcome::NotFound:
    case Outcome::Removed:
        return !entry.isQueuedAgain;
    case Outcome::Waiting:
    case Outcome::Sending:
    case Outcome::Confirmed:
    case Outcome::Note:
        return false;
    }
    return false;
}

QList<int> UploadHistory::rowsToQueueAgain() const
{
    QList<int> rows;
    for (int row = 0; row < rowCount(); ++row) {
        if (isUnsettled(m_entries[row])) {
            rows.append(row);
        }
    }
    return rows;
}

QStringList UploadHistory::takeToQueueAgain(const QList<int>& rows)
{
    QStringList paths;
    for (const int row : rows) {
        if (!canQueueAgain(row)) {
            continue;
        }
        HistoryEntry& entry = m_entries[row];
        m_unsettled -= isUnsettled(entry) ? 1 : 0;
        entry.isQueuedAgain = true;
        paths.append(entry.path);
    }
    if (!paths.isEmpty()) {
        emit rowsChanged(*std::min_element(rows.begin(), rows.end()), *std::max_element(rows.begin(), rows.end()));
    }
    return paths;
}
