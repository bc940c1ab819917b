#include "ListingTable.h"
#include "StandardFolders.h"
#include "ViewControllerTest.h"

#include <QAction>
#include <QClipboard>
#include <QDir>
#include <QSignalSpy>

namespace {

/// A folder of which three plain files, a folder and a link are listed.
class SeveralRowsTest : public ViewControllerTest {
protected:
    SeveralRowsTest()
    {
        const std::pair<QString, int> items[]{ { u"a.txt"_s, ListingEntry::plainFileType },
                                               { u"b.txt"_s, ListingEntry::plainFileType },
                                               { u"c.txt"_s, ListingEntry::plainFileType },
                                               { u"folder"_s, ListingEntry::folderType },
                                               { u"link"_s, ListingEntry::linkType } };
        QList<ListingEntry> entries;
        for (const auto& [name, type] : items) {
            ListingEntry entry;
            entry.name = name;
            entry.type = type;
            entries.append(entry);
        }
        m_controller->addListEntries(entries);
    }

    void selectRows(const QList<int>& rows)
    {
        ListingTable& table = control<ListingTable>("destinationListingTable");
        table.clearSelection();
        for (const int row : rows) {
            table.selectionModel()->select(table.model()->index(row, 0),
                                           QItemSelectionModel::Select | QItemSelectionModel::Rows);
        }
    }
    QStringList downloads() const
    {
        QStringList locations;
        for (const auto& stream : m_streams.streams()) {
            if (stream->kind == Kind::Download) {
                locations.append(stream->location);
            }
        }
        return locations;
    }
    void finishDownload()
    {
        FakeFTPStream& stream = latest(Kind::Download);
        stream.sendOpenCompleted();
        stream.sendEnd();
    }

    ~SeveralRowsTest() override
    {
        QDir folder(downloadsDirectoryPath());
        for (const QString& file : folder.entryList({ u"*?.txt"_s }, QDir::Files)) {
            folder.remove(file);
        }
    }
};

TEST_F(SeveralRowsTest, TheirPlainFilesAreDownloadedOneAfterAnotherAndTheRestIsSaidToBeLeftOut)
{
    selectRows({ 0, 1, 3, 4 });

    button("downloadButton").click();
    EXPECT_EQ(downloads(), QStringList{ u"ftp://host/in/a.txt"_s });
    finishDownload();
    EXPECT_EQ(downloads().size(), 1); // Never inside the report.
    tick();
    EXPECT_EQ(downloads(), (QStringList{ u"ftp://host/in/a.txt"_s, u"ftp://host/in/b.txt"_s }));
    finishDownload();
    tick();

    EXPECT_EQ(downloads().size(), 2);
    EXPECT_EQ(text("lastActionTextField"), u"Downloaded 2 files, left out 2 items that are no plain files"_s);
    EXPECT_EQ(shownSheets(), QStringList());
}

TEST_F(SeveralRowsTest, WithoutAPlainFileAmongThemNothingIsDownloaded)
{
    selectRows({ 3, 4 });

    button("downloadButton").click();

    EXPECT_EQ(downloads(), QStringList());
    EXPECT_EQ(shownSheets(), QStringList{ u"Folder Item: Folders are not downloadable."_s });
    answerSheet();
}

TEST_F(SeveralRowsTest, BetweenTwoDownloadsWhatWaitsGoesOnWaitingAndOtherActionsAreKeptBack)
{
    selectRows({ 0, 1, 2 });
    button("downloadButton").click();
    m_controller->uploadFiles({ makeFile(u"up"_s) });
    finishDownload();

    button("downloadButton").click();
    EXPECT_EQ(shownSheets(), QStringList{ u"Cannot Download: Wait for the current download to complete."_s });
    answerSheet();
    for (int i = 1; i < 3; ++i) {
        tick();
        EXPECT_EQ(downloads().size(), i + 1);
        EXPECT_EQ(count(Kind::Upload), 0);
        finishDownload();
    }
    tick(); // Says what has become of them.
    tick();

    EXPECT_EQ(count(Kind::Upload), 1);
    EXPECT_EQ(text("lastActionTextField"), u"Downloaded 3 files"_s);
}

TEST_F(SeveralRowsTest, TheUserHasAskedForThemOnce)
{
    const QSignalSpy requests(m_controller.get(), &ViewController::userRequestedConnection);
    selectRows({ 0, 1, 2 });

    button("downloadButton").click();
    for (int i = 0; i < 3; ++i) {
        finishDownload();
        tick();
    }

    EXPECT_EQ(downloads().size(), 3);
    EXPECT_EQ(requests.size(), 1);
}

TEST_F(SeveralRowsTest, AFileThatFailsIsNotCountedAndTheOthersCome)
{
    selectRows({ 0, 1 });
    button("downloadButton").click();

    latest(Kind::Download).sendRefusal(550);
    tick();
    finishDownload();
    tick();

    EXPECT_EQ(downloads().size(), 2);
    EXPECT_EQ(text("lastActionTextField"), u"Downloaded 1 of 2 files"_s);
    answerSheet();
}

TEST_F(SeveralRowsTest, StopEndsThemAll)
{
    selectRows({ 0, 1, 2 });
    button("downloadButton").click();
    finishDownload();
    tick();

    m_controller->stopButtonAction();
    tick();
    tick();

    EXPECT_EQ(downloads().size(), 2);
    EXPECT_EQ(text("statusTextField"), u"Download Stopped"_s);
    EXPECT_EQ(text("lastActionTextField"), u"Downloaded 1 of 3 files"_s);
}

TEST_F(SeveralRowsTest, NoneIsFetchedFromAnotherDestination)
{
    selectRows({ 0, 1, 2 });
    button("downloadButton").click();
    finishDownload();
    set(u"FTPFolder"_s, u"other"_s);

    tick();
    tick();

    EXPECT_EQ(downloads().size(), 1);
    EXPECT_EQ(shownSheets(),
              QStringList{ u"Destination Changed: Nothing was done to “b.txt”, since the destination "
                           "has changed."_s });
    answerSheet();
    EXPECT_EQ(text("lastActionTextField"), u"Downloaded 1 of 3 files"_s);
}

TEST_F(SeveralRowsTest, WhileAnUploadRunsNoneIsDownloaded)
{
    m_controller->uploadFiles({ makeFile(u"up"_s) });
    tick();
    selectRows({ 0, 1 });

    button("downloadButton").click();

    EXPECT_EQ(downloads(), QStringList());
    EXPECT_EQ(shownSheets(), QStringList{ waitForUpload });
    answerSheet();
}

TEST_F(SeveralRowsTest, OneIsDeletedAtATime)
{
    selectRows({ 0, 1 });

    button("deleteButton").click();

    EXPECT_EQ(shownSheets(), QStringList{ u"Select one item: Items are deleted one at a time."_s });
    answerSheet();
}

TEST_F(SeveralRowsTest, TheirLocationsAreCopiedALineEach)
{
    selectRows({ 0, 2 });
    tick();

    control<QAction>("copyItemLocationAction").trigger();

    EXPECT_EQ(QApplication::clipboard()->text(), u"ftp://host/in/a.txt\nftp://host/in/c.txt"_s);
}

} // namespace
