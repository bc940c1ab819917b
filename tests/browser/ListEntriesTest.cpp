#include "Entries.h"
#include "Printers.h"
#include "TableColumns.h"

#include <QLocale>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace Qt::StringLiterals;

namespace {

class ListEntriesTest : public ::testing::Test {
protected:
    ListEntriesTest() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }
    ~ListEntriesTest() override { QLocale::setDefault(QLocale::system()); }

    void add(const QList<ListingEntry>& batch)
    {
        m_entries.append(batch);
        m_entries.mergeAppended();
    }
    void addFiles(const QStringList& names)
    {
        for (const QString& name : names) {
            m_entries.append({ fileEntry(name) });
        }
        m_entries.mergeAppended();
    }

    ListEntries m_entries;
};

TEST_F(ListEntriesTest, WithoutDescriptorsTheOrderIsByName)
{
    addFiles({ u"b"_s, u"a"_s });
    EXPECT_EQ(namesOf(m_entries), (QStringList{ u"a"_s, u"b"_s }));

    m_entries.sort({ { .key = u"Size"_s, .ascending = false } });
    m_entries.sort({});
    EXPECT_EQ(namesOf(m_entries), (QStringList{ u"a"_s, u"b"_s }));
}

TEST_F(ListEntriesTest, NamesAreOrderedByTheUsersLanguageAndNotByNumbers)
{
    addFiles({ u"file2"_s, u"B"_s, u"file10"_s, u"z"_s, u"ö"_s, u"a"_s });
    EXPECT_EQ(namesOf(m_entries), (QStringList{ u"a"_s, u"B"_s, u"file10"_s, u"file2"_s, u"ö"_s, u"z"_s }));

    QLocale::setDefault(QLocale(QLocale::Swedish, QLocale::Sweden));
    m_entries = ListEntries();
    addFiles({ u"ö"_s, u"z"_s });
    EXPECT_EQ(namesOf(m_entries), (QStringList{ u"z"_s, u"ö"_s }));

    QLocale::setDefault(QLocale::c());
    m_entries = ListEntries();
    addFiles({ u"B"_s, u"a"_s });
    EXPECT_EQ(namesOf(m_entries), (QStringList{ u"a"_s, u"B"_s }));
}

TEST_F(ListEntriesTest, NamesAreComparedAsFarAsAnyFileSystemsGo)
{
    const QString longest(4095, u'n');
    addFiles({ longest + u'b', longest + u'a' });
    EXPECT_EQ(namesOf(m_entries), (QStringList{ longest + u'a', longest + u'b' }));

    m_entries.clear();
    const QStringList madeUp{ longest + u"nb"_s, longest + u"na"_s };
    addFiles(madeUp);
    EXPECT_EQ(namesOf(m_entries), madeUp);
}

TEST_F(ListEntriesTest, EachKeySortsByItsValueInBothDirections)
{
    ListingEntry one = fileEntry(u"one"_s, 10);
    one.modDate = 3;
    one.mode = 0600;
    ListingEntry two = folderEntry(u"two"_s);
    two.size = 9;
    two.modDate = 2;
    two.mode = 0777;
    ListingEntry three = fileEntry(u"three"_s, 100);
    three.modDate = 1;
    three.type = ListingEntry::linkType;
    three.mode = 0644;
    add({ one, two, three });
    const auto sorted = [this](const QString& key, bool ascending) {
        m_entries.sort({ { .key = key, .ascending = ascending } });
        return namesOf(m_entries).join(u' ');
    };

    EXPECT_EQ(sorted(u"Name"_s, true), u"one three two"_s);
    EXPECT_EQ(sorted(u"Name"_s, false), u"two three one"_s);
    EXPECT_EQ(sorted(u"Size"_s, true), u"two one three"_s);
    EXPECT_EQ(sorted(u"Size"_s, false), u"three one two"_s);
    EXPECT_EQ(sorted(u"Type"_s, true), u"two one three"_s);
    EXPECT_EQ(sorted(u"Type"_s, false), u"three one two"_s);
    EXPECT_EQ(sorted(u"Date"_s, true), u"three two one"_s);
    EXPECT_EQ(sorted(u"Date"_s, false), u"one two three"_s);
    EXPECT_EQ(sorted(u"Mode"_s, true), u"one three two"_s);
    EXPECT_EQ(sorted(u"Mode"_s, false), u"two three one"_s);
}

