#include "Metronome.h"
#include "ViewControllerTest.h"

#include <QMenu>

namespace {

using namespace std::chrono_literals;

/// Three files wait, and the first is under way.
class NextFileTest : public ViewControllerTest {
protected:
    NextFileTest()
    {
        m_controller->uploadFiles(QStringList(3, makeFile(u"a"_s)));
        tick();
    }

    /// Everything that has been posted to the loop comes; no timer does.
    static void turn() { QCoreApplication::sendPostedEvents(); }
    /// Likewise, and the next file starts, behind all other events where those before it have taken a while.
    void goOn()
    {
        turn();
        EXPECT_TRUE(
            waitFor([this] { return m_controller->pc().isSending() || m_controller->fileUploadQueue().isEmpty(); }));
    }

    /// One of many files is confirmed, and the listing that came with it, if one did.
    void finishOne()
    {
        finishUpload();
        if (FakeFTPStream& listing = latest(Kind::Listing); listing.isOpen()) {
            listing.sendEnd();
        }
        goOn();
    }
    /// Files are uploaded, and many still wait, until a listing has been put off.
    void uploadUntilAListingIsPutOff()
    {
        m_controller->uploadFiles(QStringList(1'000, makeFile(u"b"_s)));
        do {
            finishOne();
        } while (!m_controller->listing().isDue());
    }

    void failUpload() { upload().sendRefusal(550); }
};

TEST_F(NextFileTest, AfterAConfirmedFileTheNextOneStartsWithTheNextTurnOfTheLoop)
{
    finishUpload();
    EXPECT_EQ(count(Kind::Upload), 1); // Never inside the report.

    turn();

    EXPECT_EQ(count(Kind::Upload), 2);
    finishUpload();
    goOn();
    EXPECT_EQ(count(Kind::Upload), 3);
}

TEST_F(NextFileTest, AfterAFailureOrAStopItStartsWithTheNextTick)
{
    failUpload();
    turn();
    EXPECT_EQ(count(Kind::Upload), 1);
    tick();
    ASSERT_EQ(count(Kind::Upload), 2);

    m_controller->stopButtonAction();
    turn();
    EXPECT_EQ(count(Kind::Upload), 2);
    EXPECT_TRUE(waitFor([this] { return count(Kind::Upload) == 3; }));
    answerSheet();
}

TEST_F(NextFileTest, AFileThatCannotBeReadIsPassedOverAtTheNextTick)
{
    m_controller->clearQueue();
    m_controller->uploadFiles({ u"/vanished"_s, makeFile(u"b"_s) });
    finishUpload();

    turn();

    EXPECT_EQ(count(Kind::Upload), 1);
    EXPECT_EQ(m_controller->fileUploadQueue().size(), 1);
    tick();
    EXPECT_EQ(upload().location, u"ftp://host/in/b"_s);
}

TEST_F(NextFileTest, WhatHasTheUsersAttentionHoldsTheNextFile)
{
    QMenu menu;
    menu.addAction(u"Something"_s);
    menu.popup({ 10, 10 });
    finishUpload();

    turn();
    EXPECT_EQ(count(Kind::Upload), 1);

    menu.close();
    tick();
    EXPECT_EQ(count(Kind::Upload), 2);
}

TEST_F(NextFileTest, ATickMayComeFirst)
{
    finishUpload();
    tick();
    ASSERT_EQ(count(Kind::Upload), 2);

    turn();

    EXPECT_EQ(count(Kind::Upload), 2);
    EXPECT_EQ(m_controller->fileUploadQueue().size(), 1);
}

TEST_F(NextFileTest, AfterAWhileOfUploadsAllEventsThatHaveComeGoFirst)
{
    m_controller->uploadFiles(QStringList(10'000, makeFile(u"b"_s)));
    for (bool isHeldBack = false; !isHeldBack;) {
        finishUpload();
        const qsizetype before = count(Kind::Upload);
        turn();
        isHeldBack = count(Kind::Upload) == before;
    }

    QStringList order;
    QMetaObject::invokeMethod(
        qApp, [&] { order.append(u"event, %1"_s.arg(m_controller->pc().isSending())); }, Qt::QueuedConnection);
    EXPECT_TRUE(waitFor([this] { return m_controller->pc().isSending(); }));

    EXPECT_EQ(order, QStringList{ u"event, 0"_s });
}

TEST_F(NextFileTest, FromTheEleventhFileOnTheFolderIsListedNowAndThenAndAfterTheLast)
{
    m_controller->uploadFiles(QStringList(200, makeFile(u"b"_s)));
    for (int i = 0; i < 10; ++i) {
        finishOne();
    }
    EXPECT_EQ(count(Kind::Listing), 10);

    while (m_controller->pc().isSending()) {
        finishUpload();
        goOn();
    }
    EXPECT_TRUE(latest(Kind::Listing).isOpen());
    EXPECT_LT(count(Kind::Listing), 200);
}

TEST_F(NextFileTest, ThreeFilesHaveThreeListings)
{
    while (m_controller->pc().isSending()) {
        finishOne();
    }

    EXPECT_EQ(count(Kind::Listing), 3);
}

TEST_F(NextFileTest, WhileFilesWaitTheListingLeavesTheConnectionToTheNextFile)
{
    finishUpload();
    EXPECT_TRUE(latest(Kind::Listing).calls.contains(u"setStandsBack"_s));
    latest(Kind::Listing).sendEnd();
    goOn();
    finishOne();

    finishUpload(); // The last one.

    EXPECT_FALSE(latest(Kind::Listing).calls.contains(u"setStandsBack"_s));
}

TEST_F(NextFileTest, WhereTheServerAllowsOneLoginTheListingWaitsUntilTheQueueHasEnded)
{
    m_connections.furtherLogins = false;
    for (int i = 0; i < 2; ++i) {
        finishUpload();
        goOn();
        EXPECT_EQ(count(Kind::Listing), 0);
    }

    finishUpload();

    EXPECT_EQ(count(Kind::Listing), 1);
}

TEST_F(NextFileTest, AListingThatWasPutOffComesBesideALargeFile)
{
    uploadUntilAListingIsPutOff();
    const qsizetype listings = count(Kind::Listing);
    upload().sendOpenCompleted();
    m_controller->percentDone(50);

    EXPECT_TRUE(waitFor([&] { return count(Kind::Listing) == listings + 1; }));

    EXPECT_TRUE(m_controller->pc().isSending());
    EXPECT_FALSE(latest(Kind::Listing).calls.contains(u"setStandsBack"_s)); // The upload has its connection.
    tick();
    EXPECT_EQ(bar("percentProgressIndicator").value(), 50);
}

TEST_F(NextFileTest, BesideALargeFileNoneComesWhereTheServerAllowsOneLogin)
{
    uploadUntilAListingIsPutOff();
    m_connections.furtherLogins = false;
    const qsizetype listings = count(Kind::Listing);
    const Metronome tenths(100ms);

    ASSERT_TRUE(waitFor([&tenths] { return tenths.beats() >= 4; }));

    EXPECT_EQ(count(Kind::Listing), listings);
    EXPECT_TRUE(m_controller->pc().isSending());
}

TEST_F(NextFileTest, AFileThatATickHasPassedOverIsFollowedByTheNextTick)
{
    m_controller->clearQueue();
    m_controller->uploadFiles({ u"/vanished"_s, makeFile(u"b"_s) });
    finishUpload();

    tick(); // Before the turn that is coming.
    turn();

    EXPECT_EQ(m_controller->fileUploadQueue().size(), 1);
    EXPECT_EQ(count(Kind::Upload), 1);
}

TEST_F(NextFileTest, AListingThatWasPutOffComesAlsoWhenTheLastFilesFail)
{
    uploadUntilAListingIsPutOff();
    const qsizetype listings = count(Kind::Listing);

    m_controller->clearQueue();
    failUpload();

    EXPECT_TRUE(waitFor([&] { return count(Kind::Listing) == listings + 1; }));
    answerSheet();
}

} // namespace
