#include "ViewControllerTest.h"

#include <QLineEdit>

using Outcome = HistoryEntry::Outcome;

namespace {

class ViewControllerHistoryTest : public ViewControllerTest {
protected:
    HistoryEntry row(int index) { return m_controller->history().entries()[index]; }
    /// The outcomes, as numbers that gtest can print.
    QList<Outcome> outcomes()
    {
        QList<Outcome> outcomes;
        for (const HistoryEntry& entry : m_controller->history().entries()) {
            outcomes.append(entry.outcome);
        }
        return outcomes;
    }
    void startOne()
    {
        m_controller->uploadFiles({ makeFile(u"a"_s) });
        tick();
        upload().sendOpenCompleted();
    }
};

TEST_F(ViewControllerHistoryTest, AFileOfTheQueueIsFollowedUntilTheServerHasConfirmedIt)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) });
    EXPECT_EQ(outcomes(), (QList<Outcome>{ Outcome::Waiting, Outcome::Waiting }));
    tick();
    EXPECT_EQ(outcomes(), (QList<Outcome>{ Outcome::Sending, Outcome::Waiting }));
    EXPECT_EQ(row(0).size, 5);
    upload().reply = u"226 Got it"_s;

    finishUpload();

    EXPECT_EQ(outcomes(), (QList<Outcome>{ Outcome::Confirmed, Outcome::Waiting }));
    EXPECT_EQ(row(0).reply, u"226 Got it"_s);
    EXPECT_TRUE(row(0).durationMs.has_value());
}

TEST_F(ViewControllerHistoryTest, TheSizeOfAConfirmedFileIsWhatWasSentAlsoWhereTheSystemKnowsNone)
{
    const QString file = u"/proc/version"_s;
    ASSERT_EQ(QFile(file).size(), 0);
    m_controller->uploadFiles({ file });
    tick();

    finishUpload();

    EXPECT_GT(upload().written.size(), 0);
    EXPECT_EQ(row(0).size, upload().written.size());
}

TEST_F(ViewControllerHistoryTest, WhatWasSentWithoutTheServersWordIsNotConfirmed)
{
    startOne();
    upload().sendHasSpace();
    ASSERT_EQ(upload().written, "hello");
    EXPECT_EQ(outcomes(), QList<Outcome>{ Outcome::Sending });

    upload().sendRefusal(552);

    EXPECT_EQ(outcomes(), QList<Outcome>{ Outcome::Refused });
    EXPECT_EQ(row(0).status, u"FTP error 552; Directory may already exist?"_s);
}

TEST_F(ViewControllerHistoryTest, AnUploadThatFailsInMidwayHasItsStatusAndTheServersReply)
{
    startOne();
    upload().reply = u"150 Go on"_s;
    upload().acknowledgedBytes = 3;

    upload().sendOtherError();

    EXPECT_EQ(row(0).status, u"Stream open error"_s);
    EXPECT_EQ(row(0).reply, u"150 Go on"_s);
    EXPECT_EQ(row(0).size, 5);
    EXPECT_EQ(row(0).acknowledged, 3);
}

TEST_F(ViewControllerHistoryTest, StopIsNoFailure)
{
    startOne();
    upload().acknowledgedBytes = 3;

    m_controller->stopButtonAction();

    EXPECT_EQ(outcomes(), QList<Outcome>{ Outcome::Stopped });
    EXPECT_EQ(row(0).acknowledged, 3);
}

TEST_F(ViewControllerHistoryTest, AFileThatIsGoneIsNotFoundAndHeardNothing)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), u"/nonexistent"_s, makeFile(u"b"_s) });
    tick();
    upload().reply = u"226 That was another file"_s;
    finishUpload();

    tick();

    EXPECT_EQ(outcomes(), (QList<Outcome>{ Outcome::Confirmed, Outcome::NotFound, Outcome::Waiting }));
    EXPECT_TRUE(row(1).reply.isNull());
}

TEST_F(ViewControllerHistoryTest, AFileThatCannotBeReadHasFailedAtItsStart)
{
    m_controller->uploadFiles({ m_directory.path() });

    tick();

    EXPECT_EQ(outcomes(), QList<Outcome>{ Outcome::NotPlainFile });
    EXPECT_EQ(row(0).status, u"Can not create output file."_s);
    EXPECT_FALSE(row(0).size);
}

