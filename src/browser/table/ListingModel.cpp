#include "ListingModel.h"

#include "CellValue.h"
#include "DrawnIcons.h"
#include "FileIcons.h"
#include "PlainToolTip.h"
#include "TableColumns.h"
#include "VisibleText.h"

#include <QFontDatabase>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// The icon of the cell, and one for what has none there.
QVariant iconOf(const ListingEntry& entry)
{
    QVariant icon = cellValue(entry, TableColumns::type);
    if (icon.isValid()) {
        return icon;
    }
    return entry.type == ListingEntry::linkType ? drawnLinkIcon() : drawnSpecialIcon();
}

} // namespace

void ListingModel::clear()
{
    beginResetModel();
    m_remains.take(m_entries.takeContents().entries);
    endResetModel();
}

void ListingModel::add(const QList<ListingEntry>& batch)
{
    if (batch.isEmpty()) {
        return;
    }
    const int end = rowCount();
    beginInsertRows({}, end, end + static_cast<int>(batch.size()) - 1);
    m_entries.append(batch);
    endInsertRows();
    reorder([this] { m_entries.mergeAppended(); });
}

void ListingModel::sortListEntriesWithDescriptors(const QList<SortDescriptor>& descriptors)
{
    if (m_entries.isSortedBy(descriptors)) {
        return;
    }
    if (descriptors.isEmpty() || TableColumns::all.contains(descriptors.first().key)) {
        reorder([this, &descriptors] { m_entries.sort(descriptors); });
    } else {
        beginResetModel();
        m_entries.sort(descriptors);
        endResetModel();
    }
}

void ListingModel::prepareSorting(const QList<SortDescriptor>& descriptors, std::function<void()> then)
{
    const auto order = std::make_shared<ListEntries::PreparedOrder>();
    m_preparation = std::make_unique<WorkerCall>([order, make = m_entries.orderMaker(descriptors)] {
        *order = make();
        return true;
    });
    connect(m_preparation.get(), &WorkerCall::answered, this, [this, order, then = std::move(then)] {
        m_entries.setPreparedOrder(std::move(*order));
        then();
    });
}

template <typename Change> void ListingModel::reorder(Change change)
{
    if (persistentIndexList().isEmpty() && !m_entries.isEmpty()) {
        change(); // Nobody has to be moved along, which would take views time by the number of rows.
        emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
        return;
    }
    emit layoutAboutToBeChanged({}, VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    std::vector<int> arrivals;
    for (const QModelIndex& index : before) {
        arrivals.push_back(m_entries.arrivalAt(index.row()));
    }
    change();
    QModelIndexList after;
    if (!before.isEmpty()) {
        const std::vector<int> rows = m_entries.rowsOfArrivals();
        for (qsizetype i = 0; i < before.size(); ++i) {
            const int arrival = arrivals[static_cast<size_t>(i)];
            after.append(createIndex(rows[static_cast<size_t>(arrival)], before[i].column()));
        }
    }
    changePersistentIndexList(before, after);
    emit layoutChanged({}, VerticalSortHint);
}

int ListingModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(numberOfRowsInTableView());
}

int ListingModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(TableColumns::all.size());
}

QVariant ListingModel::objectValueForTableColumn(const QString& column, qsizetype row) const
{
    return row >= 0 && row < numberOfRowsInTableView() ? cellValue(m_entries.at(row), column) : QVariant();
}

QVariant ListingModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_entries.size()) {
        return {};
    }
    const ListingEntry& entry = m_entries.at(index.row());
    const QString& column = TableColumns::all[index.column()];
    const bool isType = column == TableColumns::type;
    switch (role) {
    case Qt::DisplayRole:
        if (isType) {
            return {};
        }
        return column == TableColumns::name ? visibleText(entry.name) : objectValueForTableColumn(column, index.row());
    case Qt::DecorationRole:
        return isType ? iconOf(entry) : QVariant();
    case Qt::AccessibleTextRole:
        return isType ? describe(entry, column) : QVariant();
    case Qt::AccessibleDescriptionRole:
        return column == TableColumns::name && !entry.link.isEmpty() ? describe(entry, column) : QVariant();
    case Qt::ToolTipRole:
        return plainToolTip(describe(entry, column).toString());
    case Qt::TextAlignmentRole:
        return static_cast<int>((column == TableColumns::size ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    case Qt::FontRole:
        return column == TableColumns::mode ? QFontDatabase::systemFont(QFontDatabase::FixedFont) : QVariant();
    default:
        return {};
    }
}

Qt::ItemFlags ListingModel::flags(const QModelIndex& index) const
{
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    if (index.isValid()) {
        flags.setFlag(Qt::ItemIsDragEnabled);
        flags.setFlag(Qt::ItemIsSelectable, shouldSelectRow(index.row()));
    }
    return flags;
}

QVariant ListingModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount()) {
        return {};
    }
    const QString& column = TableColumns::all[section];
    if (role == Qt::DisplayRole) {
        return column;
    }
    if (role == Qt::TextAlignmentRole) {
        const Qt::Alignment side = column == TableColumns::size ? Qt::AlignRight
            : column == TableColumns::type                      ? Qt::AlignHCenter
                                                                : Qt::AlignLeft;
        return static_cast<int>(side | Qt::AlignVCenter);
    }
    return {};
}

QVariant ListingModel::describe(const ListingEntry& entry, const QString& column) const
{
    if (column == TableColumns::name) {
        const QString name = visibleText(entry.name);
        return entry.link.isEmpty() ? name : u"%1 → %2"_s.arg(name, visibleText(entry.link));
    }
    if (column == TableColumns::type) {
        switch (entry.type.value_or(0)) {
        case ListingEntry::folderType:
            return u"Folder"_s;
        case ListingEntry::plainFileType:
            return FileIcons::kindOfFileNamed(entry.name);
        case ListingEntry::linkType:
            return u"Link"_s;
        default:
            return u"Special item"_s;
        }
    }
    return {};
}
