#include "FTPManagerPrivate.h"
#include "FakeFTPStream.h"
#include "FaultyFileCalls.h"
#include "FileSizeLimit.h"
#include "LogRecorder.h"
#include "Printers.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <vector>

using namespace Qt::StringLiterals;

namespace {

using enum FTPStreamEvent;

const QString readFailure = u"ftp stream failed: error while reading data"_s;
const QString writeFailure = u"ftp stream failed: error while writing data"_s;

class RecordingDelegate final : public FTPManagerDelegate {
public:
    void ftpManagerUploadProgressDidChange(const std::optional<FTPManagerProgress>& progress) override
    {
        uploads.push_back(progress);
        if (look != nullptr) {
            look();
        }
    }
    void ftpManagerDownloadProgressDidChange(const std::optional<FTPManagerProgress>& progress) override
    {
        downloads.push_back(progress);
        if (look != nullptr) {
            look();
        }
    }

    std::function<void()> look; ///< Called at each report, if it is set.
    std::vector<std::optional<FTPManagerProgress>> uploads;
    std::vector<std::optional<FTPManagerProgress>> downloads;
};

void expectProgress(const std::optional<FTPManagerProgress>& progress, quint64 fileSize, quint64 bytesProcessed,
                    quint64 fileSizeProcessed, float part)
{
    ASSERT_TRUE(progress);
    EXPECT_EQ(progress->fileSize, fileSize);
    EXPECT_EQ(progress->bytesProcessed, bytesProcessed);
    EXPECT_EQ(progress->fileSizeProcessed, fileSizeProcessed);
    EXPECT_FLOAT_EQ(progress->progress, part);
}

class FTPManagerEngineTest : public ::testing::Test {
protected:
    void SetUp() override { m_manager.setDelegate(&m_delegate); }

    void play(const std::vector<FTPStreamEvent>& events)
    {
        for (const FTPStreamEvent event : events) {
            m_streams.next.turns.push_back({ event });
        }
    }

    bool upload(const QByteArray& data) { return m_manager.uploadData(data, u"name"_s, m_server.get()); }
    bool createFolder() { return m_manager.createNewFolder(u"name"_s, m_server.get()); }
    auto list() { return m_manager.contentsOfServer(m_server.get()); }
    bool download() { return m_manager.downloadFile(u"name"_s, directoryURL(), m_server.get()); }

