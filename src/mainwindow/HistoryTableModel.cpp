#include "HistoryTableModel.h"

#include "HistoryText.h"
#include "PlainToolTip.h"
#include "UploadHistory.h"

#include <QBrush>
#include <QColor>

using HistoryText::Column;

namespace {

const QColor warningColor(0xb0, 0x20, 0x20);

QVariant alignment(Column column)
{
    const bool isNumber = column == Column::Size || column == Column::Duration || column == Column::Speed;
    return static_cast<int>((isNumber ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
}

/// What counts as failed, and what may have gone wrong.
bool isWarning(const HistoryEntry& entry)
{
    return isFailure(entry.outcome) || entry.outcome == UploadOutcome::Kind::NotListed;
}

} // namespace

HistoryTableModel::HistoryTableModel(const UploadHistory& history, QObject* parent)
    : QAbstractTableModel(parent)
    , m_history(history)
{
    connect(&history, &UploadHistory::rowsAboutToBeAppended, this,
            [this](int first, int last) { beginInsertRows({}, first, last); });
    connect(&history, &UploadHistory::rowsAppended, this, [this] { endInsertRows(); });
    connect(&history, &UploadHistory::rowsChanged, this,
            [this](int first, int last) { emit dataChanged(index(first, 0), index(last, columnCount() - 1)); });
}

int HistoryTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_history.rowCount();
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
    const HistoryEntry entry = m_history.entries()[index.row()];
    const auto column = static_cast<Column>(index.column());
    switch (role) {
    case Qt::DisplayRole:
        return HistoryText::cell(entry, column);
    case Qt::ToolTipRole:
        return plainToolTip(HistoryText::toolTip(entry, column));
    case Qt::ForegroundRole:
        return column == Column::Outcome && isWarning(entry) ? QBrush(warningColor) : QVariant();
    case Qt::TextAlignmentRole:
        return alignment(column);
    default:
        return {};
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
