#include "UploadHistory.h"

#include "DestinationSettings.h"
#include "OutcomeText.h"
#include "PathText.h"
#include "TreePath.h"

#include <QDateTime>

#include <algorithm>
#include <chrono>
#include <iterator>

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

/// For people: it may jump.
qint64 UploadHistory::wallClock()
{
    return QDateTime::currentMSecsSinceEpoch();
}

// What happens.

void UploadHistory::filesQueued(const PathList& paths, const QStringList& leftOut, UploadRequest request)
{
    if (paths.isEmpty() && leftOut.isEmpty()) {
        return;
    }
    beginQueueIfDue();
    for (int row = append(paths, leftOut, request); row < rowCount(); ++row) {
        m_waiting.push_back(row);
    }
    emit rowsAppended();
    checkDrained();
}

int UploadHistory::filesHeld(const PathList& paths, const QStringList& leftOut, UploadRequest request)
{
    if (paths.isEmpty() && leftOut.isEmpty()) {
        return rowCount();
    }
    const int first = append(paths, leftOut, request);
    m_held += paths.size();
    emit rowsAppended();
    return first;
}

/// Appends rows for all of them; rowsAppended() is to follow. Answers the first row of those that wait.
int UploadHistory::append(const PathList& paths, const QStringList& leftOut, UploadRequest request)
{
    const int first = rowCount();
    const int firstWaiting = first + static_cast<int>(leftOut.size());
    const qint64 now = wallClock();
    noteRequest(request);
    emit rowsAboutToBeAppended(first, firstWaiting + static_cast<int>(paths.size()) - 1);
    for (const QString& path : leftOut) {
        m_entries.append({ .path = path, .outcome = Outcome::LeftOut, .time = now });
    }
    m_entries.append(paths, now, DestinationSettings::destination());
    for (int row = first; row < firstWaiting; ++row) {
        count(row);
    }
    return firstWaiting;
}

void UploadHistory::heldFilesQueued(const QList<int>& rows)
{
    m_held -= rows.size();
    m_waiting.insert(m_waiting.end(), rows.begin(), rows.end());
}

void UploadHistory::heldFilesEnded(const QList<int>& rows, const UploadOutcome& outcome, const Destination& destination)
{
    m_held -= rows.size();
    const qint64 now = wallClock();
    for (const int row : rows) {
        m_entries.change(row, [&](HistoryEntry& entry) {
            entry.setDestination(destination);
            entry.outcome = outcome.kind;
            entry.status = outcome.status;
            entry.reply = outcome.reply;
            entry.time = now;
        });
        count(row);
    }
    tellChanged(rows);
    checkDrained();
}

QList<int> UploadHistory::queuedFilesHeld(const std::function<bool(int row)>& condition)
{
    QList<int> held;
    std::deque<int> rest;
    for (const int row : m_waiting) {
        if (condition(row)) {
            held.append(row);
        } else {
            rest.push_back(row);
        }
    }
    m_waiting = std::move(rest);
    m_held += held.size();
    return held;
}

/// The rows that follow are those of @p request.
void UploadHistory::noteRequest(UploadRequest request)
{
    if (requestOf(rowCount()) != request) {
        m_requests[rowCount()] = request;
    }
}

UploadRequest UploadHistory::requestOf(int row) const
{
    const auto behind = m_requests.upper_bound(row);
    return behind == m_requests.begin() ? UploadRequest() : std::prev(behind)->second;
}

void UploadHistory::beginQueueIfDue()
{
    if (!isQueueUnderWay()) {
        emit queueBegins();
        m_firstQueueRow = rowCount();
        m_tally = {};
        m_isDrained = false;
    }
}

void UploadHistory::setMoreComes(bool comes)
{
    if (comes) {
        beginQueueIfDue();
    }
    m_moreComes = comes;
    checkDrained();
}

