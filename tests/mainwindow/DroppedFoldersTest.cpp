#include "QueueAgain.h"
#include "QueuedFilesView.h"
#include "ResidentMemory.h"
#include "ViewControllerTest.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <utility>

namespace {

using namespace std::chrono_literals;
using Outcome = HistoryEntry::Outcome;

/// What this thread has had of the processor.
std::chrono::nanoseconds busyTime()
{
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// Folders among what is to be uploaded, where the settings say that they are.
class DroppedFoldersTest : public ViewControllerTest {
protected:
    DroppedFoldersTest() { set(u"DroppedFolders"_s, u"uploaded"_s); }

    QString folder(const QString& name) const { return m_directory.filePath(name); }
    QString makeBelow(const QString& name, const QByteArray& bytes = "hello") const
    {
        EXPECT_TRUE(QDir().mkpath(QFileInfo(folder(name)).path()));
        return makeFile(name, bytes);
    }
    QString listed() { return control<QueuedFilesView>("textView").toPlainText(); }

    /// Serves what comes up until the queue is over, in whatever turn of the loop, and refuses what @p refuses.
    void serve(const std::function<int(const FakeFTPStream&)>& missingLevels = [](const FakeFTPStream&) { return 0; })
    {
        size_t served = 0;
        EXPECT_TRUE(waitFor([&] {
            for (; served < m_streams.streams().size(); ++served) {
                const std::shared_ptr<FakeFTPStream> stream = m_streams.streams()[served];
                if (!stream->isOpen()) {
                    continue;
                }
                if (const int missing = missingLevels(*stream); missing != 0) {
                    stream->reply = u"553 Not that one"_s;
                    stream->sendRefusal(553, missing);
                } else if (stream->kind == Kind::Folder) {
                    stream->sendEndEncountered();
                } else if (stream->kind == Kind::Upload) {
                    stream->sendOpenCompleted();
                    while (stream->isOpen()) {
                        stream->sendHasSpace();
                    }
                }
            }
            return !m_controller->history().isQueueUnderWay();
        }));
    }
    /// Where uploads and folders went, in their order, with the levels that were to be made.
    QStringList sent() const
    {
        QStringList sent;
        for (const auto& stream : m_streams.streams()) {
            if (stream->kind == Kind::Upload || stream->kind == Kind::Folder) {
                sent.append(u"%1 %2"_s.arg(stream->location).arg(stream->madeLevels));
            }
        }
        return sent;
    }
    QStringList notes() const
    {
        QStringList notes;
        for (const HistoryEntry& entry : m_controller->history().entries()) {
            if (entry.outcome == Outcome::Note) {
                notes.append(entry.path);
            }
        }
        return notes;
    }
    int count(Outcome outcome) const
    {
        const HistoryEntries& entries = m_controller->history().entries();
        return static_cast<int>(std::count_if(
            entries.begin(), entries.end(), [outcome](const HistoryEntry& entry) { return entry.outcome == outcome; }));
    }
};

TEST_F(DroppedFoldersTest, EachFileGoesIntoItsSubFolderAndEmptyFoldersAreMade)
{
    makeBelow(u"Photos/2020/a b.jpg"_s);
    makeBelow(u"Photos/z"_s);
    ASSERT_TRUE(QDir().mkpath(folder(u"Photos/empty"_s)));
    const QString plain = makeFile(u"plain"_s);

    m_controller->uploadFiles({ plain, folder(u"Photos"_s) });
    serve();

    EXPECT_EQ(sent(),
              (QStringList{ u"ftp://host/in/plain 0"_s, u"ftp://host/in/Photos/2020/a%20b.jpg 2"_s,
                            u"ftp://host/in/Photos/empty 2"_s, u"ftp://host/in/Photos/z 1"_s }));
    EXPECT_EQ(m_controller->history().queueTally().confirmed, 4);
    EXPECT_TRUE(notes().isEmpty());
}

TEST_F(DroppedFoldersTest, TheQueueShowsTheRelativePath)
{
    makeBelow(u"Photos/2020/a.jpg"_s);

    m_controller->uploadFiles({ folder(u"Photos"_s) });
    ASSERT_TRUE(waitFor([this] { return !listed().isEmpty(); }));

    EXPECT_EQ(listed(), u"1) Photos/2020/a.jpg\n\n"_s);
    serve();
}

TEST_F(DroppedFoldersTest, WithoutTheSettingAFolderIsOpenedAsItAlwaysWas)
{
    unset(u"DroppedFolders"_s);
    makeBelow(u"Photos/a"_s);

    m_controller->uploadFiles({ folder(u"Photos"_s) });
    EXPECT_EQ(m_controller->fileUploadQueue(), QStringList{ folder(u"Photos"_s) });
    tick();
    tick();

    EXPECT_EQ(text("statusTextField"), u"Can not create output file."_s);
    EXPECT_TRUE(sent().isEmpty());
    EXPECT_EQ(m_controller->history().entries().last().outcome, Outcome::NotPlainFile);
}

TEST_F(DroppedFoldersTest, WithoutADestinationTheBarTellsHowManyFilesWait)
{
    unset(u"Address"_s);
    m_controller->destinationSet();
    makeBelow(u"Photos/a"_s);
    makeBelow(u"Photos/b"_s);

    m_controller->uploadFiles({ folder(u"Photos"_s) });
    ASSERT_TRUE(waitFor([this] { return m_controller->fileUploadQueue().size() == 2; }));

    EXPECT_EQ(bar("totalProgressIndicator").maximum(), 2);
}

TEST_F(DroppedFoldersTest, AFolderThatTheServerRefusesFailsAllInItWithOneLine)
{
    for (const char* name : { "a/1", "b/1", "b/2", "b/c/3", "b/d/4", "e/1" }) {
        makeBelow(u"Photos/"_s + QString::fromLatin1(name));
    }

    m_controller->uploadFiles({ folder(u"Photos"_s) });
    serve([](const FakeFTPStream& stream) { return stream.location.contains(u"/b/"_s) ? 1 : 0; });

    EXPECT_EQ(sent(),
              (QStringList{ u"ftp://host/in/Photos/a/1 2"_s, u"ftp://host/in/Photos/b/1 2"_s,
                            u"ftp://host/in/Photos/e/1 2"_s }));
    EXPECT_EQ(count(Outcome::Refused), 4);
    EXPECT_EQ(m_controller->history().queueTally().failed, 4);
    EXPECT_EQ(notes(),
              QStringList{ u"The server does not make the folder “Photos/b”: 553 Not that one. Nothing in it "
                           "is uploaded."_s });
}

TEST_F(DroppedFoldersTest, AFolderThatSeveralAreMergedIntoIsRefusedOnce)
{
    makeBelow(u"one/Photos/a"_s);
    makeBelow(u"two/Photos/b"_s);
    makeBelow(u"two/Photos more/c"_s);

    m_controller->uploadFiles({ folder(u"one/Photos"_s), folder(u"two/Photos"_s), folder(u"two/Photos more"_s) });
    serve([](const FakeFTPStream& stream) { return stream.location.contains(u"/Photos/"_s) ? 1 : 0; });

    EXPECT_EQ(sent(), (QStringList{ u"ftp://host/in/Photos/a 1"_s, u"ftp://host/in/Photos%20more/c 1"_s }));
    EXPECT_EQ(count(Outcome::Refused), 2);
    EXPECT_EQ(notes().size(), 2) << "one of them that they were merged";
}

TEST_F(DroppedFoldersTest, WithoutADestinationOnTheServerAllThatIsInFoldersFailsWithOneLine)
{
    makeBelow(u"Photos/a"_s);
    makeBelow(u"Photos/b/1"_s);
    makeBelow(u"elsewhere/Texts/c"_s);

    m_controller->uploadFiles({ folder(u"Photos"_s), folder(u"elsewhere/Texts"_s) });
    serve([](const FakeFTPStream& stream) { return stream.madeLevels + 1; });

    EXPECT_EQ(sent().size(), 1);
    EXPECT_EQ(count(Outcome::Refused), 3);
    EXPECT_EQ(notes(),
              QStringList{ u"The server has no such destination: 553 Not that one. No folder is uploaded there."_s });
}

TEST_F(DroppedFoldersTest, ThenTheNextQueueAsksTheServerAgain)
{
    makeBelow(u"Photos/a"_s);
    m_controller->uploadFiles({ folder(u"Photos"_s) });
    serve([](const FakeFTPStream&) { return 1; });
    ASSERT_EQ(count(Outcome::Refused), 1);

    m_controller->uploadFiles({ folder(u"Photos"_s) });
    serve();

    EXPECT_EQ(sent(), (QStringList{ u"ftp://host/in/Photos/a 1"_s, u"ftp://host/in/Photos/a 1"_s }));
    EXPECT_EQ(count(Outcome::Confirmed), 1);
}

TEST_F(DroppedFoldersTest, AFileThatIsQueuedAgainGoesIntoItsSubFolderAndAsksTheServerAgain)
{
    makeBelow(u"Photos/b/1"_s);
    makeBelow(u"Photos/b/2"_s);
    m_controller->uploadFiles({ folder(u"Photos"_s) });
    serve([](const FakeFTPStream&) { return 2; });
    ASSERT_EQ(count(Outcome::Refused), 2);
    EXPECT_EQ(sent().size(), 1);

    queueAgain(*m_controller, { { .row = 0, .number = 0 }, { .row = 0, .number = 1 } });
    serve();

    EXPECT_EQ(sent().mid(1), (QStringList{ u"ftp://host/in/Photos/b/1 2"_s, u"ftp://host/in/Photos/b/2 2"_s }));
}

TEST_F(DroppedFoldersTest, AFolderThatIsRefusedAgainFailsAllThatWasQueuedAgainWithOneLine)
{
    makeBelow(u"Photos/1"_s);
    makeBelow(u"Photos/2"_s);
    makeBelow(u"Texts/3"_s);
    const auto refusePhotos = [](const FakeFTPStream& stream) { return stream.location.contains(u"Photos"_s) ? 1 : 0; };
    m_controller->uploadFiles({ folder(u"Photos"_s) });
    serve(refusePhotos);
    ASSERT_EQ(notes().size(), 1);

    queueAgain(*m_controller, { { .row = 0, .number = 0 }, { .row = 0, .number = 1 } });
    ASSERT_TRUE(waitFor([this] { return m_controller->history().isQueueUnderWay(); }));
    m_controller->uploadFiles({ folder(u"Photos"_s), folder(u"Texts"_s) });
    serve(refusePhotos);

    EXPECT_EQ(sent(),
              (QStringList{ u"ftp://host/in/Photos/1 1"_s, u"ftp://host/in/Photos/1 1"_s, u"ftp://host/in/Photos/1 1"_s,
                            u"ftp://host/in/Texts/3 1"_s }));
    EXPECT_EQ(notes().size(), 3) << "one for each time that somebody has asked for it";
    EXPECT_EQ(m_controller->history().queueTally().failed, 4);
}

TEST_F(DroppedFoldersTest, ClearingTheQueueEndsTheWalk)
{
    makeBelow(u"Photos/a"_s);
    m_controller->uploadFiles({ folder(u"Photos"_s) });
    m_controller->uploadFiles({ u"/waits/behind/it"_s });
    tick();
    EXPECT_TRUE(button("clearQueueButton").isEnabled());
    EXPECT_EQ(m_controller->quitWarning(),
              u"Folders are being looked through, and what is yet to be found would not be uploaded."_s);

    button("clearQueueButton").click();

    EXPECT_FALSE(m_controller->history().isQueueUnderWay());
    EXPECT_EQ(notes(), QStringList{ u"The queue was cleared before all that was dropped had been looked through."_s });
    EXPECT_EQ(count(Outcome::Removed), 2); // What was dropped, as nobody knows more of it.
    tick();
    EXPECT_FALSE(button("clearQueueButton").isEnabled());
    EXPECT_TRUE(m_controller->quitWarning().isNull());
    const QString plain = makeFile(u"plain"_s);
    m_controller->uploadFiles({ plain });
    serve();
    EXPECT_EQ(sent(), QStringList{ u"ftp://host/in/plain 0"_s });
}

TEST_F(DroppedFoldersTest, WhenTheProgramEndsBeforeTheWalkTheNextStartSaysSo)
{
    makeBelow(u"Photos/a"_s);
    for (const bool isWalkOver : { false, true }) {
        SCOPED_TRACE(isWalkOver);
        const QTemporaryDir state;
        const QString path = state.filePath(u"history.sqlite"_s);
        m_controller->ledger().open(path, u"Quillbox"_s);
        m_controller->uploadFiles({ folder(u"Photos"_s) });
        if (isWalkOver) {
            serve();
        }

        startAgainWithLedger(path);

        EXPECT_EQ(m_controller->ledger().interruptedWalks().isEmpty(), isWalkOver);
        EXPECT_TRUE(m_controller->ledger().interrupted().isEmpty());
        startAgain();
    }
}

TEST_F(DroppedFoldersTest, StoppingEndsTheCurrentFileOnly)
{
    makeBelow(u"Photos/a"_s);
    makeBelow(u"Photos/b"_s);
    m_controller->uploadFiles({ folder(u"Photos"_s) });
    ASSERT_TRUE(waitFor([this] { return m_controller->pc().isSending(); }));

    m_controller->stopButtonAction();
    serve();

    EXPECT_EQ(sent(), (QStringList{ u"ftp://host/in/Photos/a 1"_s, u"ftp://host/in/Photos/b 1"_s }));
    EXPECT_EQ(count(Outcome::Stopped), 1);
    EXPECT_EQ(count(Outcome::Confirmed), 1);
}

TEST_F(DroppedFoldersTest, WhatIsLeftOutIsCountedInTheSameQueue)
{
    makeBelow(u"Photos/a"_s);
    ASSERT_TRUE(QFile::link(folder(u"Photos"_s), folder(u"Photos/link"_s)));

    m_controller->uploadFiles({ folder(u"Photos"_s) }, { u"http://host/x"_s });
    serve();

    EXPECT_EQ(m_controller->history().queueTally().confirmed, 1);
    EXPECT_EQ(m_controller->history().queueTally().leftOut, 2);
    EXPECT_EQ(m_controller->history().firstQueueRow(), 0);
}

TEST_F(DroppedFoldersTest, TwoFoldersOfOneNameAreMergedAndThatIsSaid)
{
    makeBelow(u"one/Photos/a"_s);
    makeBelow(u"two/Photos/b"_s);

    m_controller->uploadFiles({ folder(u"one/Photos"_s), folder(u"two/Photos"_s) });
    serve();

    EXPECT_EQ(sent(), (QStringList{ u"ftp://host/in/Photos/a 1"_s, u"ftp://host/in/Photos/b 1"_s }));
    EXPECT_EQ(notes(), QStringList{ u"Several of the dropped folders are named “Photos”. All go into one folder."_s });
}

TEST_F(DroppedFoldersTest, SoIsItOfFoldersThatAreDroppedOneAfterTheOther)
{
    const QString one = QFileInfo(makeBelow(u"one/Photos/a"_s)).path();
    const QString two = QFileInfo(makeBelow(u"two/Photos/b"_s)).path();
    m_controller->uploadFiles({ one });
    m_controller->uploadFiles({ two });
    serve();
    EXPECT_EQ(notes().size(), 1);

    m_controller->uploadFiles({ one }); // In the next queue.
    ASSERT_TRUE(waitFor([this] { return m_controller->pc().isSending(); }));
    set(u"FTPFolder"_s, u"elsewhere"_s);
    m_controller->destinationSet();
    m_controller->uploadFiles({ two }); // And not into one folder.
    serve();

    EXPECT_EQ(sent().last(), u"ftp://host/elsewhere/Photos/b 1"_s);
    EXPECT_EQ(notes().size(), 1);
}

TEST_F(DroppedFoldersTest, APathThatIsWrittenLikeOneBelowAFolderIsTakenForWhatItIs)
{
    unset(u"DroppedFolders"_s);
    makeBelow(u"Photos/a"_s);
    const QString odd = m_directory.path() + u"/./Photos/./a"_s;

    m_controller->uploadFiles({ odd, m_directory.path() + u"/.//./Photos/a"_s });

    EXPECT_EQ(m_controller->fileUploadQueue(), (QStringList{ odd, folder(u"Photos/a"_s) })); // One is to the letter.
    serve();
    EXPECT_EQ(sent(), (QStringList{ u"ftp://host/in/a 0"_s, u"ftp://host/in/a 0"_s }));
}

TEST_F(DroppedFoldersTest, AFileBelowAFolderReplacesNoneInTheDestination)
{
    m_controller->listFTPDestination();
    FakeFTPStream& listing = latest(Kind::Listing);
    listing.sendOpenCompleted();
    listing.sendBytes("-rw-r--r-- 1 u g 5 Jan 1 2020 a\r\n");
    listing.sendEnd();
    ASSERT_EQ(listedNames(), QStringList{ u"a"_s });
    makeBelow(u"Photos/a"_s);
    makeBelow(u"Photos/b"_s);

    m_controller->uploadFiles({ folder(u"Photos"_s) });
    ASSERT_TRUE(waitFor([this] { return !m_controller->fileUploadQueue().isEmpty(); }));

    EXPECT_TRUE(m_controller->filesToReplace().isEmpty());
    serve();
    EXPECT_EQ(m_controller->history().queueTally().confirmed, 2); // The listing says nothing about them.
}

TEST_F(DroppedFoldersTest, ThousandsOfFilesCostLittleAndHoldNothingUp)
{
    constexpr int folders = 300;
    constexpr int filesInFolder = 10;
    constexpr qint64 mostPerFile = 800; // Bytes: 80 MB for a hundred thousand files.
    for (int i = 0; i < folders; ++i) {
        const QString name = u"Photos of the year/a folder %1/"_s.arg(i);
        ASSERT_TRUE(QDir().mkpath(folder(name)));
        for (int j = 0; j < filesInFolder; ++j) {
            ASSERT_TRUE(QFile(folder(name + u"an image %1.jpg"_s.arg(j))).open(QIODevice::WriteOnly));
        }
    }
    makeBelow(u"first/file"_s);
    m_controller->uploadFiles({ folder(u"first"_s) }); // With what is made once.
    serve();
    const qint64 before = allocatedMemory();
    std::chrono::nanoseconds longest{}; // Of what the thread did between two beats, whatever else the machine does.
    std::chrono::nanoseconds last = busyTime();
    QTimer beats;
    QObject::connect(&beats, &QTimer::timeout, &beats, [&] {
        const std::chrono::nanoseconds now = busyTime();
        longest = std::max(longest, now - std::exchange(last, now));
    });
    beats.start(1);

    m_controller->uploadFiles({ folder(u"Photos of the year"_s) });
    ASSERT_TRUE(waitFor([this] { return m_controller->history().waitingCount() >= folders * filesInFolder - 1; }));

    EXPECT_LT(allocatedMemory() - before, folders * filesInFolder * mostPerFile + sanitizerMemory);
    EXPECT_LT(longest, 100ms);
    m_controller->clearQueue();
}

} // namespace