    QUrl directoryURL() const { return QUrl::fromLocalFile(m_directory.path()); }
    QString localPath() const { return m_directory.filePath(u"name"_s); }
    QByteArray localContents() const
    {
        QFile file(localPath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir m_directory;
    std::shared_ptr<FMServer> m_server = FMServer::serverWithDestination(u"host"_s, u"user"_s, u"word"_s);
    FakeStreamFactory m_streams;
    RecordingDelegate m_delegate;
    FTPManager m_manager = managerOn(m_streams);
    LogRecorder m_log;
};

// Uploads

TEST_F(FTPManagerEngineTest, AnUploadSendsEverythingAndEndsWithItsSource)
{
    play({ OpenCompleted, HasSpaceAvailable, HasSpaceAvailable });

    EXPECT_TRUE(upload("hello"));

    EXPECT_EQ(m_streams.last().written, "hello"_ba);
    EXPECT_EQ(m_log.lines(), QStringList());
}

TEST_F(FTPManagerEngineTest, AnUploadReadsOneBufferAtATime)
{
    const QByteArray data(32768 + 5, 'x');
    play({ OpenCompleted, HasSpaceAvailable, HasSpaceAvailable, HasSpaceAvailable });

    EXPECT_TRUE(upload(data));

    EXPECT_EQ(m_streams.last().written, data);
    EXPECT_EQ(m_streams.last().calls.filter(u"write"_s), (QStringList{ u"write 32768"_s, u"write 5"_s }));
}

TEST_F(FTPManagerEngineTest, WhatAWriteDoesNotTakeWaitsForTheNextEvent)
{
    m_streams.next.writeAnswers = { 3, 1 };
    play({ HasSpaceAvailable, HasSpaceAvailable, HasSpaceAvailable, HasSpaceAvailable });

    EXPECT_TRUE(upload("0123456789"));

    EXPECT_EQ(m_streams.last().written, "0123456789"_ba);
    EXPECT_EQ(m_streams.last().calls.filter(u"write"_s), (QStringList{ u"write 10"_s, u"write 7"_s, u"write 6"_s }));
}

TEST_F(FTPManagerEngineTest, AnUploadReportsEveryPartThatWasTaken)
{
    m_streams.next.writeAnswers = { 3 };
    play({ OpenCompleted, HasSpaceAvailable, HasSpaceAvailable, HasSpaceAvailable });

    EXPECT_TRUE(upload("0123456789"));

    ASSERT_EQ(m_delegate.uploads.size(), 2U);
    expectProgress(m_delegate.uploads[0], 10, 3, 3, 0.3F);
    expectProgress(m_delegate.uploads[1], 10, 7, 10, 1.0F);
    EXPECT_TRUE(m_delegate.downloads.empty());
}

TEST_F(FTPManagerEngineTest, WhereAnUploadStandsCanBeAskedWhileItReports)
{
    m_streams.next.writeAnswers = { 3 };
    play({ OpenCompleted, HasSpaceAvailable, HasSpaceAvailable, HasSpaceAvailable });
    std::vector<std::pair<quint64, quint64>> places;
    m_delegate.look = [this, &places] {
        places.emplace_back(m_manager.bufferOffset(), m_manager.bufferLimit());
        EXPECT_EQ(QByteArray(m_manager.buffer(), 10), "0123456789"_ba);
        EXPECT_NE(m_manager.fileReader(), nullptr);
        EXPECT_NE(m_manager.serverStream(), nullptr);
        EXPECT_EQ(m_manager.serverReadStream(), nullptr);
    };

    EXPECT_TRUE(upload("0123456789"));

    EXPECT_EQ(places, (std::vector<std::pair<quint64, quint64>>{ { 3, 10 }, { 10, 10 } }));
    EXPECT_EQ(m_manager.fileReader(), nullptr);
    EXPECT_EQ(m_manager.serverStream(), nullptr);
}

TEST_F(FTPManagerEngineTest, WhereADownloadStandsCanBeAskedWhileItReports)
{
    m_streams.next.resourceSize = 4;
    m_streams.next.readAnswers = { "0123"_ba };
    play({ OpenCompleted, HasBytesAvailable, HasBytesAvailable });
    m_delegate.look = [this] {
        EXPECT_NE(m_manager.fileWriter(), nullptr);
        EXPECT_NE(m_manager.serverReadStream(), nullptr);
        EXPECT_EQ(m_manager.serverStream(), nullptr);
    };

    EXPECT_TRUE(download());

    EXPECT_FALSE(m_delegate.downloads.empty());
    EXPECT_EQ(m_manager.fileWriter(), nullptr);
    EXPECT_EQ(m_manager.serverReadStream(), nullptr);
    EXPECT_EQ(m_manager.directoryListingData(), QByteArray());
}

TEST_F(FTPManagerEngineTest, AnUploadedFileReportsEveryPartThatWasTaken)
{
    QFile file(localPath());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("0123456789");
    file.close();
    m_streams.next.writeAnswers = { 3 };
    play({ OpenCompleted, HasSpaceAvailable, HasSpaceAvailable, HasSpaceAvailable });

    EXPECT_TRUE(m_manager.uploadFile(QUrl::fromLocalFile(localPath()), m_server.get()));

    ASSERT_EQ(m_delegate.uploads.size(), 2U);
    expectProgress(m_delegate.uploads[0], 10, 3, 3, 0.3F);
    expectProgress(m_delegate.uploads[1], 10, 7, 10, 1.0F);
}

TEST_F(FTPManagerEngineTest, AnEmptyUploadSucceedsWithoutAWrite)
{
    play({ OpenCompleted, HasSpaceAvailable });

    EXPECT_TRUE(upload(""));

    EXPECT_TRUE(m_streams.last().calls.filter(u"write"_s).isEmpty());
    EXPECT_TRUE(m_delegate.uploads.empty());
}

TEST_F(FTPManagerEngineTest, AnEmptyUploadHasNoProgress)
{
    std::optional<FTPManagerProgress> progress = FTPManagerProgress();
    m_streams.next.whenOver = [&](FakeFTPStream& stream) {
        progress = m_manager.progress();
        stream.turns = { { HasSpaceAvailable } };
    };

    EXPECT_TRUE(upload(""));

    EXPECT_FALSE(progress);
}

TEST_F(FTPManagerEngineTest, AWriteThatTakesNothingIsAFailure)
{
    for (const qint64 answer : { 0, -1 }) {
        const LogRecorder log;
        m_streams.next.writeAnswers = { answer };
        m_streams.next.turns = { { HasSpaceAvailable } };

        EXPECT_FALSE(upload("hello"));

        EXPECT_EQ(log.lines(), QStringList{ writeFailure });
    }
}

TEST_F(FTPManagerEngineTest, WhenAWriteBreaksTheServersReasonIsWaitedFor)
{
    m_streams.next.writeAnswers = { 0 };
    m_streams.next.turns = { { HasSpaceAvailable }, { ErrorOccurred } };
    m_streams.next.error
        = { .domain = FTPStreamError::Domain::FTP, .code = 552, .stage = FTPStreamError::Stage::Acting };
    m_streams.next.reply = u"552 Full"_s;

    EXPECT_FALSE(upload("hello"));

    EXPECT_EQ(m_manager.lastFailure().kind, FMFailure::Kind::Refused);
    EXPECT_EQ(m_manager.lastFailure().code, 552);
    EXPECT_EQ(m_log.lines(), QStringList{ writeFailure });
}

TEST_F(FTPManagerEngineTest, ASourceThatCannotBeReadIsAFailure)
{
    QFile file(localPath());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(40'000, 'x'));
    file.close();
    play({ HasSpaceAvailable });
    m_streams.next.whenOver = [&](FakeFTPStream& stream) {
        ASSERT_TRUE(file.resize(100));
        stream.turns = { { HasSpaceAvailable } };
    };

    EXPECT_FALSE(m_manager.uploadFile(QUrl::fromLocalFile(localPath()), m_server.get()));

    EXPECT_EQ(m_log.lines(), QStringList{ readFailure });
}

// Downloads

TEST_F(FTPManagerEngineTest, ADownloadWritesWhatItReadsAndEndsWithARead)
{
    m_streams.next.readAnswers = { "hello "_ba, "world"_ba };
    play({ OpenCompleted, HasBytesAvailable, HasBytesAvailable, HasBytesAvailable });

    EXPECT_TRUE(download());

    EXPECT_EQ(localContents(), "hello world"_ba);
    EXPECT_EQ(m_log.lines(), QStringList());
}

TEST_F(FTPManagerEngineTest, ADownloadReportsItsBeginningAndEveryPart)
{
    m_streams.next.resourceSize = 10;
    m_streams.next.readAnswers = { "0123"_ba, "456789"_ba };
    play({ OpenCompleted, HasBytesAvailable, HasBytesAvailable, HasBytesAvailable });

    EXPECT_TRUE(download());

    ASSERT_EQ(m_delegate.downloads.size(), 3U);
    expectProgress(m_delegate.downloads[0], 10, 0, 0, 0.0F);
    expectProgress(m_delegate.downloads[1], 10, 4, 4, 0.4F);
    expectProgress(m_delegate.downloads[2], 10, 6, 10, 1.0F);
    EXPECT_TRUE(m_delegate.uploads.empty());
}

TEST_F(FTPManagerEngineTest, ADownloadOfUnknownSizeReportsNothingAsItsProgress)
{
    m_streams.next.readAnswers = { "0123"_ba };
    play({ OpenCompleted, HasBytesAvailable, HasBytesAvailable });

    EXPECT_TRUE(download());

    ASSERT_EQ(m_delegate.downloads.size(), 2U);
    EXPECT_FALSE(m_delegate.downloads[0]);
    EXPECT_FALSE(m_delegate.downloads[1]);
}

TEST_F(FTPManagerEngineTest, TheSizeOfAnEarlierDownloadIsForgotten)
{
    m_streams.next.resourceSize = 10;
    play({ OpenCompleted, HasBytesAvailable });
    EXPECT_TRUE(download());
    m_streams.next.resourceSize.reset();
    m_streams.next.turns = { { OpenCompleted }, { HasBytesAvailable } };

    EXPECT_TRUE(download());

    EXPECT_FALSE(m_delegate.downloads.back());
}

TEST_F(FTPManagerEngineTest, AReadThatFailsEndsADownload)
{
    m_streams.next.readAnswers = { "0123"_ba, std::nullopt };
    play({ OpenCompleted, HasBytesAvailable, HasBytesAvailable });

    EXPECT_FALSE(download());

    EXPECT_EQ(m_log.lines(), QStringList{ readFailure });
}

TEST_F(FTPManagerEngineTest, WhatTheDiskDoesNotTakeWaitsForTheNextEventAndIsWrittenBeforeTheNextRead)
{
    m_streams.next.resourceSize = 12;
    m_streams.next.readAnswers = { "0123456789"_ba, "ab"_ba };
    play({ OpenCompleted, HasBytesAvailable });
    QByteArray afterOneEvent;
    m_streams.next.whenOver = [&](FakeFTPStream& stream) {
        afterOneEvent = localContents();
        stream.turns.assign(5, { HasBytesAvailable });
    };
    const FaultyFileCalls faults;
    FaultyFileCalls::limitWrites(4);

    EXPECT_TRUE(download());

    EXPECT_EQ(afterOneEvent, "0123"_ba);
    EXPECT_EQ(localContents(), "0123456789ab"_ba);
    ASSERT_EQ(m_delegate.downloads.size(), 3U);
    expectProgress(m_delegate.downloads[1], 12, 10, 10, 10.0F / 12);
    expectProgress(m_delegate.downloads[2], 12, 2, 12, 1.0F);
}

TEST_F(FTPManagerEngineTest, ADiskThatTakesNothingIsAFailure)
{
    m_streams.next.readAnswers = { "0123"_ba };
    play({ OpenCompleted, HasBytesAvailable });
    const FaultyFileCalls faults;
    FaultyFileCalls::limitWrites(0);

    EXPECT_FALSE(download());

    EXPECT_EQ(m_log.lines(), QStringList{ writeFailure });
}

TEST_F(FTPManagerEngineTest, AFullDiskEndsADownload)
{
    m_streams.next.readAnswers = { "0123"_ba };
    play({ OpenCompleted, HasBytesAvailable, HasBytesAvailable });
    const FileSizeLimit full(2);

    EXPECT_FALSE(download());

    EXPECT_EQ(m_log.lines(), QStringList{ writeFailure });
    EXPECT_FALSE(QFile::exists(localPath()));
}

TEST_F(FTPManagerEngineTest, AnEmptyDownloadToAPlaceThatCannotBeWrittenFails)
{
    ASSERT_TRUE(QDir(m_directory.path()).mkdir(u"name"_s));
    play({ OpenCompleted, HasBytesAvailable });

    EXPECT_FALSE(download());

    EXPECT_EQ(m_log.lines(), QStringList{ writeFailure });
    EXPECT_TRUE(QFileInfo(localPath()).isDir());
}

// Listings

TEST_F(FTPManagerEngineTest, AListingIsGatheredAndEndsWithARead)
{
    m_streams.next.readAnswers
        = { "-rw-r--r-- 1 a b 1 Jan 12 15:04 fi"_ba, "rst\n-rw-r--r-- 1 a b 1 Jan 12 15:04 second\r\n"_ba };
    play({ OpenCompleted, HasBytesAvailable, HasBytesAvailable, HasBytesAvailable });

    const auto entries = list();

    ASSERT_TRUE(entries);
    ASSERT_EQ(entries->size(), 2);
    EXPECT_EQ(entries->at(0).name, u"first"_s);
    EXPECT_EQ(entries->at(1).name, u"second"_s);
}

TEST_F(FTPManagerEngineTest, AReadThatFailsEndsAListing)
{
    m_streams.next.readAnswers = { std::nullopt };
    play({ OpenCompleted, HasBytesAvailable });

    EXPECT_FALSE(list());

    EXPECT_EQ(m_log.lines(), QStringList{ readFailure });
}

TEST_F(FTPManagerEngineTest, AListingHasNoProgress)
{
    std::optional<FTPManagerProgress> progress = FTPManagerProgress();
    play({ OpenCompleted });
    m_streams.next.whenOver = [&](FakeFTPStream& stream) {
        progress = m_manager.progress();
        stream.turns = { { HasBytesAvailable } };
    };

    EXPECT_TRUE(list());

    EXPECT_FALSE(progress);
    EXPECT_TRUE(m_delegate.downloads.empty());
}

// Events that do not belong, and ends

TEST_F(FTPManagerEngineTest, OnlyAFolderIsCompleteWithTheEndOfItsStream)
{
    play({ OpenCompleted, EndEncountered });
    EXPECT_TRUE(createFolder());

    m_streams.next.turns = { { EndEncountered }, { HasSpaceAvailable }, { HasSpaceAvailable } };
    EXPECT_TRUE(upload("hello"));
    EXPECT_EQ(m_streams.last().written, "hello"_ba);

    m_streams.next.readAnswers = { "-rw-r--r-- 1 a b 1 Jan 12 15:04 first\n"_ba };
    m_streams.next.turns = { { EndEncountered }, { HasBytesAvailable }, { HasBytesAvailable } };
    EXPECT_EQ(list()->size(), 1);

    m_streams.next.readAnswers = { "hello"_ba };
    m_streams.next.turns = { { EndEncountered }, { HasBytesAvailable }, { HasBytesAvailable } };
    EXPECT_TRUE(download());
    EXPECT_EQ(localContents(), "hello"_ba);
}

TEST_F(FTPManagerEngineTest, BytesWhereNoneBelongAreAFailure)
{
    for (const auto& operation :
         { std::function([this] { return upload("hello"); }), std::function([this] { return createFolder(); }) }) {
        const LogRecorder log;
        m_streams.next.turns = { { HasBytesAvailable } };

        EXPECT_FALSE(operation());

        EXPECT_EQ(log.lines(), QStringList{ generalFailure });
    }
}

TEST_F(FTPManagerEngineTest, SpaceWhereNoneBelongsIsAFailure)
{
    for (const auto& operation :
         { std::function([this] { return createFolder(); }), std::function([this] { return list().has_value(); }),
           std::function([this] { return download(); }) }) {
        const LogRecorder log;
        m_streams.next.turns = { { HasSpaceAvailable } };

        EXPECT_FALSE(operation());

        EXPECT_EQ(log.lines(), QStringList{ generalFailure });
    }
}

TEST_F(FTPManagerEngineTest, AnErrorEndsEveryOperation)
{
    for (const auto& operation :
         { std::function([this] { return upload("hello"); }), std::function([this] { return createFolder(); }),
           std::function([this] { return list().has_value(); }), std::function([this] { return download(); }) }) {
        const LogRecorder log;
        m_streams.next.turns = { { OpenCompleted }, { ErrorOccurred } };

        EXPECT_FALSE(operation());

        EXPECT_EQ(log.lines(), QStringList{ generalFailure });
    }
}

TEST_F(FTPManagerEngineTest, WhatTheStreamLeavesUndecidedIsToldUntilTheNextOperation)
{
    for (const auto& operation :
         { std::function([this] { return upload("hello"); }), std::function([this] { return createFolder(); }) }) {
        m_streams.next.error = { .domain = FTPStreamError::Domain::Silent, .isUndecided = true };
        m_streams.next.turns = { { OpenCompleted }, { ErrorOccurred } };
        EXPECT_FALSE(operation());
        EXPECT_TRUE(m_manager.isUndecided());

        m_streams.next.error = { .domain = FTPStreamError::Domain::Silent };
        m_streams.next.turns = { { OpenCompleted }, { ErrorOccurred } };
        EXPECT_FALSE(operation());
        EXPECT_FALSE(m_manager.isUndecided());
    }
}

TEST_F(FTPManagerEngineTest, NothingThatComesAfterTheEndCounts)
{
    m_streams.next.turns
        = { { OpenCompleted }, { HasBytesAvailable, ErrorOccurred, HasSpaceAvailable, HasBytesAvailable } };

    EXPECT_TRUE(list());

    EXPECT_EQ(m_log.lines(), QStringList());
}

TEST_F(FTPManagerEngineTest, AFailureIsNotTurnedIntoASuccess)
{
    m_streams.next.turns = { { ErrorOccurred, EndEncountered } };

    EXPECT_FALSE(createFolder());

    EXPECT_EQ(m_log.lines(), QStringList{ generalFailure });
}

TEST_F(FTPManagerEngineTest, AStreamIsLoggedInThenOpenedAndInTheEndClosed)
{
    play({ EndEncountered });

    EXPECT_TRUE(createFolder());

    EXPECT_EQ(m_streams.last().calls,
              (QStringList{ u"setUserName user"_s, u"setPassword word"_s, u"open"_s, u"close"_s }));
}

// One operation after the other

TEST_F(FTPManagerEngineTest, WhatAFailedTransferLeavesInTheBufferIsNotPassedOnByTheNext)
{
    const auto failMidway = [this] {
        m_streams.next.writeAnswers = { 3 };
        m_streams.next.turns = { { HasSpaceAvailable }, { ErrorOccurred } };
        EXPECT_FALSE(upload("0123456789"));
        m_streams.next = {};
    };

    failMidway();
    play({ HasSpaceAvailable, HasSpaceAvailable });
    EXPECT_TRUE(upload("again"));
    EXPECT_EQ(m_streams.last().written, "again"_ba);
    EXPECT_FALSE(m_manager.progress());

    failMidway();
    m_streams.next.readAnswers = { "hello"_ba };
    play({ HasBytesAvailable, HasBytesAvailable });
    EXPECT_TRUE(download());
    EXPECT_EQ(localContents(), "hello"_ba);
}

TEST_F(FTPManagerEngineTest, TheNumbersOfATransferBeginAtZero)
{
    m_streams.next.writeAnswers = { 3 };
    play({ HasSpaceAvailable, ErrorOccurred });
    EXPECT_FALSE(upload("0123456789"));

    m_streams.next.turns = { { HasSpaceAvailable }, { ErrorOccurred } };
    EXPECT_FALSE(upload("01234"));
    expectProgress(m_delegate.uploads.back(), 5, 3, 3, 0.6F);

    m_streams.next.resourceSize = 10;
    m_streams.next.turns = { { OpenCompleted }, { ErrorOccurred } };
    EXPECT_FALSE(download());
    expectProgress(m_delegate.downloads.back(), 10, 0, 0, 0.0F);
}

TEST_F(FTPManagerEngineTest, TheRowsOfAListingThatFailedAreNotAmongThoseOfTheNext)
{
    m_streams.next.readAnswers = { "-rw-r--r-- 1 a b 1 Jan 12 15:04 first\n"_ba };
    play({ HasBytesAvailable, ErrorOccurred });
    EXPECT_FALSE(list());
    m_streams.next.readAnswers = { "-rw-r--r-- 1 a b 1 Jan 12 15:04 second\n"_ba };
    m_streams.next.turns = { { HasBytesAvailable }, { HasBytesAvailable } };

    const auto entries = list();

    ASSERT_TRUE(entries);
    ASSERT_EQ(entries->size(), 1);
    EXPECT_EQ(entries->first().name, u"second"_s);
}

TEST_F(FTPManagerEngineTest, WithoutADelegateEverythingIsMovedAndNobodyIsTold)
{
    m_manager.setDelegate(nullptr);

    m_streams.next.readAnswers = { "hel"_ba, "lo"_ba };
    play({ OpenCompleted, HasBytesAvailable, HasBytesAvailable, HasBytesAvailable });
    EXPECT_TRUE(download());
    EXPECT_EQ(localContents(), "hello"_ba);

    m_streams.next = {};
    play({ OpenCompleted, HasSpaceAvailable, HasSpaceAvailable });
    EXPECT_TRUE(upload("hello"));
    EXPECT_EQ(m_streams.last().written, "hello"_ba);

    EXPECT_TRUE(m_delegate.uploads.empty());
    EXPECT_TRUE(m_delegate.downloads.empty());
}

} // namespace