void UploadHistory::queueCleared()
{
    if (m_waiting.empty()) {
        return;
    }
    const qint64 now = wallClock();
    for (const int row : m_waiting) {
        m_entries.change(row, [now](HistoryEntry& entry) {
            entry.outcome = Outcome::Removed;
            entry.time = now;
        });
        count(row);
    }
    const auto [first, last] = std::minmax_element(m_waiting.begin(), m_waiting.end());
    const std::pair rows(*first, *last);
    m_waiting.clear();
    emit rowsChanged(rows.first, rows.second);
    checkDrained();
}

void UploadHistory::nextFileDropped(const Destination& destination)
{
    const int row = m_waiting.front();
    m_waiting.pop_front();
    m_entries.change(row, [&destination](HistoryEntry& entry) {
        entry.setDestination(destination);
        entry.outcome = Outcome::Removed;
        entry.time = wallClock();
    });
    count(row);
    emit rowsChanged(row, row);
    checkDrained();
}

void UploadHistory::nextFileStarts(const Destination& destination)
{
    const int row = m_waiting.front();
    m_waiting.pop_front();
    start(row, destination);
}

void UploadHistory::manualFileStarts(const QString& path, const Destination& destination)
{
    append({ .path = path, .isManual = true, .time = wallClock() });
    start(rowCount() - 1, destination);
}

void UploadHistory::start(int row, const Destination& destination)
{
    m_current = Current{ row, destination.location, m_clock() };
    if (isListed(row)) {
        m_listingCheck.fileStarts(destination.location, nameOf(row));
    }
    m_entries.change(row, [&destination](HistoryEntry& entry) {
        entry.outcome = Outcome::Sending;
        entry.setDestination(destination);
        entry.time = wallClock();
    });
    emit rowsChanged(row, row);
}

void UploadHistory::fileMoves(qint64 size)
{
    m_entries.change(m_current->row, [size](HistoryEntry& entry) { entry.size = size; });
    emit rowsChanged(m_current->row, m_current->row);
}

void UploadHistory::fileConfirmed(qint64 sent, const QString& reply)
{
    const int row = m_current->row;
    m_entries.change(row, [sent](HistoryEntry& entry) { entry.size = sent; });
    if (isListed(row)) {
        m_listingCheck.fileConfirmed(m_current->destination, nameOf(row), row, sent);
    }
    end(Outcome::Confirmed, reply);
}

void UploadHistory::fileEnded(const UploadOutcome& outcome)
{
    m_entries.change(m_current->row, [&outcome](HistoryEntry& entry) {
        entry.status = outcome.status;
        entry.acknowledged = outcome.acknowledged;
    });
    if (isQueueFileSent()) {
        emit fileFails(m_current->row, outcome);
    }
    end(outcome.kind, outcome.reply);
}

void UploadHistory::end(Outcome outcome, const QString& reply)
{
    const Current ended = *std::exchange(m_current, std::nullopt);
    m_entries.change(ended.row, [this, &ended, outcome, &reply](HistoryEntry& entry) {
        entry.outcome = outcome;
        entry.reply = reply;
        entry.time = wallClock();
        if (entry.size) {
            entry.durationMs = m_clock() - ended.startedAt;
        }
    });
    count(ended.row);
    emit rowsChanged(ended.row, ended.row);
    checkDrained();
}

void UploadHistory::filesAwaitTry(const QList<int>& rows, bool areAwaiting)
{
    for (const int row : rows) {
        m_entries.change(row, [areAwaiting](HistoryEntry& entry) { entry.isAwaitingTry = areAwaiting; });
    }
    tellChanged(rows);
}

void UploadHistory::note(const QString& text)
{
    append({ .path = text, .outcome = Outcome::Note, .time = wallClock() });
}

void UploadHistory::append(const HistoryEntry& entry)
{
    noteRequest({});
    emit rowsAboutToBeAppended(rowCount(), rowCount());
    m_entries.append(entry);
    emit rowsAppended();
}

