#include "ListingModel.h"

#include "DateText.h"
#include "Entries.h"
#include "Printers.h"
#include "TableColumns.h"

#include <QAbstractItemModelTester>
#include <QDateTime>
#include <QIcon>
#include <QImage>
#include <QPersistentModelIndex>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class ListingModelTest : public ::testing::Test {
protected:
    QVariant data(int row, const QString& column, int role = Qt::DisplayRole) const
    {
        for (int section = 0; section < m_model.columnCount(); ++section) {
            if (m_model.headerData(section, Qt::Horizontal, Qt::DisplayRole) == column) {
                return m_model.data(m_model.index(row, section), role);
            }
        }
        ADD_FAILURE() << "no such column";
        return {};
    }

    ListingModel m_model;
    QAbstractItemModelTester m_tester{ &m_model, QAbstractItemModelTester::FailureReportingMode::Fatal };
};

TEST_F(ListingModelTest, HasFiveColumnsAndAtFirstNoRows)
{
    QStringList titles;
    for (int section = 0; section < m_model.columnCount(); ++section) {
        titles.append(m_model.headerData(section, Qt::Horizontal, Qt::DisplayRole).toString());
    }

    EXPECT_EQ(titles, (QStringList{ u"Name"_s, u"Size"_s, u"Type"_s, u"Date"_s, u"Mode"_s }));
    EXPECT_EQ(m_model.rowCount(), 0);
}

TEST_F(ListingModelTest, ItemsStayWithThemselvesWhateverTheirRow)
{
    m_model.add({ fileEntry(u"m"_s, 1), fileEntry(u"k"_s, 2) });
    const QPersistentModelIndex m = m_model.index(1, 0);
    ASSERT_EQ(m.data(), QVariant(u"m"_s));

    m_model.add({ fileEntry(u"a"_s), fileEntry(u"z"_s, 3), fileEntry(u"l"_s) });
    EXPECT_EQ(m.row(), 3);
    EXPECT_EQ(m.data(), QVariant(u"m"_s));
    m_model.sortListEntriesWithDescriptors({ { .key = u"Size"_s, .ascending = false } });
    EXPECT_EQ(m.data(), QVariant(u"m"_s));
    EXPECT_EQ(m.row(), 2);
    m_model.clear();
    EXPECT_FALSE(m.isValid());
}

TEST_F(ListingModelTest, AnUnknownKeyLeavesNoRowsOfThoseThatThereWere)
{
    m_model.add({ fileEntry(u"m"_s) });
    const QPersistentModelIndex m = m_model.index(0, 0);

    m_model.sortListEntriesWithDescriptors({ { .key = u"Colour"_s } });
    EXPECT_EQ(m_model.rowCount(), 0);
    EXPECT_FALSE(m.isValid());

    m_model.add({ fileEntry(u"n"_s) });
    EXPECT_EQ(data(0, u"Name"_s), QVariant(u"n"_s));
}

TEST_F(ListingModelTest, EveryColumnButThatOfTheIconsShowsItsText)
{
    ListingEntry entry = fileEntry(u"a.txt"_s, 1'234'567);
    const QDateTime moment(QDate(2024, 1, 9), QTime(15, 4));
    entry.modDate = moment.toMSecsSinceEpoch();
    m_model.add({ entry });

    EXPECT_EQ(data(0, u"Name"_s), QVariant(u"a.txt"_s));
    EXPECT_EQ(data(0, u"Size"_s), QVariant(u"1.2 MB"_s));
    EXPECT_EQ(data(0, u"Type"_s), QVariant());
    EXPECT_EQ(data(0, u"Date"_s), QVariant(shortDateShortTimeText(moment)));
    EXPECT_EQ(data(0, u"Mode"_s), QVariant(u"-rw-r--r-- "_s));
}

TEST_F(ListingModelTest, NamesShowWhatWouldActUnseen)
{
    m_model.add({ fileEntry(u"gpj\u202e.\x1b"_s) });

    EXPECT_EQ(data(0, u"Name"_s), QVariant(u"gpj⟨U+202E⟩.␛"_s));
}

TEST_F(ListingModelTest, ToolTipsTakeNothingForMarkup)
{
    ListingEntry link = fileEntry(u"<b>x</b>"_s);
    link.link = u"<img src=y>"_s;
    m_model.add({ link });

    const QString toolTip = data(0, u"Name"_s, Qt::ToolTipRole).toString();

    EXPECT_TRUE(toolTip.contains(u"&lt;b&gt;x&lt;/b&gt; → &lt;img src=y&gt;"_s)) << toolTip.toStdString();
    EXPECT_EQ(data(0, u"Name"_s, Qt::AccessibleDescriptionRole), QVariant(u"<b>x</b> → <img src=y>"_s));
}

TEST_F(ListingModelTest, TheTypeIsAlsoTold)
{
    ListingEntry link = fileEntry(u"c"_s);
    link.type = ListingEntry::linkType;
    m_model.add({ folderEntry(u"a"_s), fileEntry(u"b.txt"_s), link });

    EXPECT_EQ(data(0, u"Type"_s, Qt::AccessibleTextRole), QVariant(u"Folder"_s));
    EXPECT_FALSE(data(1, u"Type"_s, Qt::AccessibleTextRole).toString().isEmpty());
    EXPECT_EQ(data(2, u"Type"_s, Qt::AccessibleTextRole), QVariant(u"Link"_s));
    EXPECT_TRUE(data(0, u"Type"_s).toString().isEmpty());
}

TEST_F(ListingModelTest, LinksAndSpecialItemsHaveIconsOfTheirOwn)
{
    ListingEntry link = fileEntry(u"b"_s);
    link.type = ListingEntry::linkType;
    ListingEntry special = fileEntry(u"c"_s);
    special.type = 1;
    m_model.add({ fileEntry(u"a"_s), link, special });
    const auto picture
        = [this](int row) { return data(row, u"Type"_s, Qt::DecorationRole).value<QIcon>().pixmap(20).toImage(); };

    EXPECT_FALSE(picture(1).isNull());
    EXPECT_NE(picture(0), picture(1));
    EXPECT_NE(picture(1), picture(2));
    EXPECT_FALSE(m_model.objectValueForTableColumn(u"Type"_s, 1).isValid());
}

TEST_F(ListingModelTest, AnOrderThatNobodyFollowsIsToldAsNewContents)
{
    m_model.add({ fileEntry(u"b"_s), fileEntry(u"a"_s) });
    const QSignalSpy layouts(&m_model, &QAbstractItemModel::layoutChanged);
    const QSignalSpy contents(&m_model, &QAbstractItemModel::dataChanged);

    m_model.sortListEntriesWithDescriptors({ { .key = TableColumns::name, .ascending = false } });

    EXPECT_EQ(layouts.size(), 0);
    ASSERT_EQ(contents.size(), 1);
    EXPECT_EQ(contents[0][0].toModelIndex(), m_model.index(0, 0));
    EXPECT_EQ(contents[0][1].toModelIndex(), m_model.index(1, 4));

    const QPersistentModelIndex follower = m_model.index(0, 0);
    m_model.sortListEntriesWithDescriptors({});
    EXPECT_EQ(layouts.size(), 1);
    EXPECT_EQ(follower.row(), 1);
}

} // namespace
