#include "ListEntries.h"

#include "LocalName.h"
#include "PathText.h"
#include "TableColumns.h"
#include "TreePath.h"

#include <QSet>

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

namespace {

/// In characters. No file system has longer names; to compare the whole of those that a server makes up takes long.
constexpr qsizetype longestComparedName = 4096;

/// An item that is being sorted. Values lie side by side: to look each up in its item whenever two are compared takes
/// longer than all the rest.
template <typename Value> struct Fresh {
    Value value;
    int number;
};

template <typename Value> auto comparison(bool isAscending)
{
    return [isAscending](const Value& left, const Value& right) { return isAscending ? left < right : right < left; };
}

/// The items with the numbers from @p begin to @p end, sorted by the values that @p key answers of them. Equal ones
/// keep their order.
template <typename Key, typename Iterator> auto sortedBy(const Key& key, Iterator begin, Iterator end, bool isAscending)
{
    using Value = decltype(key(0));
    std::vector<Fresh<Value>> items;
    items.reserve(static_cast<size_t>(end - begin));
    std::transform(begin, end, std::back_inserter(items), [&key](int number) {
        return Fresh<Value>{ key(number), number };
    });
    const auto isBefore = [isBefore = comparison<Value>(isAscending)](const auto& left, const auto& right) {
        return isBefore(left.value, right.value);
    };
    if (!std::is_sorted(items.begin(), items.end(), isBefore)) { // Many servers list by name.
        std::stable_sort(items.begin(), items.end(), isBefore);
    }
    return items;
}

/// Has @p key put @p order in order.
template <typename Key> std::function<ListEntries::PreparedOrder()> makerOf(ListEntries::PreparedOrder order, Key key)
{
    return [order = std::move(order), key = std::move(key)]() mutable {
        std::vector<int>& numbers = order.arrivals;
        const auto items = sortedBy(key, numbers.begin(), numbers.end(), order.descriptor.ascending);
        std::transform(items.begin(), items.end(), numbers.begin(), [](const auto& item) { return item.number; });
        return std::move(order);
    };
}

/// As std::upper_bound() does, but from the end, in steps that double: what comes next often belongs there.
template <typename Iterator, typename Value, typename IsBefore>
Iterator behindEquals(Iterator begin, Iterator end, const Value& value, const IsBefore& isBefore)
{
    for (ptrdiff_t step = 1; begin != end; step *= 2) {
        const Iterator probe = end - std::min(step, end - begin);
        if (!isBefore(value, *probe)) {
            return std::upper_bound(std::next(probe), end, value, isBefore);
        }
        end = probe;
    }
    return begin;
}

SortDescriptor firstOf(const QList<SortDescriptor>& descriptors)
{
    return descriptors.isEmpty() ? SortDescriptor{ .key = TableColumns::name } : descriptors.first();
}

} // namespace

ListEntries::ListEntries()
    : m_descriptor(firstOf({}))
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

QStringList ListEntries::namesOf(const PathList& paths) const
{
    QSet<QString> listed;
    for (const ListingEntry& entry : m_contents.entries) {
        listed.insert(localName(entry));
    }
    QStringList names;
    for (qsizetype i = 0; i < paths.size(); ++i) {
        const QString path = paths.at(i);
        if (!TreePath::relative(path).isNull()) {
            continue; // It goes into a folder there.
        }
        const QString name = PathText::lastPathComponent(path);
        if (listed.remove(name)) {
            names.append(name);
        }
    }
    return names;
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
    m_sortedCount = 0;
    ++m_revision;
    return std::exchange(m_contents, {});
}

void ListEntries::append(const QList<ListingEntry>& batch)
{
    m_contents.entries.insert(m_contents.entries.end(), batch.begin(), batch.end());
    for (const ListingEntry& entry : batch) {
        m_contents.nameKeys.append(m_collator.keyOf(QStringView(entry.name).left(longestComparedName)));
        m_order.push_back(static_cast<int>(m_order.size()));
    }
}

template <typename Use> auto ListEntries::withKeyOf(const QString& column, Use use) const
{
    // What has no such value comes before what has one.
    const auto valueOf
        = [this](auto ListingEntry::*value) { return [this, value](int number) { return arrival(number).*value; }; };
    if (column == TableColumns::name) {
        return use([this](int number) { return m_contents.nameKeys[number]; });
    }
    if (column == TableColumns::size) {
        return use(valueOf(&ListingEntry::size));
    }
    if (column == TableColumns::type) {
        return use(valueOf(&ListingEntry::type));
    }
    if (column == TableColumns::date) {
        return use(valueOf(&ListingEntry::modDate));
    }
    return use(valueOf(&ListingEntry::mode));
}

void ListEntries::mergeAppended()
{
    withKeyOf(m_descriptor.key, [this](const auto& key) { mergeAppendedBy(key); });
}

template <typename Key> void ListEntries::mergeAppendedBy(Key key)
{
    const auto sortedEnd = m_order.begin() + m_sortedCount;
    auto fresh = sortedBy(key, sortedEnd, m_order.end(), m_descriptor.ascending);
    // From the end to the beginning, so that each sorted row moves once; a fresh item goes behind its equals.
    const auto isBefore = comparison<decltype(key(0))>(m_descriptor.ascending);
    auto from = sortedEnd;
    auto to = m_order.end();
    for (; !fresh.empty(); fresh.pop_back()) {
        const auto& item = fresh.back();
        const auto place = behindEquals(m_order.begin(), from, item.value,
                                        [&](const auto& value, int row) { return isBefore(value, key(row)); });
        to = std::move_backward(place, from, to);
        from = place;
        *--to = item.number;
    }
    m_sortedCount = static_cast<ptrdiff_t>(m_order.size());
}

std::function<ListEntries::PreparedOrder()> ListEntries::orderMaker(const QList<SortDescriptor>& descriptors) const
{
    const SortDescriptor wanted = firstOf(descriptors);
    PreparedOrder order{ .descriptor = wanted, .revision = m_revision, .arrivals = m_order };
    if (wanted.key == TableColumns::name) {
        return makerOf(std::move(order), [keys = m_contents.nameKeys](int number) { return keys[number]; });
    }
    return withKeyOf(wanted.key, [this, &order](const auto& key) {
        std::vector<decltype(key(0))> values;
        values.reserve(m_order.size());
        for (int number = 0; number < static_cast<int>(m_order.size()); ++number) {
            values.push_back(key(number));
        }
        return makerOf(std::move(order),
                       [values = std::move(values)](int number) { return values[static_cast<size_t>(number)]; });
    });
}

void ListEntries::sort(const QList<SortDescriptor>& descriptors)
{
    const SortDescriptor wanted = firstOf(descriptors);
    if (!TableColumns::all.contains(wanted.key)) {
        clear();
        return;
    }
    if (auto prepared = std::exchange(m_prepared, std::nullopt);
        prepared && prepared->descriptor == wanted && prepared->revision == m_revision) {
        const auto sorted = static_cast<ptrdiff_t>(prepared->arrivals.size());
        prepared->arrivals.resize(m_order.size());
        std::iota(prepared->arrivals.begin() + sorted, prepared->arrivals.end(), static_cast<int>(sorted));
        m_order = std::move(prepared->arrivals);
        m_sortedCount = sorted;
    } else if (wanted != m_descriptor) {
        m_sortedCount = 0;
    }
    m_descriptor = wanted;
    ++m_revision;
    mergeAppended();
}

bool ListEntries::isSortedBy(const QList<SortDescriptor>& descriptors) const
{
    return firstOf(descriptors) == m_descriptor && m_sortedCount == static_cast<ptrdiff_t>(m_order.size());
}