/// Counts the outcome of @p row where it belongs, or with a @p step of -1 no longer.
void UploadHistory::count(int row, int step)
{
    const HistoryEntry entry = m_entries.withoutPath(row);
    if (entry.isQueuedAgain) {
        return; // Its next try counts.
    }
    m_runTally.count(entry.outcome, step);
    if (!entry.isManual && row >= m_firstQueueRow) {
        m_tally.count(entry.outcome, step);
    }
    m_unsettled += entry.isUnsettled() ? step : 0;
}

void UploadHistory::checkDrained()
{
    if (!isQueueUnderWay() && !std::exchange(m_isDrained, true)) {
        emit queueDrained();
    }
}

bool UploadHistory::hasUncheckedFiles() const
{
    return hasUncheckedFiles(
        [this](int row) { return row >= m_firstQueueRow && !m_entries.withoutPath(row).isManual; });
}

bool UploadHistory::isQueueFileSent() const
{
    return m_current && !m_entries.withoutPath(m_current->row).isManual;
}

// The server's listing.

void UploadHistory::listingStarts(const QString& location)
{
    m_listingCheck.listingStarts(location);
}

void UploadHistory::listed(const QList<ListingEntry>& entries)
{
    correct(m_listingCheck.listed(entries));
}

void UploadHistory::listingSucceeded()
{
    correct(m_listingCheck.listingSucceeded());
    emit filesChecked();
}

void UploadHistory::listingFailed()
{
    emit filesChecked(); // What it has brought counts.
}

void UploadHistory::forgetUnchecked()
{
    m_listingCheck.forgetAll();
    emit filesChecked();
}

/// A listing knows better of files that have ended.
void UploadHistory::correct(const QList<ListingCheck::Finding>& findings)
{
    for (const ListingCheck::Finding& finding : findings) {
        count(finding.row, -1);
        m_entries.change(finding.row, [&finding](HistoryEntry& entry) {
            entry.outcome = finding.outcome;
            entry.listedSize = finding.listedSize;
        });
        count(finding.row);
        emit rowsChanged(finding.row, finding.row);
    }
}

// What is known.

double UploadHistory::queueProgress(float percent) const
{
    if (!isQueueUnderWay()) {
        return 0;
    }
    const int done = m_tally.tried();
    const auto all = static_cast<double>(done) + static_cast<double>(m_waiting.size()) + (isQueueFileSent() ? 1 : 0);
    if (all == 0) {
        return 0;
    }
    return (done + (isQueueFileSent() ? static_cast<double>(percent) / 100 : 0)) / all;
}

/// Whether listings of its destination can show the file of @p row: not what goes into a folder there.
bool UploadHistory::isListed(int row) const
{
    return TreePath::relative(m_entries[row].path).isNull();
}

QString UploadHistory::nameOf(int row) const
{
    return PathText::lastPathComponent(m_entries[row].path);
}

QString UploadHistory::queueText() const
{
    if (m_tally.tried() + m_tally.leftOut == 1) {
        for (int row = m_firstQueueRow; row < rowCount(); ++row) {
            const HistoryEntry entry = m_entries.withoutPath(row);
            if (entry.outcome != Outcome::Note && !entry.isManual && !entry.isQueuedAgain) {
                return outcomeText(m_tally, nameOf(row));
            }
        }
    }
    return outcomeText(m_tally);
}

PathList UploadHistory::takeToQueueAgain(const QList<int>& rows)
{
    PathList paths;
    for (const int row : rows) {
        const HistoryEntry known = m_entries[row];
        if (known.canQueueAgain()) {
            count(row, -1);
            m_entries.change(row, [](HistoryEntry& entry) {
                entry.isQueuedAgain = true;
                entry.isAwaitingTry = false;
            });
            paths.append(known.path);
        }
    }
    tellChanged(rows);
    return paths;
}

void UploadHistory::tellChanged(const QList<int>& rows)
{
    if (!rows.isEmpty()) {
        emit rowsChanged(*std::min_element(rows.begin(), rows.end()), *std::max_element(rows.begin(), rows.end()));
    }
}
