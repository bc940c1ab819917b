#include "DelayedAlert.h"
#include "Delays.h"
#include "OpenDescriptors.h"
#include "QueuedFilesView.h"
#include "ViewControllerTest.h"

#include <QSignalSpy>

#include <functional>
#include <vector>

namespace {

class ViewControllerQueueTest : public ViewControllerTest {
protected:
    QString listed() { return control<QueuedFilesView>("textView").toPlainText(); }
    QStringList sentFiles() const
    {
        QStringList names;
        for (const auto& stream : m_streams.streams()) {
            if (stream->kind == Kind::Upload) {
                names.append(stream->location);
            }
        }
        return names;
    }
};

TEST_F(ViewControllerQueueTest, TheWindowStartsEmpty)
{
    EXPECT_FALSE(bar("totalProgressIndicator").isVisible());
    EXPECT_FALSE(bar("percentProgressIndicator").isVisible());
    EXPECT_FALSE(control<QLabel>("bytesFormattedTextField").isVisible());
    EXPECT_FALSE(button("stopButton").isEnabled());
    EXPECT_FALSE(button("clearQueueButton").isEnabled());
    EXPECT_EQ(bar("percentProgressIndicator").value(), 0);
    EXPECT_FALSE(text("dateStringTextField").isEmpty());
    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
    EXPECT_TRUE(m_controller->listEntries().isEmpty());
}

TEST_F(ViewControllerQueueTest, ThreeFilesGoUpInOrderAndTheBarCountsThoseWaiting)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s), makeFile(u"c"_s) });
    for (int waiting = 2; waiting >= 0; --waiting) {
        tick(); // Starts one.
        tick(); // Shows it.
        EXPECT_EQ(bar("totalProgressIndicator").maximum(), 3);
        EXPECT_EQ(bar("totalProgressIndicator").value(), waiting);
        EXPECT_EQ(bar("totalProgressIndicator").isVisible(), waiting > 0);
        EXPECT_TRUE(bar("percentProgressIndicator").isVisible());
        EXPECT_TRUE(control<QLabel>("bytesFormattedTextField").isVisible());
        EXPECT_TRUE(button("stopButton").isEnabled());
        finishUpload();
    }

    EXPECT_EQ(sentFiles(), (QStringList{ u"ftp://host/in/a"_s, u"ftp://host/in/b"_s, u"ftp://host/in/c"_s }));
    EXPECT_EQ(upload().calls.mid(0, 2), login);
    tick();
    EXPECT_FALSE(bar("percentProgressIndicator").isVisible());
    EXPECT_FALSE(button("stopButton").isEnabled());
}

TEST_F(ViewControllerQueueTest, FilesWaitWhileOneIsSentAndTheNextTickStartsTheNext)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) });
    tick();
    tick();
    tick();
    EXPECT_EQ(sentFiles().size(), 1);
    EXPECT_EQ(m_controller->fileUploadQueue().size(), 1);

    finishUpload();
    tick();

    EXPECT_EQ(sentFiles().size(), 2);
}

TEST_F(ViewControllerQueueTest, ItemsThatComeWithoutAFileAreLeftOutAndNothingElseHappens)
{
    unset(u"Address"_s);
    QSignalSpy requests(m_controller.get(), &ViewController::userRequestedConnection);

    m_controller->uploadFiles({}, { m_directory.path() });

    EXPECT_EQ(m_controller->history().queueTally(), FileTally{ .leftOut = 1 });
    EXPECT_EQ(requests.size(), 0);
    EXPECT_EQ(shownSheets(), QStringList());
}

TEST_F(ViewControllerQueueTest, WithoutADestinationFilesWaitForOne)
{
    unset(u"Address"_s);
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();

    EXPECT_EQ(shownSheets(),
              QStringList{ u"No Destination: Specify a destination on the FTP server. See Preferences "
                           "for instructions."_s });
    EXPECT_EQ(listed(), u""_s);
    EXPECT_TRUE(sentFiles().isEmpty());
    EXPECT_TRUE(button("clearQueueButton").isEnabled());

    set({ { u"Address"_s, u"other"_s } });
    tick();

    EXPECT_EQ(sentFiles(), QStringList{ u"ftp://other/in/a"_s });
    answerSheet();
}

