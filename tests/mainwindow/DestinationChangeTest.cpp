#include "Delays.h"
#include "ListingTable.h"
#include "PreferencesController.h"
#include "ViewControllerTest.h"

#include <QMimeData>
#include <QSignalSpy>

#include <gmock/gmock.h>

#include <algorithm>
#include <utility>

using ::testing::IsSupersetOf;

namespace {

/// The listed folder and the destination in force come apart.
class DestinationChangeTest : public ViewControllerTest {
protected:
    DestinationChangeTest()
    {
        m_controller->items().setOperations({
            .deleteFileNamed =
                [this](const QByteArray& name, ListedKind /*kind*/, const FMServer& /*server*/) {
                    m_deleted.append(QString::fromUtf8(name));
                    return ItemResult(ItemOutcome::Done);
                },
            .createNewFolder = {},
        });
        list({ u"a"_s, u"b"_s });
    }

    ListingTable& table() { return control<ListingTable>("destinationListingTable"); }
    static ListingEntry entry(const QString& name)
    {
        ListingEntry entry;
        entry.name = name;
        entry.type = ListingEntry::plainFileType;
        return entry;
    }
    /// Lists the destination, which holds files of @p names.
    void list(const QStringList& names)
    {
        m_controller->listFTPDestination();
        arrive(names);
    }
    void arrive(const QStringList& names)
    {
        QByteArray rows;
        for (const QString& name : names) {
            rows += "-rw-r--r-- 1 u g 5 Jan 1 2024 " + name.toUtf8() + "\r\n";
        }
        latest(Kind::Listing).sendOpenCompleted();
        latest(Kind::Listing).sendBytes(rows);
        latest(Kind::Listing).sendEnd();
        tick();
    }
    void select(int row)
    {
        table().selectRow(row);
        tick();
    }

    /// All that stands on the sheet that shows.
    QStringList sheetWords() const
    {
        QStringList words;
        for (const AlertDialog* sheet : m_controller->window().findChildren<AlertDialog*>()) {
            for (const QLabel* label : sheet->findChildren<QLabel*>()) {
                words.append(sheet->isVisible() ? QStringList(label->text()) : QStringList());
            }
        }
        return words;
    }

