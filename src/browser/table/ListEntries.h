#pragma once

#include "ListingEntry.h"
#include "NameKeys.h"
#include "PathList.h"
#include "SortDescriptor.h"

#include <QList>

#include <deque>
#include <functional>
#include <optional>
#include <vector>

/// The items of a listing in the order in which a table shows them. 100,000 of them stay quick: an item is stored once,
/// as it arrived, with the key by which its name is sorted; the order is a list of numbers.
///
/// An item keeps the number of its arrival, whatever its row, until the list is cleared.
class ListEntries {
public:
    ListEntries();

    qsizetype size() const { return static_cast<qsizetype>(m_order.size()); }
    bool isEmpty() const { return m_order.empty(); }
    /// @p row: from 0 to size() - 1.
    const ListingEntry& at(qsizetype row) const { return arrival(arrivalAt(row)); }
    int arrivalAt(qsizetype row) const { return m_order[static_cast<size_t>(row)]; }
    const ListingEntry& arrival(int number) const { return m_contents.entries[static_cast<size_t>(number)]; }
    /// The row of each arrival, by the arrivals' numbers.
    std::vector<int> rowsOfArrivals() const;
    /// The first row whose item has exactly this name; -1 without one.
    int rowOf(const QString& name) const;
    bool contains(const QString& name) const { return rowOf(name) >= 0; }
    /// The names of the local files at @p paths that some item has, each once, in the order of the paths.
    QStringList namesOf(const PathList& paths) const;

    void clear() { takeContents(); }
    /// What takes time to destroy when it is large.
    struct Contents {
        std::deque<ListingEntry> entries;
        NameKeys nameKeys;
    };
    /// Clears the list and answers what it held.
    Contents takeContents();
    /// Puts @p batch at the end, in its order. The list is sorted again after mergeAppended().
    void append(const QList<ListingEntry>& batch);
    /// Merges the appended items in. The result is that of sorting the whole list by its present descriptor.
    void mergeAppended();
    /// Sorts by the first of @p descriptors, by name without one. Items that compare as equal keep their order. A key
    /// that is no column's title leaves the list empty, and what comes later in its present order.
    void sort(const QList<SortDescriptor>& descriptors);
    /// The order that sort() would make of the list as it is.
    struct PreparedOrder {
        SortDescriptor descriptor;
        quint64 revision = 0; ///< The list's.
        std::vector<int> arrivals; ///< Row by row.
    };
    /// What makes that order. It has all that it uses, and may be called in another thread, once, whatever becomes of
    /// the list.
    std::function<PreparedOrder()> orderMaker(const QList<SortDescriptor>& descriptors) const;
    /// Has the next sort() take @p order instead of making it, provided that it is about that one and this list. What
    /// has been appended since then comes at its place in it.
    void setPreparedOrder(PreparedOrder order) { m_prepared = std::move(order); }
    /// Whether sort() would change nothing.
    bool isSortedBy(const QList<SortDescriptor>& descriptors) const;

private:
    /// Calls @p use with a function that answers the value of an arrival that @p column shows.
    template <typename Use> auto withKeyOf(const QString& column, Use use) const;
    /// @p key answers the value of an arrival that the rows are sorted by.
    template <typename Key> void mergeAppendedBy(Key key);

    Contents m_contents; ///< In the order of their arrival. What has come is never moved by what comes.
    std::vector<int> m_order; ///< Row by row the number of an arrival.
    ptrdiff_t m_sortedCount = 0; ///< How many rows at the beginning are sorted.
    quint64 m_revision = 0; ///< Another one whenever the list was cleared or sorted.
    std::optional<PreparedOrder> m_prepared;
    SortDescriptor m_descriptor;
    NameCollator m_collator;
};
