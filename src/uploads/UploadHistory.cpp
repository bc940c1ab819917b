#include "UploadHistory.h"

#include "HistoryText.h"
#include "LocalItem.h"
#include "LocalName.h"
#include "OutcomeText.h"
#include "PathText.h"

#include <algorithm>
#include <chrono>

using namespace Qt::StringLiterals;
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

void UploadHistory::filesQueued(const QStringList& paths, const QStringList& leftOut)
{
    if (paths.isEmpty() && leftOut.isEmpty()) {
        return;
    }
    if (!isQueueUnderWay()) {
        emit queueBegins();
        m_firstQueueRow = rowCount();
        m_tally = {};
        m_isDrained = false;
    }
    QList<HistoryEntry> entries;
    entries.reserve(leftOut.size() + paths.size());
    for (const QString& path : leftOut) {
        entries.append({ .path = path, .outcome = Outcome::LeftOut });
    }
    auto row = rowCount() + static_cast<int>(leftOut.size());
    for (const QString& path : paths) {
        m_waiting.push_back(row++);
        entries.append({ .path = path });
    }
    append(std::move(entries));
    for (qsizetype i = 0; i < leftOut.size(); ++i) {
        count(rowCount() - static_cast<int>(paths.size() + leftOut.size() - i));
    }
    checkDrained();
}