    QStringList m_deleted;
    const QString destinationChanged
        = u"Destination Changed: Nothing was done to “a”, since the destination has changed."_s;
};

TEST_F(DestinationChangeTest, WithTheDestinationItsRowsAndButtonsGoAtOnce)
{
    select(0);
    m_controller->windows().showPreferences();
    ASSERT_EQ(listedNames().size(), 2);
    ASSERT_TRUE(button("deleteButton").isEnabled());
    m_controller->windows().preferences().folderTextField()->setText(u"other"_s);
    m_controller->windows().preferences().doneButton();

    EXPECT_TRUE(listedNames().isEmpty());
    EXPECT_FALSE(button("deleteButton").isEnabled());
    EXPECT_FALSE(button("downloadButton").isEnabled());
    tick();
    EXPECT_FALSE(control<QLabel>("otherFolderLabel").isVisible());
}

TEST_F(DestinationChangeTest, AChangeDuringATransferIsListedAfterIt)
{
    m_controller->uploadFiles({ makeFile(u"x"_s) });
    tick();
    const auto listings = count(Kind::Listing);
    set(u"FTPFolder"_s, u"other"_s);
    ASSERT_TRUE(waitFor([this] { return listedNames().isEmpty(); }));
    m_controller->listFTPDestination(); // As two seconds after the change.
    EXPECT_EQ(count(Kind::Listing), listings);

    m_controller->stopButtonAction();
    tick();

    EXPECT_EQ(count(Kind::Listing), listings + 1);
}

TEST_F(DestinationChangeTest, FilesThatWouldBeReplacedAreThoseOfTheDestination)
{
    control<QLineEdit>("destinationTextField").setText(u"elsewhere"_s);
    m_controller->uploadFiles({ makeFile(u"x"_s), makeFile(u"a"_s) });
    EXPECT_EQ(m_controller->filesToReplace(), QStringList{ u"a"_s });

    m_controller->windows().manualTransfers().startStopList(&control<QPushButton>("startStopListButton"));
    arrive({ u"a"_s });

    EXPECT_TRUE(m_controller->filesToReplace().isEmpty());
}

TEST_F(DestinationChangeTest, AListingOfTheFormerDestinationIsGivenUp)
{
    m_controller->listFTPDestination();
    latest(Kind::Listing).sendOpenCompleted();
    ASSERT_TRUE(m_controller->lc().isReceiving());

    set(u"Username"_s, u"berta"_s);

    EXPECT_TRUE(waitFor([this] { return !m_controller->lc().isReceiving(); }));
    EXPECT_TRUE(listedNames().isEmpty());
}

TEST_F(DestinationChangeTest, SettingsThatSomebodyElseHasChangedAreTheUsersWhenTheyAreQuiet)
{
    QSignalSpy updates(m_controller.get(), &ViewController::updateWindowTitleAndList);

    set(u"Address"_s, u"elsewhere"_s);
    ASSERT_TRUE(waitFor([this] { return listedNames().isEmpty(); }));
    EXPECT_EQ(updates.size(), 0);
    EXPECT_EQ(delaysOf(m_controller->windows()), QList<int>{ 1000 });

    EXPECT_TRUE(waitFor([&updates] { return updates.size() == 1; }));
}

TEST_F(DestinationChangeTest, SettingsAreNotQuietWhileAnyOfThemIsStillWritten)
{
    QSignalSpy updates(m_controller.get(), &ViewController::updateWindowTitleAndList);
    set(u"Address"_s, u"elsewhere"_s);
    QElapsedTimer sinceThen;
    sinceThen.start();
    qint64 last = 0;
    qint64 longestPause = 0;

    ASSERT_TRUE(waitFor([&] {
        const qint64 now = sinceThen.elapsed();
        longestPause = std::max(longestPause, now - std::exchange(last, now));
        set(u"Other"_s, static_cast<double>(now));
        return now > 2000;
    }));
    EXPECT_TRUE(updates.isEmpty() || longestPause > 900); // On a machine that has stood still meanwhile.

    EXPECT_TRUE(waitFor([&updates] { return updates.size() == 1; }));
}

TEST_F(DestinationChangeTest, SettingsThatTheUserHasChangedAreSeenToOnce)
{
    QSignalSpy updates(m_controller.get(), &ViewController::updateWindowTitleAndList);

    set(u"Address"_s, u"elsewhere"_s);
    m_controller->destinationSet();

    EXPECT_EQ(updates.size(), 1);
    EXPECT_EQ(delaysOf(m_controller->windows()), QList<int>());
}

TEST_F(DestinationChangeTest, SettingsThatCannotBeReadAreNobodysWish)
{
    QSignalSpy updates(m_controller.get(), &ViewController::updateWindowTitleAndList);
    const QString path = UserDefaults::standard().filePath();
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    const QByteArray whole = file.readAll();
    ASSERT_TRUE(file.resize(0) && file.write("{ \"Address\": ") > 0 && file.flush());
    ASSERT_TRUE(waitFor([this] { return listedNames().isEmpty(); }));
    QElapsedTimer sinceThen;
    sinceThen.start();
    ASSERT_TRUE(waitFor([&sinceThen] { return sinceThen.elapsed() > 1500; }));
    EXPECT_EQ(updates.size(), 0);

    ASSERT_TRUE(file.resize(0) && file.seek(0) && file.write(whole) > 0 && file.flush());

    EXPECT_TRUE(waitFor([&updates] { return updates.size() == 1; }));
}

TEST_F(DestinationChangeTest, AnActionOnARowOfTheFormerDestinationDoesNothingAndSaysSo)
{
    select(0);
    set(u"FTPFolder"_s, u"other"_s);

    m_controller->items().deleteSelection();

    EXPECT_EQ(shownSheets(), QStringList{ destinationChanged });
    EXPECT_TRUE(listedNames().isEmpty());
    m_controller->items().downloadSelection();
    EXPECT_EQ(count(Kind::Download), 0);
}

TEST_F(DestinationChangeTest, ADeletionThatComesDueUnderAnotherDestinationDoesNothingAndSaysSo)
{
    select(0);
    m_controller->items().deleteSelection();
    answerSheet(u"Delete"_s);
    set(u"Password"_s, u"another"_s);

    passDelaysOf(*m_controller);

    EXPECT_TRUE(m_deleted.isEmpty());
    EXPECT_EQ(shownSheets(), QStringList{ destinationChanged });
}

TEST_F(DestinationChangeTest, ADeletionUnderTheSameDestinationIsDone)
{
    select(0);
    m_controller->items().deleteSelection();
    answerSheet(u"Delete"_s);

    passDelaysOf(*m_controller);

    EXPECT_EQ(m_deleted, QStringList{ u"a"_s });
}

TEST_F(DestinationChangeTest, ARowThatWasDraggedUnderAnotherDestinationIsNotFetched)
{
    const auto promise = m_controller->dragging().promiseOf(entry(u"a"_s));
    set(u"FTPFolder"_s, u"other"_s);

    promise(m_directory.path());

    EXPECT_EQ(count(Kind::Download), 0);
    EXPECT_EQ(shownSheets(), QStringList{ destinationChanged });
}

TEST_F(DestinationChangeTest, ADragThatWasCancelledHasNoPartInADownloadThatComesLater)
{
    QMimeData data;
    ASSERT_TRUE(m_controller->dragging().writeRowsWithIndexes({ 0 }, data));
    set(u"FTPFolder"_s, u"other"_s);
    list({ u"a"_s });

    EXPECT_EQ(m_controller->dragging().namesOfPromisedFilesDroppedAtDestination(m_directory.path(), { 0 }),
              QStringList{ u"a"_s });

    EXPECT_EQ(latest(Kind::Download).location, u"ftp://host/other/a"_s);
    EXPECT_EQ(shownSheets(), QStringList());
}

TEST_F(DestinationChangeTest, TheSelectionStaysWithinADestinationAlone)
{
    select(1);
    list({ u"a"_s, u"b"_s });
    EXPECT_EQ(table().selectedRow(), 1);

    set(u"FTPFolder"_s, u"other"_s);
    list({ u"a"_s, u"b"_s });

    EXPECT_EQ(table().selectedRow(), -1);
    tick();
    EXPECT_FALSE(button("deleteButton").isEnabled());
}

TEST_F(DestinationChangeTest, WhatWasSelectedIsNotSelectedAmongItemsThatComeWithoutAListing)
{
    select(1);

    set(u"FTPFolder"_s, u"other"_s);
    m_controller->addListEntries({ entry(u"a"_s), entry(u"b"_s) });

    EXPECT_EQ(listedNames(), (QStringList{ u"a"_s, u"b"_s }));
    EXPECT_EQ(table().selectedRow(), -1);
}

TEST_F(DestinationChangeTest, TheQuestionAboutARowOfAnotherFolderThatIsDraggedNamesBothFolders)
{
    makeFile(u"a"_s);
    const auto drop
        = [this] { m_controller->dragging().namesOfPromisedFilesDroppedAtDestination(m_directory.path(), { 0 }); };
    drop();
    EXPECT_FALSE(sheetWords().contains(u"ftp://host/in/"_s));
    answerSheet(u"Cancel"_s);
    control<QLineEdit>("destinationTextField").setText(u"elsewhere"_s);
    m_controller->windows().manualTransfers().startStopList(&control<QPushButton>("startStopListButton"));
    arrive({ u"a"_s });

    drop();

    EXPECT_THAT(sheetWords(), IsSupersetOf({ u"ftp://host/in/"_s, u"ftp://host/in/elsewhere/"_s }));
}

TEST_F(DestinationChangeTest, WhatAListingBringsBehindItsEndIsOfTheFolderThatWasListed)
{
    m_controller->listFTPDestination();
    set(u"FTPFolder"_s, u"other"_s); // Nobody has noticed yet.
    m_controller->lc().stopReceiveWithStatus(u"Listing parse failed"_s);

    m_controller->addListEntries({ entry(u"a"_s) });

    EXPECT_EQ(m_controller->listing().location(), u"ftp://host/in/"_s);
    EXPECT_TRUE(waitFor([this] { return listedNames().isEmpty(); }));
}

TEST_F(DestinationChangeTest, RowsOfAFolderThatWasListedByHandAreMarked)
{
    QLabel& mark = control<QLabel>("otherFolderLabel");
    EXPECT_FALSE(mark.isVisible());
    select(0);
    control<QLineEdit>("destinationTextField").setText(u"elsewhere"_s);

    m_controller->windows().manualTransfers().startStopList(&control<QPushButton>("startStopListButton"));
    arrive({ u"a"_s });

    EXPECT_TRUE(mark.isVisible());
    EXPECT_EQ(mark.text(), u"Listed is ftp://host/in/elsewhere/, not the destination"_s);
    EXPECT_EQ(table().selectedRow(), -1);
    select(0);
    m_controller->items().deleteSelection();
    EXPECT_THAT(sheetWords(), IsSupersetOf({ u"ftp://host/in/"_s, u"ftp://host/in/elsewhere/"_s }));

    list({ u"a"_s });
    EXPECT_FALSE(mark.isVisible());
}

} // namespace
