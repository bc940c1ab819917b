#include "ListEntries.h"

#include "TableColumns.h"

#include <QLocale>

#include <algorithm>
#include <utility>

namespace {

/// Compares as the user's language does. The C locale compares character codes, which is no order for people.
QCollator userCollator()
{
    const QLocale locale = QLocale().collation();
    return QCollator(locale.language() == QLocale::C ? QLocale(QLocale::English, QLocale::UnitedStates) : locale);
}

} // namespace

ListEntries::ListEntries()
    : m_descriptor({ .key = TableColumns::name })
    , m_collator(userCollator())
{
}

std::vector<int> ListEntries::rowsOfArrivals() const
{
    std::vector<int> rows(m_order.size());
    for (size_t row = 0; row < m_order.size(); ++row) {
        rows[static_cast<size_t>(m_order[row])] = static_cast<int>(row);
    }
    return rows;
}

int ListEntries::rowOf(const QString& name) const
{
    const auto found = std::find_if(m_order.begin(), m_order.end(),
                                    [this, &name](int number) { return arrival(number).name == name; });
    return found == m_order.end() ? -1 : static_cast<int>(found - m_order.begin());
}

ListEntries::Contents ListEntries::takeContents()
{
    m_order.clear();
    m_settled = 0;
    return std::exchange(m_contents, {});
}

void ListEntries::append(const QList<ListingEntry>& batch)
{
    m_contents.entries.insert(m_contents.entries.end(), batch.begin(), batch.end());
    for (const ListingEntry& entry : batch) {
        m_contents.nameKeys.push_back(m_collator.sortKey(entry.name));
        m_order.push_back(static_cast<int>(m_order.size()));
    }
}

void ListEntries::settle()
{
    if (!isSortable()) {
        clear();
        return;
    }
    const Comparator isBefore = comparator();
    const auto settledEnd = m_order.begin() + m_settled;
    std::stable_sort(settledEnd, m_order.end(), isBefore);
    std::vector<int> fresh(settledEnd, m_order.end());
    // From the end to the beginning, so that each settled row moves once; a fresh item goes behind its equals.
    auto from = settledEnd;
    auto to = m_order.end();
    for (; !fresh.empty(); fresh.pop_back()) {
        const int item = fresh.back();
        const auto place = std::upper_bound(m_order.begin(), from, item, isBefore);
        to = std::move_backward(place, from, to);
        from = place;
        *--to = item;
    }
    m_settled = static_cast<ptrdiff_t>(m_order.size());
}

void ListEntries::sort(const QList<SortDescriptor>& descriptors)
{
    m_descriptor = descriptors.isEmpty() ? SortDescriptor{ .key = TableColumns::name } : descriptors.first();
    m_settled = 0;
    settle();
}

bool ListEntries::isSortable() const
{
    return TableColumns::all.contains(m_descriptor.key);
}

ListEntries::Comparator ListEntries::comparator() const
{
    Comparator ascending = ascendingComparator();
    if (m_descriptor.ascending) {
        return ascending;
    }
    return [ascending = std::move(ascending)](int left, int right) { return ascending(right, left); };
}

ListEntries::Comparator ListEntries::ascendingComparator() const
{
    if (m_descriptor.key == TableColumns::name) {
        return [this](int left, int right) {
            return m_contents.nameKeys[static_cast<size_t>(left)] < m_contents.nameKeys[static_cast<size_t>(right)];
        };
    }
    // What has no such value comes before what has one.
    const auto byValue = [this](auto ListingEntry::*key) -> Comparator {
        return [this, key](int left, int right) { return arrival(left).*key < arrival(right).*key; };
    };
    if (m_descriptor.key == TableColumns::size) {
        return byValue(&ListingEntry::size);
    }
    if (m_descriptor.key == TableColumns::type) {
        return byValue(&ListingEntry::type);
    }
    if (m_descriptor.key == TableColumns::date) {
        return byValue(&ListingEntry::modDate);
    }
    return byValue(&ListingEntry::mode);
}
