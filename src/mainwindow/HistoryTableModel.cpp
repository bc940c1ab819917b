#include "HistoryTableModel.h"

#include "HistoryRows.h"
#include "HistoryText.h"
#include "PlainToolTip.h"
#include "UploadHistory.h"
#include "UploadLedger.h"

#include <QBrush>
#include <QColor>

#include <algorithm>
#include <chrono>
#include <utility>

using namespace std::chrono_literals;
using HistoryText::Column;

namespace {

const QColor warningColor(0xb0, 0x20, 0x20);
constexpr int pageRows = 100; ///< So many are read at once.
constexpr int mostRead = 5000; ///< More rows that were read are not kept.

QVariant alignment(Column column)
{
    const bool isNumber = column == Column::Size || column == Column::Duration || column == Column::Speed;
    return static_cast<int>((isNumber ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
}

LedgerQuery::Order orderOf(Column column)
{
    switch (column) {
        using enum LedgerQuery::Order;
    case Column::File:
        return Name;
    case Column::Size:
        return Size;
    case Column::Duration:
        return Duration;
    case Column::Speed:
        return Speed;
    case Column::Outcome:
        return Kind;
    case Column::Reply:
        return Reply;
    case Column::Time:
        return Time;
    case Column::Copy:
        return Copy;
    }
    return LedgerQuery::Order::Row;
}

/// What counts as failed, and what may have gone wrong.
bool isWarning(const HistoryEntry& entry)
{
    return isFailure(entry.outcome) || entry.outcome == UploadOutcome::Kind::NotListed;
}

} // namespace

HistoryTableModel::HistoryTableModel(const UploadHistory& history, UploadLedger& ledger, QObject* parent)
    : QAbstractTableModel(parent)
    , m_history(history)
    , m_ledger(ledger)
{
    append(0, history.rowCount() - 1);
    m_readSoon.setSingleShot(true);
    connect(&m_readSoon, &QTimer::timeout, this, &HistoryTableModel::readWanted);
    m_refreshSoon.setSingleShot(true);
    m_refreshSoon.setInterval(1s);
    connect(&m_refreshSoon, &QTimer::timeout, this, &HistoryTableModel::refresh);
    connect(&history, &UploadHistory::rowsAboutToBeAppended, this, &HistoryTableModel::rowsAboutToBeAppended);
    connect(&history, &UploadHistory::rowsAppended, this, &HistoryTableModel::rowsAppended);
    connect(&history, &UploadHistory::rowsChanged, this, &HistoryTableModel::rowsChanged);
    connect(&ledger, &UploadLedger::othersChanged, this, &HistoryTableModel::othersChanged);
}

int HistoryTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_keys.size());
}

int HistoryTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : HistoryText::columnCount;
}

QVariant HistoryTableModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount()) {
        return {};
    }
    const auto column = static_cast<Column>(index.column());
    if (role == Qt::TextAlignmentRole) {
        return alignment(column);
    }
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole && role != Qt::ForegroundRole) {
        return {};
    }
    if (!isKnown(index.row())) {
        want(index.row());
    }
    const HistoryEntry* const entry = this->entry(index.row());
    if (entry == nullptr) {
        return {};
    }
    switch (role) {
    case Qt::DisplayRole:
        return HistoryText::cell(*entry, column);
    case Qt::ToolTipRole:
        return plainToolTip(HistoryText::toolTip(*entry, column));
    default:
        return column == Column::Outcome && isWarning(*entry) ? QBrush(warningColor) : QVariant();
    }
}

QVariant HistoryTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount()) {
        return {};
    }
    const auto column = static_cast<Column>(section);
    if (role == Qt::DisplayRole) {
        return HistoryText::title(column);
    }
    return role == Qt::TextAlignmentRole ? alignment(column) : QVariant();
}

void HistoryTableModel::sort(int column, Qt::SortOrder order)
{
    LedgerQuery query = m_query;
    query.order = column < 0 ? LedgerQuery::Order::Row : orderOf(static_cast<Column>(column));
    query.isDescending = column >= 0 && order == Qt::DescendingOrder;
    ask(query);
}

void HistoryTableModel::setFilter(const QString& text, bool failedOnly)
{
    LedgerQuery query = m_query;
    query.text = text;
    query.failedOnly = failedOnly;
    ask(query);
}

void HistoryTableModel::ask(const LedgerQuery& query)
{
    if (std::exchange(m_query, query) != query) {
        refresh();
    }
}

void HistoryTableModel::refresh()
{
    m_refreshSoon.stop();
    m_ledger.find(m_query, this, [this, question = ++m_question, known = m_history.rowCount()](const auto& keys) {
        if (question != m_question) {
            return;
        }
        if (keys) {
            show(*keys, known);
        }
        emit answered();
    });
}

void HistoryTableModel::refreshSoon()
{
    if (m_isSeen && !m_refreshSoon.isActive()) {
        m_refreshSoon.start();
    }
}

void HistoryTableModel::setSeen(bool isSeen)
{
    if (std::exchange(m_isSeen, isSeen) == isSeen) {
        return;
    }
    m_refreshSoon.stop();
    if (isSeen) {
        refresh();
    }
}

void HistoryTableModel::othersChanged()
{
    for (Known& known : m_read) {
        known.isOld = true;
    }
    if (m_isSeen) {
        showAgain(0, rowCount()); // Rows that are seen are read again.
        refresh();
    }
}