TEST_F(ViewControllerQueueTest, TheDropAreaListsTheWholeQueueAtEachAddition)
{
    const QString a = makeFile(u"a"_s);
    const QString b = makeFile(u"b"_s);
    m_controller->uploadFiles({ a, b, b });
    EXPECT_EQ(listed(), u"1) %1\n\n2) %2\n\n3) %2\n\n"_s.arg(a, b));

    tick();
    EXPECT_EQ(listed(), u"1) %1\n\n2) %2\n\n3) %2\n\n"_s.arg(a, b)); // Stands until the next addition.

    m_controller->uploadFiles({ a, a });
    EXPECT_EQ(listed(), u"1) %2\n\n2) %2\n\n3) %1\n\n4) %1\n\n"_s.arg(a, b));
    EXPECT_EQ(bar("totalProgressIndicator").maximum(), 4);
}

TEST_F(ViewControllerQueueTest, ATickShowsWhatWaitsAndMovesBeforeItStartsTheNextFile)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });

    tick();

    ASSERT_TRUE(m_controller->pc().isSending());
    EXPECT_EQ(bar("totalProgressIndicator").value(), 1);
    EXPECT_TRUE(bar("totalProgressIndicator").isVisible());
    EXPECT_TRUE(button("clearQueueButton").isEnabled());
    EXPECT_FALSE(bar("percentProgressIndicator").isVisible());
    EXPECT_FALSE(button("stopButton").isEnabled());
}

TEST_F(ViewControllerQueueTest, TheBarsMaximumIsTheQueuesLengthAtTheLatestAdditionAlsoWhenThatIsLess)
{
    m_controller->uploadFiles(QStringList(3, u"/vanished"_s));
    EXPECT_EQ(bar("totalProgressIndicator").maximum(), 3);
    m_controller->clearQueue();
    EXPECT_EQ(bar("totalProgressIndicator").maximum(), 3);

    m_controller->uploadFiles({ makeFile(u"a"_s) });

    EXPECT_EQ(bar("totalProgressIndicator").maximum(), 1);
}

TEST_F(ViewControllerQueueTest, EachFileLogsInWithTheSettingsOfItsStart)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) });
    tick();
    set({ { u"Username"_s, u"bert"_s }, { u"Password"_s, u"word"_s } });
    finishUpload();

    tick();

    EXPECT_EQ(upload().location, u"ftp://host/in/b"_s);
    EXPECT_EQ(upload().calls.mid(0, 2), (QStringList{ u"setUserName bert"_s, u"setPassword word"_s }));
}

TEST_F(ViewControllerQueueTest, AStoppedFileLeadsToNoListing)
{
    const std::vector<std::function<void()>> starts{ [this] { m_controller->uploadFiles({ makeFile(u"a"_s) }); },
                                                     [this] {
                                                         m_controller->windows().manualTransfers().startStopDownload();
                                                     } };
    for (const auto& start : starts) {
        start();
        tick();
        ASSERT_TRUE(m_controller->pc().isSending() || m_controller->gc().isReceiving());

        m_controller->stopButtonAction();
        tick();
        tick();

        EXPECT_EQ(count(FakeFTPStream::Kind::Listing), 0);
    }
}

TEST_F(ViewControllerQueueTest, StopEndsOneFileAndTheNextOneFollows)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) });
    tick();
    tick();

    button("stopButton").click();

    EXPECT_EQ(count(Kind::Listing), 0);
    EXPECT_TRUE(shownSheets().isEmpty());
    tick();
    EXPECT_EQ(text("statusTextField"), u"Upload Stopped"_s);
    EXPECT_EQ(sentFiles(), (QStringList{ u"ftp://host/in/a"_s, u"ftp://host/in/b"_s }));
}