void UploadHistory::queueCleared()
{
    if (m_waiting.empty()) {
        return;
    }
    for (const int row : m_waiting) {
        m_entries[row].outcome = Outcome::Removed;
        count(row);
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
    m_missing.remove({ destination, nameOf(row) });
    m_entries[row].outcome = Outcome::Sending;
    m_entries[row].destination = destination;
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

void UploadHistory::fileEnded(const UploadOutcome& outcome)
{
    HistoryEntry& entry = m_entries[m_current->row];
    entry.code = outcome.code;
    entry.status = outcome.status;
    end(outcome.kind, outcome.reply);
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
    count(ended.row);
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

/// Counts the outcome of @p row where it belongs, or with a @p step of -1 no longer.
void UploadHistory::count(int row, int step)
{
    const HistoryEntry& entry = m_entries[row];
    if (entry.isQueuedAgain) {
        return; // Its next try counts.
    }
    m_runTally.count(entry.outcome, step);
    if (!entry.isManual && row >= m_firstQueueRow) {
        m_tally.count(entry.outcome, step);
    }
    m_unsettled += isUnsettled(entry) ? step : 0;
}

/// A listing knows better of a file that has ended.
void UploadHistory::correct(int row, Outcome outcome)
{
    count(row, -1);
    m_entries[row].outcome = outcome;
    count(row);
    emit rowsChanged(row, row);
}

void UploadHistory::checkDrained()
{
    if (!isQueueUnderWay() && !std::exchange(m_isDrained, true)) {
        emit queueDrained();
    }
}

bool UploadHistory::hasUncheckedFiles() const
{
    return std::any_of(m_unchecked.cbegin(), m_unchecked.cend(), [this](const Unchecked& file) {
        return file.row >= m_firstQueueRow && !m_entries[file.row].isManual;
    });
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
    m_isDotListed = false;
}

void UploadHistory::listed(const QList<ListingEntry>& entries)
{
    if (m_unchecked.isEmpty() && m_missing.isEmpty()) {
        return;
    }
    for (const ListingEntry& item : entries) {
        m_isDotListed = m_isDotListed || (item.name.startsWith(u'.') && item.name != u"."_s && item.name != u".."_s);
        const Place place(m_listedPlace, localName(item));
        const auto found = m_unchecked.constFind(place);
        if (found == m_unchecked.cend()) {
            if (const auto missing = m_missing.constFind(place); missing != m_missing.cend()) {
                checkListed(missing.value(), item, place);
            }
        } else if (found->sequence <= m_listingSequence) {
            const int row = found->row;
            m_unchecked.erase(found);
            checkListed(row, item, place);
        }
    }
}

/// @p item is what the server has at @p place of the confirmed file of @p row. Later listings may know better of what
/// is not as it was sent.
void UploadHistory::checkListed(int row, const ListingEntry& item, const Place& place)
{
    HistoryEntry& entry = m_entries[row];
    if (item.type == ListingEntry::plainFileType && item.size && item.size != entry.size) {
        entry.listedSize = item.size;
        m_missing.insert(place, row);
        correct(row, Outcome::OtherSize);
        return;
    }
    m_missing.remove(place);
    entry.listedSize.reset();
    if (entry.outcome != Outcome::Confirmed) {
        correct(row, Outcome::Confirmed);
    }
}

void UploadHistory::forgetUnchecked()
{
    m_unchecked.clear();
    m_missing.clear();
    emit filesChecked();
}

void UploadHistory::listingFailed()
{
    emit filesChecked(); // What it has brought counts.
}

void UploadHistory::listingSucceeded()
{
    // Each is looked at twice at most: what stays was confirmed while the listing ran, and goes with the next one.
    QHash<Place, int> missing;
    const auto isOver = [this, &missing](const QHash<Place, Unchecked>::iterator& each) {
        if (each.key().first != m_listedPlace || each->sequence > m_listingSequence) {
            return false;
        }
        missing.insert(each.key(), each->row);
        return true;
    };
    m_unchecked.removeIf(isOver);
    for (auto each = missing.cbegin(); each != missing.cend(); ++each) {
        if (m_isDotListed || !each.key().second.startsWith(u'.')) {
            m_missing.insert(each.key(), each.value());
            correct(each.value(), Outcome::NotListed);
        }
    }
    emit filesChecked();
}

// What is known.

double UploadHistory::queueProgress(float percent) const
{
    if (!isQueueUnderWay()) {
        return 0;
    }
    const int done = m_tally.tried();
    const auto all = static_cast<double>(done) + static_cast<double>(m_waiting.size()) + (isQueueFileSent() ? 1 : 0);
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

QString UploadHistory::queueText() const
{
    if (m_tally.tried() + m_tally.leftOut == 1) {
        for (int row = m_firstQueueRow; row < rowCount(); ++row) {
            const HistoryEntry& entry = m_entries[row];
            if (entry.outcome != Outcome::Note && !entry.isManual && !entry.isQueuedAgain) {
                return outcomeText(m_tally, nameOf(row));
            }
        }
    }
    return outcomeText(m_tally);
}

QList<int> UploadHistory::lostRowsOfQueue() const
{
    QList<int> rows;
    for (int row = m_firstQueueRow; row < rowCount(); ++row) {
        if (isUnsettled(m_entries[row])) {
            rows.append(row);
        }
    }
    return rows;
}

QList<int> UploadHistory::rowsToShowOfQueue() const
{
    QList<int> remarkable;
    QList<int> all;
    for (int row = m_firstQueueRow; row < rowCount(); ++row) {
        const HistoryEntry& entry = m_entries[row];
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

bool UploadHistory::canQueueAnyAgain() const
{
    const QList<int> rows = lostRowsOfQueue();
    return std::any_of(rows.begin(), rows.end(), [this](int row) { return isPlainLocalFile(m_entries[row].path); });
}

// Trying again.

bool UploadHistory::isUnsettled(const HistoryEntry& entry)
{
    const bool isLost = isFailure(entry.outcome) || entry.outcome == Outcome::Stopped;
    return isLost && !entry.isManual && !entry.isQueuedAgain;
}

bool UploadHistory::canQueueAgain(int row) const
{
    const HistoryEntry& entry = m_entries[row];
    const bool isOpen
        = isFailure(entry.outcome) || entry.outcome == Outcome::Stopped || entry.outcome == Outcome::Removed;
    return isOpen && !entry.isQueuedAgain;
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

QStringList UploadHistory::destinationsOf(const QList<int>& rows) const
{
    QStringList destinations;
    for (const int row : rows) {
        const QString& destination = m_entries[row].destination;
        if (!destination.isNull() && !destinations.contains(destination)) {
            destinations.append(destination);
        }
    }
    return destinations;
}

bool UploadHistory::isPlainLocalFile(const QString& path)
{
    const std::optional<LocalItem> item = LocalItem::at(path);
    return item && item->isPlainFile;
}

QStringList UploadHistory::takeToQueueAgain(const QList<int>& rows, const FileCheck& isPlainFile)
{
    QStringList paths;
    for (const int row : rows) {
        if (!canQueueAgain(row) || !isPlainFile(m_entries[row].path)) {
            continue;
        }
        count(row, -1);
        m_entries[row].isQueuedAgain = true;
        paths.append(m_entries[row].path);
    }
    if (!paths.isEmpty()) {
        emit rowsChanged(*std::min_element(rows.begin(), rows.end()), *std::max_element(rows.begin(), rows.end()));
    }
    return paths;
}
