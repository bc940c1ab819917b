#include "ListEntries.h"

#include "LocalName.h"
#include "PathText.h"
#include "TableColumns.h"

#include <QLocale>
#include <QSet>

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

/// In characters. No file system has longer names; to compare the whole of those that a server makes up takes long.
constexpr qsizetype longestComparedName = 4096;

/// Compares as the user's language does. The C locale compares character codes, which is no order for people.
QCollator userCollator()
{
    const QLocale locale = QLocale().collation();
    return QCollator(locale.language() == QLocale::C ? QLocale(QLocale::English, QLocale::UnitedStates) : locale);
}

SortDescriptor firstOf(const QList<SortDescriptor>& descriptors)
{
    return descriptors.isEmpty() ? SortDescriptor{ .key = TableColumns::name } : descriptors.first();
}

/// The key of a name, compared where it is.
struct NameKey {
    const QCollatorSortKey* key;

    friend bool operator<(NameKey left, NameKey right) { return *left.key < *right.key; }
};

} // namespace

ListEntries::ListEntries()
    : m_descriptor(firstOf({}))
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

QStringList ListEntries::namesOf(const PathList& paths) const
{
    QSet<QString> listed;
    for (const ListingEntry& entry : m_contents.entries) {
        listed.insert(localName(entry));
    }
    QStringList names;
    for (qsizetype i = 0; i < paths.size(); ++i) {
        const QString name = PathText::lastPathComponent(paths.at(i));
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
    return std::exchange(m_contents, {});
}

void ListEntries::append(const QList<ListingEntry>& batch)
{
    m_contents.entries.insert(m_contents.entries.end(), batch.begin(), batch.end());
    for (const ListingEntry& entry : batch) {
        m_contents.nameKeys.push_back(m_collator.sortKey(entry.name.left(longestComparedName)));
        m_order.push_back(static_cast<int>(m_order.size()));
    }
}

void ListEntries::mergeAppended()
{
    // What has no such value comes before what has one.
    const auto valueOf
        = [this](auto ListingEntry::*value) { return [this, value](int number) { return arrival(number).*value; }; };
    if (m_descriptor.key == TableColumns::name) {
        mergeAppendedBy([this](int number) { return NameKey{ &m_contents.nameKeys[static_cast<size_t>(number)] }; });
    } else if (m_descriptor.key == TableColumns::size) {
        mergeAppendedBy(valueOf(&ListingEntry::size));
    } else if (m_descriptor.key == TableColumns::type) {
        mergeAppendedBy(valueOf(&ListingEntry::type));
    } else if (m_descriptor.key == TableColumns::date) {
        mergeAppendedBy(valueOf(&ListingEntry::modDate));
    } else {
        mergeAppendedBy(valueOf(&ListingEntry::mode));
    }
}

template <typename Key> void ListEntries::mergeAppendedBy(Key key)
{
    const auto isBefore = [isAscending = m_descriptor.ascending](const auto& left, const auto& right) {
        return isAscending ? left < right : right < left;
    };
    struct Fresh {
        decltype(key(0)) value;
        int number;
    };
    // Values side by side: to look each up in its item whenever two are compared takes longer than all the rest.
    const auto sortedEnd = m_order.begin() + m_sortedCount;
    std::vector<Fresh> fresh;
    fresh.reserve(static_cast<size_t>(m_order.end() - sortedEnd));
    std::transform(sortedEnd, m_order.end(), std::back_inserter(fresh), [&key](int number) {
        return Fresh{ key(number), number };
    });
    std::stable_sort(fresh.begin(), fresh.end(),
                     [&isBefore](const Fresh& left, const Fresh& right) { return isBefore(left.value, right.value); });
    // From the end to the beginning, so that each sorted row moves once; a fresh item goes behind its equals.
    auto from = sortedEnd;
    auto to = m_order.end();
    for (; !fresh.empty(); fresh.pop_back()) {
        const Fresh& item = fresh.back();
        const auto place = std::upper_bound(m_order.begin(), from, item.value,
                                            [&](const auto& value, int row) { return isBefore(value, key(row)); });
        to = std::move_backward(place, from, to);
        from = place;
        *--to = item.number;
    }
    m_sortedCount = static_cast<ptrdiff_t>(m_order.size());
}

void ListEntries::sort(const QList<SortDescriptor>& descriptors)
{
    const SortDescriptor wanted = firstOf(descriptors);
    if (!TableColumns::all.contains(wanted.key)) {
        clear();
        return;
    }
    if (wanted != m_descriptor) {
        m_descriptor = wanted;
        m_sortedCount = 0;
    }
    mergeAppended();
}

bool ListEntries::isSortedBy(const QList<SortDescriptor>& descriptors) const
{
    return firstOf(descriptors) == m_descriptor && m_sortedCount == static_cast<ptrdiff_t>(m_order.size());
}
