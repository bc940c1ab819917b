#include "DragDropView.h"
#include "ListingTable.h"
#include "LocalPath.h"
#include "QueuedFilesView.h"
#include "ViewControllerTest.h"

#include <QAction>
#include <QHeaderView>
#include <QHelpEvent>
#include <QTest>
#include <QToolTip>

namespace {

class DestinationTableTest : public ViewControllerTest {
protected:
    static ListingEntry entry(const QString& name, int type = ListingEntry::plainFileType)
    {
        ListingEntry entry;
        entry.name = name;
        entry.type = type;
        entry.size = 5;
        return entry;
    }
    ListingTable& table() { return control<ListingTable>("destinationListingTable"); }
    QStringList names() const
    {
        QStringList names;
        for (qsizetype row = 0; row < m_controller->listing().model().numberOfRowsInTableView(); ++row) {
            names.append(m_controller->listing().model().objectValueForTableColumn(u"Name"_s, row).toString());
        }
        return names;
    }
};

TEST_F(DestinationTableTest, AnEmptyListingHasNoRowsAndShowsNothing)
{
    EXPECT_EQ(m_controller->listing().model().numberOfRowsInTableView(), 0);
    for (const QString& column : { u"Name"_s, u"Size"_s, u"Type"_s, u"Date"_s, u"Mode"_s }) {
        EXPECT_FALSE(m_controller->listing().model().objectValueForTableColumn(column, 0).isValid());
    }
}

TEST_F(DestinationTableTest, TheRowAfterTheLastShowsNothing)
{
    m_controller->addListEntries({ entry(u"a"_s) });

    EXPECT_EQ(m_controller->listing().model().objectValueForTableColumn(u"Name"_s, 0), QVariant(u"a"_s));
    EXPECT_FALSE(m_controller->listing().model().objectValueForTableColumn(u"Name"_s, 1).isValid());
    EXPECT_FALSE(m_controller->listing().model().objectValueForTableColumn(u"Owner"_s, 0).isValid());
}

TEST_F(DestinationTableTest, EntriesJoinAtOnceInTheTablesOrder)
{
    m_controller->addListEntries({ entry(u"b"_s), entry(u"a"_s) });
    m_controller->addListEntries({ entry(u"."_s), entry(u"b"_s) });
    EXPECT_EQ(names(), (QStringList{ u"."_s, u"a"_s, u"b"_s, u"b"_s }));
    EXPECT_EQ(table().model()->rowCount(), 4);

    table().horizontalHeader()->setSortIndicator(0, Qt::DescendingOrder);
    m_controller->addListEntries({ entry(u"c"_s) });
    EXPECT_EQ(names(), (QStringList{ u"c"_s, u"b"_s, u"b"_s, u"a"_s, u"."_s }));
}

TEST_F(DestinationTableTest, TheOrderSurvivesARefresh)
{
    table().horizontalHeader()->setSortIndicator(0, Qt::DescendingOrder);
    m_controller->listFTPDestination();

    m_controller->addListEntries({ entry(u"a"_s), entry(u"b"_s) });

    EXPECT_EQ(names(), (QStringList{ u"b"_s, u"a"_s }));
}

TEST_F(DestinationTableTest, SortingByNameOrByDescriptorsReordersTheRows)
{
    m_controller->addListEntries({ entry(u"a"_s), entry(u"f"_s, ListingEntry::folderType), entry(u"z"_s) });

    m_controller->listing().model().sortListEntriesWithDescriptors({ { .key = u"Type"_s } });
    EXPECT_EQ(names(), (QStringList{ u"f"_s, u"a"_s, u"z"_s }));
    m_controller->listing().model().sortListEntriesWithDescriptors({ { .key = u"Type"_s, .ascending = false } });
    EXPECT_EQ(names(), (QStringList{ u"a"_s, u"z"_s, u"f"_s }));
    m_controller->listing().model().sortListEntriesByNameAscending();
    EXPECT_EQ(names(), (QStringList{ u"a"_s, u"f"_s, u"z"_s }));
    m_controller->listing().model().sortListEntriesWithDescriptors({});
    EXPECT_EQ(names(), (QStringList{ u"a"_s, u"f"_s, u"z"_s }));
    m_controller->listing().model().sortListEntriesWithDescriptors({ { .key = u"Owner"_s } });
    EXPECT_EQ(names(), QStringList());
}

TEST_F(DestinationTableTest, EveryRowIsThirtyHighAndSelectable)
{
    EXPECT_EQ(m_controller->listing().model().heightOfRow(0), 30.0);
    EXPECT_EQ(m_controller->listing().model().heightOfRow(99'999), 30.0);
    EXPECT_TRUE(m_controller->listing().model().shouldSelectRow(0));
}

TEST_F(DestinationTableTest, TheItemButtonsFollowTheSelection)
{
    EXPECT_FALSE(button("downloadButton").isEnabled());
    EXPECT_FALSE(button("deleteButton").isEnabled());
    m_controller->addListEntries({ entry(u"a"_s) });

    table().selectRow(0);
    EXPECT_TRUE(button("downloadButton").isEnabled());
    EXPECT_TRUE(button("deleteButton").isEnabled());
    m_controller->listFTPDestination();
    EXPECT_FALSE(button("downloadButton").isEnabled());
    EXPECT_FALSE(button("deleteButton").isEnabled());
}

TEST_F(DestinationTableTest, ARefreshLeavesTheKeyboardAtItsButton)
{
    QApplication::setActiveWindow(&m_controller->window());
    m_controller->addListEntries({ entry(u"a"_s) });
    table().selectRow(0);
    button("downloadButton").setFocus();
    ASSERT_TRUE(button("downloadButton").hasFocus());

    m_controller->listFTPDestination();
    EXPECT_TRUE(table().hasFocus());
    m_controller->addListEntries({ entry(u"a"_s) });

    EXPECT_TRUE(button("downloadButton").hasFocus());
}

TEST_F(DestinationTableTest, OnlyADoubleClickOfTheLeftButtonDownloads)
{
    m_controller->addListEntries({ entry(u"a"_s) });
    for (const Qt::MouseButton mouseButton : { Qt::MiddleButton, Qt::RightButton, Qt::LeftButton }) {
        QTest::mouseDClick(table().viewport(), mouseButton, {}, QPoint(60, 15));
        EXPECT_EQ(m_controller->gc().isReceiving(), mouseButton == Qt::LeftButton);
    }
}

TEST_F(DestinationTableTest, OnlyTheTablesOwnSelectionCounts)
{
    m_controller->addListEntries({ entry(u"a"_s) });
    table().selectRow(0);
    button("downloadButton").setEnabled(false);

    m_controller->window().tableViewSelectionDidChange(&button("stopButton"));
    EXPECT_FALSE(button("downloadButton").isEnabled());
    m_controller->window().tableViewSelectionDidChange(&table());
    EXPECT_TRUE(button("downloadButton").isEnabled());
}

TEST_F(DestinationTableTest, ContainsComparesNamesExactly)
{
    m_controller->addListEntries({ entry(u"photos"_s) });

    EXPECT_TRUE(m_controller->listing().listingContainsName(u"photos"_s));
    EXPECT_FALSE(m_controller->listing().listingContainsName(u"Photos"_s));
}

TEST_F(DestinationTableTest, AnEmptyTableSaysWhyItIsEmpty)
{
    EXPECT_EQ(table().emptyText(), u""_s);
    m_controller->listFTPDestination();
    tick();
    EXPECT_EQ(table().emptyText(), u"Listing…"_s);
    latest(FakeFTPStream::Kind::Listing).sendEnd();
    tick();
    EXPECT_EQ(table().emptyText(), u"Empty folder"_s);

    m_controller->listFTPDestination();
    latest(FakeFTPStream::Kind::Listing).reply = u"550 No such folder"_s;
    latest(FakeFTPStream::Kind::Listing).sendRefusal(550);
    tick();
    EXPECT_EQ(table().emptyText(), u"Could not list: 550 No such folder\nF5 tries again"_s);

    m_controller->listFTPDestination();
    latest(FakeFTPStream::Kind::Listing).reply = u"150 Here it comes"_s; // Which is no reason.
    latest(FakeFTPStream::Kind::Listing).sendOtherError();
    tick();
    EXPECT_EQ(table().emptyText(), u"Could not list: Stream open error\nF5 tries again"_s);

    m_controller->listFTPDestination();
    latest(FakeFTPStream::Kind::Listing).shortfall = u"226-Unable to read [.]"_s; // It may hold anything.
    latest(FakeFTPStream::Kind::Listing).sendEnd();
    tick();
    EXPECT_EQ(table().emptyText(), u"Could not list: 226-Unable to read [.]\nF5 tries again"_s);

    m_controller->listFTPDestination();
    latest(FakeFTPStream::Kind::Listing).sendBytes("notes.txt\r\n");
    latest(FakeFTPStream::Kind::Listing).sendEnd();
    tick();
    EXPECT_EQ(table().emptyText(),
              u"Could not list: a line of the server’s list cannot be read: notes.txt\nF5 tries again"_s);

    unset(u"Address"_s);
    m_controller->listFTPDestination();
    tick();
    EXPECT_EQ(table().emptyText(), u"No destination"_s);
}

TEST_F(DestinationTableTest, WithoutADestinationTheTableSaysSoFromTheStart)
{
    unset(u"Address"_s);
    startAgain();
    tick();

    EXPECT_EQ(table().emptyText(), u"No destination"_s);
    EXPECT_FALSE(control<QAction>("newFolderAction").isEnabled());
}

TEST_F(DestinationTableTest, WhatArrivesIsSortedAsTheTableIs)
{
    m_controller->addListEntries({ entry(u"b"_s), entry(u"a"_s) });
    m_controller->listing().model().sortListEntriesWithDescriptors({ { .key = u"Name"_s, .ascending = false } });
    ASSERT_EQ(m_controller->listEntries().at(0).name, u"b"_s);

    m_controller->addListEntries({ entry(u"c"_s) });
    EXPECT_EQ(m_controller->listEntries().at(0).name, u"a"_s);

    m_controller->listing().model().sortListEntriesWithDescriptors({ { .key = u"Colour"_s } });
    EXPECT_EQ(m_controller->listing().model().numberOfRowsInTableView(), 0);
    m_controller->addListEntries({ entry(u"e"_s), entry(u"d"_s) });
    ASSERT_EQ(m_controller->listing().model().numberOfRowsInTableView(), 2);
    EXPECT_EQ(m_controller->listEntries().at(0).name, u"d"_s);
}

TEST_F(DestinationTableTest, TheDropAreaNamesTheFilesThatReplaceListedOnes)
{
    auto& dropArea = control<DragDropView>("dragAndDropView");
    m_controller->addListEntries({ entry(u"b"_s), entry(u"a"_s), entry(u"x"_s) });
    EXPECT_EQ(dropArea.replacementText(), u""_s);

    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s), makeFile(u"c"_s), makeFile(u"a"_s) });
    EXPECT_EQ(dropArea.replacementText(), u"These files replace those of the same name on the server:\na\nb"_s);

