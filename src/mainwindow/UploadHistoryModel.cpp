// The history as a table.

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
    using Outcome = HistoryEntry::Outcome;
    return entry.outcome == Outcome::Failed || entry.outcome == Outcome::NotFound || entry.listedSize;
}

} // namespace

QString UploadHistory::text(const QList<int>& rows) const
{
    QString text = HistoryText::titleLine() + u'\n';
    for (const int row : rows) {
        text += HistoryText::line(m_entries[row]) + u'\n';
    }
    return text;
}

int UploadHistory::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_entries.size());
}

int UploadHistory::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : HistoryText::columnCount;
}

QVariant UploadHistory::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount()) {
        return {};
    }
    const HistoryEntry& entry = m_entries[index.row()];
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

QVariant UploadHistory::headerData(int section, Qt::Orientation orientation, int role) const
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
