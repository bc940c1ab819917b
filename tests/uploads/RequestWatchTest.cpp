#include "RequestWatch.h"

#include "AutomaticTries.h"
#include "Delays.h"
#include "DestinationSettings.h"
#include "FakeFTPStream.h"
#include "NetworkManager.h"
#include "TemporaryHome.h"
#include "UploadHistory.h"
#include "UploadIntake.h"
#include "UploadQueue.h"
#include "WaitFor.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using Kind = UploadOutcome::Kind;

void PrintTo(const FileEnd& end, std::ostream* out)
{
    *out << end.path.toStdString() << " | " << end.words.toStdString();
}

namespace {

const Destination destination{ u"ftp://host/"_s };

ListingEntry listed(const QString& name, qint64 size)
{
    ListingEntry entry;
    entry.name = name;
    entry.type = ListingEntry::plainFileType;
    entry.size = size;
    return entry;
}

class RequestWatchTest : public ::testing::Test {
protected:
    RequestWatchTest()
    {
        NetworkManager::sharedInstance().setNetworkOperationCount(100); // Each stop is counted, also of what is idle.
        const auto note = [](QList<FileEnd>& list) { return [&list](const QList<FileEnd>& files) { list += files; }; };
        QObject::connect(&m_watch, &RequestWatch::ended, &m_watch, note(m_ended));
        QObject::connect(&m_watch, &RequestWatch::corrected, &m_watch, note(m_corrected));
        QObject::connect(&m_watch, &RequestWatch::over, &m_watch, [this](bool all) { m_over.append(all); });
    }
    void queue(const QStringList& paths, const QStringList& leftOut = {})
    {
        m_intake.take({ paths, leftOut, m_request });
    }
    void start()
    {
        m_queue.takeFirst();
        m_history.nextFileStarts(destination);
        m_history.fileMoves(5);
    }
    void confirm()
    {
        start();
        m_history.fileConfirmed(5, u"226 Done"_s);
    }
    void fail(Kind kind, const QString& status = {}, const QString& reply = {})
    {
        start();
        m_history.fileEnded({ .kind = kind, .status = status, .reply = reply });
    }
    void list(const QList<ListingEntry>& entries)
    {
        m_history.listingStarts(destination.location);
        m_history.listed(entries);
        m_history.listingSucceeded();
    }
    bool isOver()
    {
        return waitFor([this] { return m_watch.isOver(); });
    }