TEST_F(ListEntriesTest, OnlyTheFirstDescriptorCounts)
{
    add({ fileEntry(u"a"_s, 2), fileEntry(u"b"_s, 1), fileEntry(u"c"_s, 2) });

    m_entries.sort({ { .key = u"Size"_s }, { .key = u"Name"_s, .ascending = false } });

    EXPECT_EQ(namesOf(m_entries), (QStringList{ u"b"_s, u"a"_s, u"c"_s }));
}

TEST_F(ListEntriesTest, EqualItemsKeepTheirOrderInBothDirections)
{
    addFiles({ u"c"_s, u"a"_s, u"b"_s });
    m_entries.sort({ { .key = u"Name"_s, .ascending = false } });

    for (const QString& key : { u"Size"_s, u"Type"_s, u"Date"_s, u"Mode"_s }) {
        for (const bool ascending : { true, false }) {
            m_entries.sort({ { .key = key, .ascending = ascending } });
            EXPECT_EQ(namesOf(m_entries), (QStringList{ u"c"_s, u"b"_s, u"a"_s })) << key.toStdString();
        }
    }
    addFiles({ u"z"_s, u"y"_s });
    EXPECT_EQ(namesOf(m_entries), (QStringList{ u"c"_s, u"b"_s, u"a"_s, u"z"_s, u"y"_s }));
}

TEST_F(ListEntriesTest, BatchesEndAsIfAllHadBeenSortedAgainEachTime)
{
    std::mt19937 random(7);
    for (const QString& key : { u"Name"_s, u"Size"_s }) {
        for (const bool ascending : { true, false }) {
            m_entries = ListEntries();
            m_entries.sort({ { .key = key, .ascending = ascending } });
            QList<ListingEntry> expected;
            for (int batch = 0; batch < 20; ++batch) {
                QList<ListingEntry> entries;
                for (unsigned i = 0; i < random() % 30; ++i) {
                    entries.append(fileEntry(QString::number(random() % 20), random() % 5));
                    entries.last().owner = QString::number(i + 100 * static_cast<unsigned>(batch));
                }
                add(entries);
                expected += entries;
                const auto isBefore = [&](const ListingEntry& left, const ListingEntry& right) {
                    return key == u"Name"_s ? left.name < right.name : left.size < right.size;
                };
                std::stable_sort(expected.begin(), expected.end(),
                                 [&](const ListingEntry& left, const ListingEntry& right) {
                                     return ascending ? isBefore(left, right) : isBefore(right, left);
                                 });
            }

            ASSERT_EQ(m_entries.size(), expected.size());
            for (qsizetype row = 0; row < expected.size(); ++row) {
                EXPECT_EQ(m_entries.at(row), expected[row]) << row;
            }
        }
    }
}

TEST_F(ListEntriesTest, AnUnknownKeyEmptiesTheListAndWhatComesLaterKeepsTheOrder)
{
    m_entries.sort({ { .key = u"Name"_s, .ascending = false } });
    addFiles({ u"a"_s });

    m_entries.sort({ { .key = u"name"_s } });
    EXPECT_TRUE(m_entries.isEmpty());
    addFiles({ u"b"_s, u"c"_s });
    EXPECT_EQ(namesOf(m_entries), (QStringList{ u"c"_s, u"b"_s }));
}

TEST_F(ListEntriesTest, WhatLacksTheKeyComesFirst)
{
    add({ fileEntry(u"a"_s, 0), ListingEntry() });

    m_entries.sort({ { .key = u"Size"_s } });
    EXPECT_EQ(namesOf(m_entries), (QStringList{ QString(), u"a"_s }));
    m_entries.sort({ { .key = u"Name"_s, .ascending = false } });
    EXPECT_EQ(namesOf(m_entries), (QStringList{ u"a"_s, QString() }));
}

TEST_F(ListEntriesTest, AnOrderMadeBesideTheListIsThatOfSortingIt)
{
    std::mt19937 random(3);
    for (int i = 0; i < 3000; ++i) {
        ListingEntry entry = fileEntry(QString::number(random() % 500), static_cast<qint64>(random() % 7));
        entry.modDate = static_cast<qint64>(random() % 7);
        entry.mode = static_cast<int>(random() % 7);
        add({ entry });
    }
    for (const QString& key : TableColumns::all) {
        for (const bool isAscending : { true, false }) {
            const SortDescriptor wanted{ .key = key, .ascending = isAscending };
            ListEntries::PreparedOrder order = m_entries.orderMaker({ wanted })();
            m_entries.sort({ wanted });
            for (int row = 0; row < 3000; ++row) {
                ASSERT_EQ(order.arrivals[static_cast<size_t>(row)], m_entries.arrivalAt(row)) << key.toStdString();
            }
        }
    }
}