TEST_F(ViewControllerQueueTest, ClearQueueLetsTheRunningFileFinish)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) });
    tick();
    tick();

    button("clearQueueButton").click();
    finishUpload();
    tick();
    tick();

    EXPECT_EQ(sentFiles().size(), 1);
    EXPECT_EQ(upload().written, "hello");
    EXPECT_EQ(text("statusTextField"), u"Upload succeeded"_s);
    EXPECT_FALSE(button("clearQueueButton").isEnabled());
}

TEST_F(ViewControllerQueueTest, AFailedFileIsDroppedAndTheNextOneFollows)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) });
    tick();

    upload().sendRefusal(553);
    tick();

    EXPECT_EQ(sentFiles().size(), 2);
    EXPECT_EQ(count(Kind::Listing), 0);
}

TEST_F(ViewControllerQueueTest, WhatCannotBeSentIsIgnoredOneATick)
{
    m_controller->uploadFiles({ m_directory.filePath(u"vanished"_s), m_directory.path(), makeFile(u"c"_s) });

    tick();
    EXPECT_EQ(text("statusTextField"), u""_s);
    tick();
    tick();

    EXPECT_EQ(sentFiles(), QStringList{ u"ftp://host/in/c"_s });
    EXPECT_EQ(NetworkManager::sharedInstance().networkOperationCount(), 1U);
}

TEST_F(ViewControllerQueueTest, WithoutADescriptorForItAFileWaitsForOne)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    {
        const NoDescriptorLeft none;
        tick();
        tick();
    }
    EXPECT_EQ(m_controller->fileUploadQueue().size(), 1);

    tick();

    EXPECT_EQ(sentFiles(), QStringList{ u"ftp://host/in/a"_s });
}

TEST_F(ViewControllerQueueTest, ARunningListingOrCreationDoesNotHoldTheQueueBack)
{
    m_controller->listFTPDestination();
    m_controller->windows().manualTransfers().startStopCreate(nullptr);
    ASSERT_TRUE(m_controller->lc().isReceiving());
    ASSERT_TRUE(m_controller->cc().isCreating());

    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();

    EXPECT_TRUE(m_controller->pc().isSending());
}

TEST_F(ViewControllerQueueTest, ADownloadHoldsTheQueueBack)
{
    m_controller->windows().manualTransfers().startStopDownload();
    ASSERT_TRUE(m_controller->gc().isReceiving());
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    EXPECT_FALSE(m_controller->pc().isSending());
    EXPECT_TRUE(button("stopButton").isEnabled());

    button("stopButton").click();
    tick();

    EXPECT_EQ(text("statusTextField"), u"Download Stopped"_s);
    EXPECT_TRUE(m_controller->pc().isSending());
}

TEST_F(ViewControllerQueueTest, ASuccessfulUploadListsTheDestinationWhenItIsIdleAgain)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();

    finishUpload();

    ASSERT_EQ(count(Kind::Listing), 1);
    EXPECT_EQ(latest(Kind::Listing).location, u"ftp://host/in/"_s);
    tick();
    EXPECT_EQ(text("statusTextField"), u"Upload succeeded"_s);
    EXPECT_EQ(text("listingStatusTextField"), u"Started List."_s);
}

TEST_F(ViewControllerQueueTest, ARefreshDuringAListingIsMadeUpForOnceWhenAllIsIdle)
{
    m_controller->listFTPDestination();
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) });
    tick();
    finishUpload();
    EXPECT_EQ(count(Kind::Listing), 1);

    latest(Kind::Listing).sendEnd();
    tick(); // Starts b, which comes first.
    EXPECT_EQ(count(Kind::Listing), 1);
    finishUpload(); // Lists, and nothing is left to be made up for.
    EXPECT_EQ(count(Kind::Listing), 2);
    latest(Kind::Listing).sendEnd();
    tick();
    tick();
    EXPECT_EQ(count(Kind::Listing), 2);

    m_controller->listFTPDestination();
    m_controller->listFTPDestination();
    latest(Kind::Listing).sendEnd();
    tick();
    EXPECT_EQ(count(Kind::Listing), 4);
    latest(Kind::Listing).sendEnd();
    tick();
    EXPECT_EQ(count(Kind::Listing), 4);
}