/// The ledger's answer, which has all files of this run with numbers below @p known and perhaps some that came later.
void HistoryTableModel::show(const QList<LedgerKey>& keys, int known)
{
    const bool isNews = m_query.isPlain() && known < m_history.rowCount();
    if (!isNews && keys == m_keys) {
        return;
    }
    beginResetModel();
    ++m_resets;
    m_askedPages.clear();
    m_keys = keys;
    m_rowsOfRun.assign(static_cast<size_t>(m_history.rowCount()), -1);
    for (int row = 0; row < static_cast<int>(keys.size()); ++row) {
        if (keys[row].isOfThisRun()) {
            m_rowsOfRun[static_cast<size_t>(keys[row].number)] = row;
        }
    }
    if (isNews) {
        while (known < m_history.rowCount() && m_rowsOfRun[static_cast<size_t>(known)] >= 0) {
            ++known;
        }
        m_rowsOfRun.resize(static_cast<size_t>(known));
        append(known, m_history.rowCount() - 1);
    }
    endResetModel();
}

/// Puts the files of this run from @p first to @p last at the end.
void HistoryTableModel::append(int first, int last)
{
    for (int number = first; number <= last; ++number) {
        m_rowsOfRun.push_back(static_cast<int>(m_keys.size()));
        m_keys.append({ .row = 0, .number = number });
    }
}

void HistoryTableModel::rowsAboutToBeAppended(int first, int last)
{
    m_isInserting = m_query.isPlain();
    if (m_isInserting) {
        beginInsertRows({}, rowCount(), rowCount() + last - first);
    }
}

void HistoryTableModel::rowsAppended()
{
    if (m_isInserting) {
        append(static_cast<int>(m_rowsOfRun.size()), m_history.rowCount() - 1);
        endInsertRows();
        return;
    }
    m_rowsOfRun.resize(static_cast<size_t>(m_history.rowCount()), -1);
    refreshSoon();
}

void HistoryTableModel::rowsChanged(int first, int last)
{
    int top = rowCount();
    int bottom = -1;
    for (int number = first; number <= last; ++number) {
        if (const int row = rowOf(number); row >= 0) {
            top = std::min(top, row);
            bottom = std::max(bottom, row);
        }
    }
    showAgain(top, bottom + 1);
    if (!m_query.isPlain()) {
        refreshSoon();
    }
}

int HistoryTableModel::rowOf(int number) const
{
    return static_cast<size_t>(number) < m_rowsOfRun.size() ? m_rowsOfRun[static_cast<size_t>(number)] : -1;
}

bool HistoryTableModel::canQueueAgain(int row) const
{
    const LedgerKey& key = m_keys[row];
    if (key.isOfThisRun()) {
        return m_history.entries().withoutPath(key.number).canQueueAgain();
    }
    const HistoryEntry* const known = entry(row);
    return known == nullptr || known->canOthersQueueAgain();
}

bool HistoryTableModel::hasWebLink(int row) const
{
    const LedgerKey& key = m_keys[row];
    if (key.isOfThisRun() && m_history.entries().withoutPath(key.number).outcome != HistoryEntry::Outcome::Confirmed) {
        return false;
    }
    const HistoryEntry* const known = entry(row);
    return known == nullptr || !HistoryRows::webLink(*known).isNull();
}

/// Whether what entry() answers for @p row is so.
bool HistoryTableModel::isKnown(int row) const
{
    const auto found = m_read.constFind(m_keys[row]);
    return m_keys[row].isOfThisRun() || (found != m_read.cend() && !found->isOld);
}

/// What was known of @p row when somebody looked last; null when it was not read yet.
const HistoryEntry* HistoryTableModel::entry(int row) const
{
    const LedgerKey& key = m_keys[row];
    if (key.isOfThisRun()) {
        m_current = m_ledger.row(key.number).entry;
        return &m_current;
    }
    const auto found = m_read.constFind(key);
    return found == m_read.cend() ? nullptr : &found->entry;
}

/// Somebody looks at @p row.
void HistoryTableModel::want(int row) const
{
    if (m_askedPages.contains(row / pageRows)) {
        return;
    }
    m_wantedPages.insert(row / pageRows);
    if (!m_readSoon.isActive()) {
        m_readSoon.start();
    }
}

void HistoryTableModel::readWanted()
{
    for (const int page : std::exchange(m_wantedPages, {})) {
        const int first = page * pageRows;
        const int end = std::min(rowCount(), first + pageRows);
        QList<LedgerKey> keys;
        for (int row = first; row < end; ++row) {
            if (!isKnown(row)) {
                keys.append(m_keys[row]);
            }
        }
        if (keys.isEmpty()) {
            continue;
        }
        m_askedPages.insert(page);
        m_ledger.read(keys, this, [this, keys, page, first, end, resets = m_resets](const auto& rows) {
            const bool isThere = resets == m_resets; // Otherwise they may be anywhere now.
            if (isThere) {
                m_askedPages.remove(page);
            }
            if (!rows) {
                return;
            }
            keep(keys, *rows);
            showAgain(isThere ? first : 0, isThere ? end : rowCount());
        });
    }
}

void HistoryTableModel::showAgain(int first, int end)
{
    if (first < end) {
        emit dataChanged(index(first, 0), index(end - 1, columnCount() - 1));
    }
}

/// What was read of @p keys.
void HistoryTableModel::keep(const QList<LedgerKey>& keys, const QList<LedgerRow>& rows)
{
    if (m_read.size() > mostRead) {
        m_read.clear(); // What is seen of it is read again.
    }
    for (const LedgerKey& key : keys) {
        m_read.insert(key, {}); // Those that are gone have nothing to say, and are not asked for again.
    }
    for (const LedgerRow& row : rows) {
        m_read.insert(row.key, { .entry = row.entry });
    }
}