    m_controller->clearQueue();
    QStringList many;
    for (int i = 0; i < 23; ++i) {
        m_controller->addListEntries({ entry(QString::number(i)) });
        many.append(u"/somewhere/%1"_s.arg(i));
    }
    m_controller->uploadFiles(many);
    EXPECT_TRUE(dropArea.replacementText().endsWith(u"\n19\nand 3 more"_s));
    m_controller->clearQueue();
}

TEST_F(DestinationTableTest, AFileWhoseNameIsNotUtf8ReplacesTheOneListedWithItsBytes)
{
    auto& dropArea = control<DragDropView>("dragAndDropView");
    ListingEntry listed = entry(u"cafÈ"_s);
    listed.rawName = "caf\xe9"_ba;
    m_controller->addListEntries({ listed });

    m_controller->uploadFiles({ u"/cafÈ"_s, LocalPath::fromBytes("/caf\xe9") });

    EXPECT_EQ(dropArea.replacementText(), u"These files replace those of the same name on the server:\ncaf⟨0xE9⟩"_s);
    m_controller->clearQueue();
}

TEST_F(DestinationTableTest, HoveringOverTheDropAreaShowsThem)
{
    m_controller->addListEntries({ entry(u"a"_s) });
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    auto& dropArea = control<DragDropView>("dragAndDropView");
    const QPoint middle = dropArea.rect().center();

    QHelpEvent hover(QEvent::ToolTip, middle, dropArea.mapToGlobal(middle));
    QApplication::sendEvent(dropArea.textView()->viewport(), &hover);

    EXPECT_TRUE(waitFor([] { return QToolTip::text().contains(u"replace"_s); }));
}

} // namespace