TEST_F(ViewControllerQueueTest, ARefreshThatIsDueDuringADownloadIsMadeUpForAfterIt)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    m_controller->windows().manualTransfers().startStopDownload();
    finishUpload();
    tick();
    EXPECT_EQ(count(Kind::Listing), 0);

    m_controller->windows().manualTransfers().startStopDownload();
    tick();
    tick();

    EXPECT_EQ(count(Kind::Listing), 1);
}

TEST_F(ViewControllerQueueTest, ARefreshAskedForDuringAListingAndAnUploadIsMadeUpFor)
{
    m_controller->listFTPDestination();
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    m_controller->listFTPDestination();
    upload().sendRefusal(550);
    latest(Kind::Listing).sendEnd();

    tick();
    tick();

    EXPECT_EQ(count(Kind::Listing), 2);
}

TEST_F(ViewControllerQueueTest, AListingThatOutlivesItsDestinationLeavesNothingInTheList)
{
    m_controller->listFTPDestination();
    unset(u"Address"_s);
    m_controller->listFTPDestination();
    EXPECT_TRUE(latest(Kind::Listing).isClosed());

    tick();

    EXPECT_TRUE(m_controller->listEntries().isEmpty());
    EXPECT_EQ(count(Kind::Listing), 1);
}

TEST_F(ViewControllerQueueTest, ARefreshIsNotMadeUpForAfterTheListWasStopped)
{
    m_controller->listFTPDestination();
    m_controller->listFTPDestination();

    m_controller->windows().manualTransfers().startStopList(nullptr);
    tick();

    EXPECT_EQ(text("listingStatusTextField"), u"List Stopped"_s);
    tick();
    EXPECT_EQ(count(Kind::Listing), 1);
}

TEST_F(ViewControllerQueueTest, ListingDoesNothingWhileSomethingIsSentOrReceived)
{
    m_controller->addListEntries({ ListingEntry() });
    m_controller->windows().manualTransfers().startStopDownload();

    m_controller->listFTPDestination();

    EXPECT_EQ(m_controller->listEntries().size(), 1);
    EXPECT_EQ(count(Kind::Listing), 0);
}

TEST_F(ViewControllerQueueTest, ListingWithoutADestinationEmptiesTheList)
{
    m_controller->addListEntries({ ListingEntry() });
    unset(u"Address"_s);

    m_controller->listFTPDestination();

    EXPECT_TRUE(m_controller->listEntries().isEmpty());
    EXPECT_EQ(count(Kind::Listing), 0);
}

TEST_F(ViewControllerQueueTest, WithoutARouteManyFilesRaiseOneAlert)
{
    NetworkManager::setReachabilitySource([] { return ReachabilityFlags(); });
    setDelayedAlertPresenter(
        [this](const QString& message, const QString& text) { m_controller->showAlert(message, text); });
    m_controller->uploadFiles(QStringList(1000, m_directory.path())); // A folder: each try ends in the same tick.
    while (!m_controller->fileUploadQueue().isEmpty()) {
        tick();
    }

    EXPECT_EQ(delaysOf(*qApp), QList<int>{ 1000 });
    passDelaysOf(*qApp);
    setDelayedAlertPresenter(nullptr);

    EXPECT_EQ(
        shownSheets(),
        QStringList{ u"No Internet Connection.: There seems to be no internet connection. The operation may fail."_s });
    answerSheet();
    drainEventLoop();
    EXPECT_TRUE(shownSheets().isEmpty());
}

TEST_F(ViewControllerQueueTest, AHundredThousandFilesStayUsable)
{
    QStringList files;
    files.reserve(100000);
    for (int i = 0; i < 100000; ++i) {
        files.append(u"/nowhere/file %1.bin"_s.arg(i));
    }

    m_controller->uploadFiles(files);
    while (!m_controller->fileUploadQueue().isEmpty()) {
        tick();
    }

    EXPECT_TRUE(listed().endsWith(u"100000) /nowhere/file 99999.bin\n\n"_s));
}

} // namespace