TEST_F(ViewControllerHistoryTest, AStreamThatTakesNoLoginHasFailedAtItsStart)
{
    m_streams.next.refusesUserName = true;
    NetworkManager::sharedInstance().setNetworkOperationCount(100);
    m_controller->uploadFiles({ makeFile(u"a"_s) });

    tick();

    EXPECT_EQ(outcomes(), QList<Outcome>{ Outcome::Failed });
    EXPECT_EQ(row(0).status, u"Could not send username."_s);
    m_streams.next.refusesUserName = false;
}

TEST_F(ViewControllerHistoryTest, ClearQueueRemovesWhatWaits)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) });
    tick();

    m_controller->clearQueue();

    EXPECT_EQ(outcomes(), (QList<Outcome>{ Outcome::Sending, Outcome::Removed }));
}

TEST_F(ViewControllerHistoryTest, AManualUploadHasItsRowToo)
{
    control<QLineEdit>("fileToUploadTextField").setText(u"missing"_s);

    m_controller->windows().manualTransfers().startStopUpload();

    EXPECT_EQ(outcomes(), QList<Outcome>{ Outcome::NotFound });
    EXPECT_TRUE(row(0).isManual);
    EXPECT_EQ(row(0).path, m_controller->windows().manualTransfers().fileToUpload());
}

TEST_F(ViewControllerHistoryTest, AManualUploadIsStoppedByHand)
{
    startOne();

    m_controller->windows().manualTransfers().startStopUpload();

    EXPECT_EQ(outcomes(), QList<Outcome>{ Outcome::Stopped });
}

TEST_F(ViewControllerHistoryTest, ADownloadsReportsAreNobodysEnd)
{
    startOne();

    m_controller->windows().manualTransfers().startStopDownload();
    m_controller->windows().manualTransfers().startStopDownload();

    EXPECT_EQ(m_controller->pc().isSending(), true);
    EXPECT_EQ(outcomes(), QList<Outcome>{ Outcome::Sending });
}

TEST_F(ViewControllerHistoryTest, ADownloadThatCouldNotTakeItsNameIsNotedWithItsPath)
{
    m_controller->fileStaysBeside(u"/home/a\n.part"_s);

    EXPECT_EQ(outcomes(), QList<Outcome>{ Outcome::Note });
    EXPECT_EQ(row(0).path,
              u"A download is whole, but could not take the place of the file that was there. It is "
              "“/home/a␊.part”."_s);
}

TEST_F(ViewControllerHistoryTest, TheListingThatFollowsIsComparedWithWhatWasSent)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    finishUpload();
    FakeFTPStream& listing = latest(Kind::Listing);

    listing.sendOpenCompleted();
    listing.sendBytes("-rw-r--r-- 1 anna anna 4 Jan 1 2024 a\r\n");
    listing.sendEnd();

    EXPECT_EQ(row(0).listedSize, 4);
}

TEST_F(ViewControllerHistoryTest, AListingThatRanAlreadyIsNotCompared)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    m_controller->listFTPDestination();
    FakeFTPStream& listing = latest(Kind::Listing);
    tick();
    finishUpload();

    listing.sendOpenCompleted();
    listing.sendBytes("-rw-r--r-- 1 anna anna 4 Jan 1 2024 a\r\n");
    listing.sendEnd();

    EXPECT_FALSE(row(0).listedSize);
}

TEST_F(ViewControllerHistoryTest, AFileWhoseListingWasStoppedIsComparedWithTheNext)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    finishUpload();
    m_controller->windows().manualTransfers().startStopList(nullptr);
    ASSERT_FALSE(m_controller->lc().isReceiving());

    m_controller->windows().manualTransfers().startStopList(nullptr);
    FakeFTPStream& listing = latest(Kind::Listing);
    listing.sendOpenCompleted();
    listing.sendBytes("-rw-r--r-- 1 anna anna 4 Jan 1 2024 a\r\n");

    EXPECT_EQ(row(0).listedSize, 4);
}

} // namespace
