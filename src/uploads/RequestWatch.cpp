#include "RequestWatch.h"

#include "HistoryText.h"
#include "TreePath.h"
#include "UploadHistory.h"
#include "UploadIntake.h"
#include "VisibleText.h"

#include <algorithm>
#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Outcome = UploadOutcome::Kind;

namespace {

constexpr auto tellingInterval = 50ms;
constexpr qsizetype mostAtOnce = 500;

QList<int> sorted(const QSet<int>& rows)
{
    QList<int> list(rows.begin(), rows.end());
    std::sort(list.begin(), list.end());
    return list;
}

FileEnd endOf(const HistoryEntry& entry)
{
    QString words = HistoryText::cell(entry, HistoryText::Column::Outcome);
    if (entry.outcome == Outcome::Refused && !entry.reply.isEmpty()) {
        words += u'\t' + visibleText(entry.reply);
    }
    return { TreePath::plain(entry.path), words };
}

} // namespace

RequestWatch::RequestWatch(UploadHistory& history, UploadIntake& intake, UploadRequest request)
    : m_history(history)
    , m_request(request)
{
    m_telling.setSingleShot(true);
    connect(&m_telling, &QTimer::timeout, this, &RequestWatch::tell);
    m_check.setSingleShot(true);
    connect(&m_check, &QTimer::timeout, this, &RequestWatch::end);
    connect(&history, &UploadHistory::rowsAboutToBeAppended, this, [this](int first) { m_firstAppended = first; });
    connect(&history, &UploadHistory::rowsAppended, this, &RequestWatch::rowsAppended);
    connect(&history, &UploadHistory::rowsChanged, this, &RequestWatch::rowsChanged);
    connect(&intake, &UploadIntake::dropEnded, this, [this](UploadRequest whose) {
        if (whose == m_request) {
            m_haveAllJoined = true;
            tellSoon();
        }
    });
    connect(&history, &UploadHistory::filesChecked, this, [this] {
        if (m_check.isActive() && !isAnyUnchecked()) {
            m_check.start(0ms);
        }
    });
}

void RequestWatch::rowsAppended()
{
    const bool areOurs = m_history.requestOf(m_firstAppended) == m_request;
    if (!areOurs && m_again.isEmpty()) {
        return;
    }
    for (int row = m_firstAppended; row < m_history.rowCount(); ++row) {
        if (!areOurs) {
            const auto again = m_again.find(m_history.entries()[row].path);
            if (again == m_again.end()) {
                continue;
            }
            if (--*again == 0) {
                m_again.erase(again);
            }
        }
        m_open.insert(row);
        look(row);
    }
}

void RequestWatch::rowsChanged(int first, int last)
{
    for (int row = first; row <= last && !m_open.isEmpty(); ++row) {
        if (m_open.contains(row)) {
            look(row);
        }
    }
}

void RequestWatch::look(int row)
{
    const HistoryEntry entry = m_history.entries()[row];
    if (entry.outcome == Outcome::Waiting || entry.outcome == Outcome::Sending || entry.isAwaitingTry) {
        return;
    }
    m_open.remove(row);
    if (entry.isQueuedAgain) {
        ++m_again[entry.path];
        return;
    }
    if (entry.outcome == Outcome::Confirmed) {
        m_confirmed.insert(row);
    } else {
        m_isAnyLost = true;
    }
    m_untold.append(endOf(entry));
    tellSoon();
}

void RequestWatch::tellSoon()
{
    if (m_untold.size() >= mostAtOnce) {
        m_telling.start(0ms);
    } else if (!m_telling.isActive()) {
        m_telling.start(tellingInterval);
    }
}

void RequestWatch::tell()
{
    if (!m_untold.isEmpty()) {
        emit ended(std::exchange(m_untold, {}));
    }
    endIfOver();
}

void RequestWatch::endIfOver()
{
    if (m_haveAllJoined && m_open.isEmpty() && m_again.isEmpty() && !m_check.isActive() && !m_isOver) {
        m_check.start(isAnyUnchecked() ? UploadHistory::longestCheck : 0ms);
    }
}

bool RequestWatch::isAnyUnchecked() const
{
    return m_history.hasUncheckedFiles([this](int row) { return m_confirmed.contains(row); });
}

/// What has arrived is looked at once more.
void RequestWatch::end()
{
    m_isOver = true;
    QList<FileEnd> others;
    for (const int row : sorted(m_confirmed)) {
        const Outcome outcome = m_history.entries().withoutPath(row).outcome;
        if (outcome != Outcome::Confirmed) {
            others.append(endOf(m_history.entries()[row]));
            m_isAnyLost = m_isAnyLost || outcome != Outcome::NotListed;
        }
    }
    if (!others.isEmpty()) {
        emit corrected(others);
    }
    emit over(!m_isAnyLost);
}

void RequestWatch::programEnds()
{
    if (m_isOver) {
        return;
    }
    for (const int row : sorted(m_open)) {
        HistoryEntry entry = m_history.entries()[row];
        if (!entry.isAwaitingTry) {
            entry.outcome = Outcome::Interrupted;
        }
        m_untold.append(endOf(entry));
    }
    m_isAnyLost = m_isAnyLost || !m_open.isEmpty() || !m_haveAllJoined;
    m_open.clear();
    if (!m_untold.isEmpty()) {
        emit ended(std::exchange(m_untold, {}));
    }
    end();
}