TEST_F(ListEntriesTest, SortingTakesAnOrderThatWasMadeForItAndOnlyThatOne)
{
    addFiles({ u"c"_s, u"a"_s, u"b"_s });
    const SortDescriptor bySize{ .key = u"Size"_s };
    const auto prepare = [this, &bySize] {
        ListEntries::PreparedOrder order = m_entries.orderMaker({ bySize })();
        std::ranges::reverse(order.arrivals); // No order that sorting would make.
        m_entries.setPreparedOrder(std::move(order));
    };

    prepare();
    m_entries.sort({ bySize });
    EXPECT_EQ(namesOf(m_entries), (QStringList{ u"c"_s, u"b"_s, u"a"_s }));

    m_entries.sort({});
    prepare();
    m_entries.sort({ { .key = u"Date"_s } });
    EXPECT_EQ(namesOf(m_entries), (QStringList{ u"a"_s, u"b"_s, u"c"_s }));

    prepare();
    m_entries.clear();
    addFiles({ u"f"_s, u"e"_s, u"d"_s });
    m_entries.sort({ bySize });
    EXPECT_EQ(namesOf(m_entries), (QStringList{ u"f"_s, u"e"_s, u"d"_s }));
}

TEST_F(ListEntriesTest, WhatComesAfterAnOrderWasMadeHasItsPlaceInIt)
{
    add({ fileEntry(u"a"_s, 4), fileEntry(u"b"_s, 2) });
    const SortDescriptor bySize{ .key = u"Size"_s };
    m_entries.setPreparedOrder(m_entries.orderMaker({ bySize })());
    add({ fileEntry(u"c"_s, 3), fileEntry(u"d"_s, 1), fileEntry(u"e"_s, 4) });

    m_entries.sort({ bySize });

    EXPECT_EQ(namesOf(m_entries), (QStringList{ u"d"_s, u"b"_s, u"c"_s, u"a"_s, u"e"_s }));
    EXPECT_TRUE(m_entries.isSortedBy({ bySize }));
}

TEST_F(ListEntriesTest, AnOrderMadeBeforeOthersCameIsNotMadeAgain)
{
    addFiles({ u"c"_s, u"a"_s, u"b"_s });
    const SortDescriptor bySize{ .key = u"Size"_s };
    ListEntries::PreparedOrder order = m_entries.orderMaker({ bySize })();
    std::ranges::reverse(order.arrivals); // No order that sorting would make.
    m_entries.setPreparedOrder(std::move(order));
    addFiles({ u"d"_s });

    m_entries.sort({ bySize });

    EXPECT_EQ(namesOf(m_entries), (QStringList{ u"c"_s, u"b"_s, u"a"_s, u"d"_s }));
}

TEST_F(ListEntriesTest, WhatMakesAnOrderNeedsTheListNoMore)
{
    addFiles({ u"b"_s, u"c"_s, u"a"_s });
    const auto makeByName = m_entries.orderMaker({ { .key = u"Name"_s, .ascending = false } });
    const auto makeBySize = m_entries.orderMaker({ { .key = u"Size"_s } });
    m_entries.clear();
    addFiles({ u"other"_s });

    EXPECT_EQ(makeByName().arrivals, (std::vector{ 1, 0, 2 }));
    EXPECT_EQ(makeBySize().arrivals, (std::vector{ 2, 0, 1 }));
}

TEST_F(ListEntriesTest, ContainsComparesNamesExactly)
{
    addFiles({ u"photos"_s, u"é"_s });

    EXPECT_TRUE(m_entries.contains(u"photos"_s));
    EXPECT_FALSE(m_entries.contains(u"Photos"_s));
    EXPECT_FALSE(m_entries.contains(u"photo"_s));
    EXPECT_FALSE(m_entries.contains(u"e\u0301"_s));
    m_entries.clear();
    EXPECT_FALSE(m_entries.contains(u"photos"_s));
}

} // namespace