    const TemporaryHome m_home;
    const UploadRequest m_request{ 7 };
    UploadHistory m_history;
    UploadQueue m_queue{ m_history };
    FakeStreamFactory m_streams; ///< Nothing is listed.
    AutomaticTries m_tries{ m_history, m_queue };
    UploadIntake m_intake{ m_queue, m_history, m_tries, m_streams };
    RequestWatch m_watch{ m_history, m_intake, m_request };
    QList<FileEnd> m_ended;
    QList<FileEnd> m_corrected;
    QList<bool> m_over;
};

TEST_F(RequestWatchTest, EachFileIsToldAsItEndsAndOthersAreNot)
{
    m_intake.take({ { u"/before"_s } });
    queue({ u"/a"_s, u"/b"_s, u"/a"_s });
    m_intake.take({ { u"/behind"_s } });
    confirm();
    confirm();
    ASSERT_TRUE(waitFor([this] { return !m_ended.isEmpty(); }));
    EXPECT_EQ(m_ended, (QList<FileEnd>{ { u"/a"_s, u"Confirmed by the server"_s } }));
    EXPECT_FALSE(m_watch.isOver());

    fail(Kind::Refused, u"FTP error 553"_s, u"553 No"_s);
    fail(Kind::NotFound);

    ASSERT_TRUE(isOver());
    EXPECT_EQ(m_ended,
              (QList<FileEnd>{ { u"/a"_s, u"Confirmed by the server"_s },
                               { u"/b"_s, u"Failed: FTP error 553\t553 No"_s },
                               { u"/a"_s, u"Not found"_s } }));
    EXPECT_EQ(m_over, QList<bool>{ false });
    EXPECT_EQ(m_corrected, QList<FileEnd>());
}

TEST_F(RequestWatchTest, WhatIsLeftOutIsToldAndHasNotArrived)
{
    queue({ u"/a"_s }, { u"/folder"_s });
    confirm();
    list({ listed(u"a"_s, 5) });

    ASSERT_TRUE(isOver());
    EXPECT_EQ(m_ended.first(), (FileEnd{ u"/folder"_s, u"Left out: not a plain file"_s }));
    EXPECT_EQ(m_over, QList<bool>{ false });
}

TEST_F(RequestWatchTest, TheListingThatChecksIsWaitedFor)
{
    queue({ u"/a"_s, u"/b"_s });
    confirm();
    confirm();
    ASSERT_TRUE(waitFor([this] { return m_ended.size() == 2; }));
    EXPECT_FALSE(m_watch.isOver());

    list({ listed(u"a"_s, 5), listed(u"b"_s, 5) });

    ASSERT_TRUE(isOver());
    EXPECT_EQ(m_over, QList<bool>{ true });
    EXPECT_EQ(m_ended.size(), 2);
}

TEST_F(RequestWatchTest, AListingThatDoesNotComeIsWaitedForFiveSecondsAndThatOfOthersNotAtAll)
{
    queue({ u"/a"_s });
    m_intake.take({ { u"/b"_s } });
    confirm();
    confirm();
    passDelaysOf(m_watch); // The line is told.
    EXPECT_EQ(delaysOf(m_watch), QList<int>{ 5000 });
    m_history.listingStarts(destination.location);
    m_history.listingFailed();
    EXPECT_EQ(delaysOf(m_watch), QList<int>{ 5000 });

    m_history.listingStarts(destination.location);
    m_history.listed({ listed(u"a"_s, 5) });
    m_history.listingFailed(); // Of the other file it says nothing.

    EXPECT_EQ(delaysOf(m_watch), QList<int>{ 0 });
    ASSERT_TRUE(isOver());
    EXPECT_EQ(m_over, QList<bool>{ true });
}

TEST_F(RequestWatchTest, WithoutAListingTheServersWordCounts)
{
    queue({ u"/a"_s });
    confirm();
    passDelaysOf(m_watch);

    passDelaysOf(m_watch);

    ASSERT_TRUE(m_watch.isOver());
    EXPECT_EQ(m_over, QList<bool>{ true });
}

TEST_F(RequestWatchTest, AListingBeforeTheLastFileEndsNothing)
{
    queue({ u"/a"_s, u"/b"_s });
    confirm();
    list({ listed(u"a"_s, 5) });
    drainEventLoop();
    EXPECT_FALSE(m_watch.isOver());

    fail(Kind::NotFound);

    ASSERT_TRUE(isOver());
    EXPECT_EQ(m_over, QList<bool>{ false });
}

TEST_F(RequestWatchTest, WhileMoreIsLookedForNothingIsOver)
{
    m_queue.append({ u"/a"_s }, {}, m_request); // A piece of a walk.
    fail(Kind::NotFound);
    ASSERT_TRUE(waitFor([this] { return !m_ended.isEmpty(); }));
    drainEventLoop();
    EXPECT_FALSE(m_watch.isOver());

    emit m_intake.dropEnded(m_request);

    EXPECT_TRUE(isOver());
}

TEST_F(RequestWatchTest, AnotherSizeIsAFailureAndAMissingNameARemark)
{
    queue({ u"/a"_s, u"/b"_s });
    confirm();
    confirm();
    list({ listed(u"a"_s, 3) });

    ASSERT_TRUE(isOver());
    EXPECT_EQ(m_corrected,
              (QList<FileEnd>{ { u"/a"_s, u"Confirmed, but 3 bytes listed, not 5"_s },
                               { u"/b"_s, u"Confirmed, but not listed under this name"_s } }));
    EXPECT_EQ(m_over, QList<bool>{ false });
}

TEST_F(RequestWatchTest, AFileThatIsNotListedHasArrivedAllTheSame)
{
    queue({ u"/a"_s });
    confirm();
    list({});

    ASSERT_TRUE(isOver());
    EXPECT_EQ(m_corrected.size(), 1);
    EXPECT_EQ(m_over, QList<bool>{ true });
}

TEST_F(RequestWatchTest, AFileThatIsTriedAgainIsOverWithItsLastTry)
{
    queue({ u"/a"_s, u"/b"_s });
    m_history.filesAwaitTry({ 0 }, true);
    fail(Kind::ConnectionLost);
    fail(Kind::NotFound);
    ASSERT_TRUE(waitFor([this] { return m_ended.size() == 1; }));
    EXPECT_EQ(m_ended.first().path, u"/b"_s);

    m_queue.appendAgain(m_history.takeToQueueAgain({ 0 }), destination);
    drainEventLoop();
    EXPECT_FALSE(m_watch.isOver());
    confirm();
    list({ listed(u"a"_s, 5) });

    ASSERT_TRUE(isOver());
    EXPECT_EQ(m_ended.last(), (FileEnd{ u"/a"_s, u"Confirmed by the server"_s }));
    EXPECT_EQ(m_ended.size(), 2);
}

TEST_F(RequestWatchTest, AFileThatWasNamedTwiceIsOverWithTheLastTryOfBoth)
{
    queue({ u"/a"_s, u"/a"_s });
    m_history.filesAwaitTry({ 0, 1 }, true);
    fail(Kind::ConnectionLost);
    fail(Kind::ConnectionLost);
    m_intake.take({ { u"/a"_s } }); // Somebody else's.
    start();
    m_history.fileEnded({ .kind = Kind::Stopped });

    m_queue.appendAgain(m_history.takeToQueueAgain({ 0, 1 }), destination);
    confirm();
    fail(Kind::NotFound);

    ASSERT_TRUE(isOver());
    EXPECT_EQ(m_ended, (QList<FileEnd>{ { u"/a"_s, u"Confirmed by the server"_s }, { u"/a"_s, u"Not found"_s } }));
    EXPECT_EQ(m_over, QList<bool>{ false });
}

TEST_F(RequestWatchTest, ATryThatIsGivenUpEndsTheFile)
{
    queue({ u"/a"_s });
    m_history.filesAwaitTry({ 0 }, true);
    fail(Kind::ConnectionLost, u"Stream open error"_s);
    m_history.filesAwaitTry({ 0 }, false);

    ASSERT_TRUE(isOver());
    EXPECT_EQ(m_ended, (QList<FileEnd>{ { u"/a"_s, u"Failed: Stream open error"_s } }));
}

TEST_F(RequestWatchTest, WhenTheProgramEndsEveryFileIsToldAtOnce)
{
    queue({ u"/a"_s, u"/b"_s, u"/c"_s });
    fail(Kind::NotFound);
    start();

    m_watch.programEnds();

    EXPECT_EQ(m_ended,
              (QList<FileEnd>{ { u"/a"_s, u"Not found"_s },
                               { u"/b"_s, u"Not confirmed: Quillbox ended"_s },
                               { u"/c"_s, u"Not confirmed: Quillbox ended"_s } }));
    EXPECT_EQ(m_over, QList<bool>{ false });
}

TEST_F(RequestWatchTest, WhenTheProgramEndsAFileThatWaitsForAnotherTryKeepsItsWords)
{
    queue({ u"/a"_s });
    m_history.filesAwaitTry({ 0 }, true);
    fail(Kind::ConnectionLost, u"Stream open error"_s);

    m_watch.programEnds();

    EXPECT_EQ(m_ended, (QList<FileEnd>{ { u"/a"_s, u"Failed: Stream open error"_s } }));
    EXPECT_EQ(m_over, QList<bool>{ false });
}

TEST_F(RequestWatchTest, WhenTheProgramEndsBeforeAllWasFoundNotAllHasArrived)
{
    m_queue.append({ u"/a"_s }, {}, m_request); // A piece of a walk.
    confirm();

    m_watch.programEnds();

    EXPECT_FALSE(m_watch.haveAllJoined());
    EXPECT_EQ(m_over, QList<bool>{ false });
}

TEST_F(RequestWatchTest, ClearedFilesAreOver)
{
    QStringList paths;
    for (int i = 0; i < 2000; ++i) {
        paths.append(u"/%1"_s.arg(i));
    }
    queue(paths);

    m_queue.clear();

    ASSERT_TRUE(isOver());
    ASSERT_EQ(m_ended.size(), 2000);
    EXPECT_EQ(m_ended.last(), (FileEnd{ u"/1999"_s, u"Removed from the queue"_s }));
}

} // namespace
