#pragma once

#include "GradualRelease.h"
#include "ListEntries.h"
#include "WorkerCall.h"

#include <QAbstractTableModel>

#include <functional>
#include <memory>

/// The listing as the model of a table view. A selection stays on its items while others come and while the order
/// changes. Belongs to the main thread.
class ListingModel final : public QAbstractTableModel {
    Q_OBJECT

public:
    using QAbstractTableModel::QAbstractTableModel;

    const ListEntries& entries() const { return m_entries; }
    void clear();
    /// Adds @p batch at the places where the present order has its items.
    void add(const QList<ListingEntry>& batch);
    void sortListEntriesByNameAscending() { sortListEntriesWithDescriptors({}); }
    /// Sorts by the first of @p descriptors, by name without one; see ListEntries::sort().
    void sortListEntriesWithDescriptors(const QList<SortDescriptor>& descriptors);

    /// Makes the order for the same call beside the loop, so that the call finds it when the list is still as it is.
    /// Then @p then is called, from the loop, unless another order is wanted meanwhile.
    void prepareSorting(const QList<SortDescriptor>& descriptors, std::function<void()> then);

    qsizetype numberOfRowsInTableView() const { return m_entries.size(); }
    /// What the column titled @p column shows in @p row; invalid where there is nothing to show.
    QVariant objectValueForTableColumn(const QString& column, qsizetype row) const;
    /// In device-independent pixels.
    static double heightOfRow(qsizetype /*row*/) { return 30.0; }
    static bool shouldSelectRow(qsizetype /*row*/) { return true; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    template <typename Change> void reorder(Change change);
    QVariant describe(const ListingEntry& entry, const QString& column) const;

    ListEntries m_entries;
    GradualRelease m_remains; ///< Of lists that were cleared.
    std::unique_ptr<WorkerCall> m_preparation; ///< The last one; it may be over.
};
