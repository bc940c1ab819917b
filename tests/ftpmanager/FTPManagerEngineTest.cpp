#include "FTPManager.h"
#include "LogRecorder.h"
#include "Printers.h"
#include "ScriptedStreams.h"

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
    }
    void ftpManagerDownloadProgressDidChange(const std::optional<FTPManagerProgress>& progress) override
    {
        downloads.push_back(progress);
    }

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
            m_streams.turns.push_back({ event });
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
    ScriptedStreams m_streams;
    RecordingDelegate m_delegate;
    FTPManager m_manager{ m_streams };
    LogRecorder m_log;
};

// Uploads

TEST_F(FTPManagerEngineTest, AnUploadSendsEverythingAndEndsWithItsSource)
{
    play({ OpenCompleted, HasSpaceAvailable, HasSpaceAvailable });

    EXPECT_TRUE(upload("hello"));

    EXPECT_EQ(m_streams.written, "hello"_ba);
    EXPECT_EQ(m_log.lines(), QStringList());
}

TEST_F(FTPManagerEngineTest, AnUploadReadsOneBufferAtATime)
{
    const QByteArray data(32768 + 5, 'x');
    play({ OpenCompleted, HasSpaceAvailable, HasSpaceAvailable, HasSpaceAvailable });

    EXPECT_TRUE(upload(data));

    EXPECT_EQ(m_streams.written, data);
    EXPECT_EQ(m_streams.calls.filter(u"write"_s), (QStringList{ u"write 32768"_s, u"write 5"_s }));
}

TEST_F(FTPManagerEngineTest, WhatAWriteDoesNotTakeWaitsForTheNextEvent)
{
    m_streams.writes = { 3, 1 };
    play({ HasSpaceAvailable, HasSpaceAvailable, HasSpaceAvailable, HasSpaceAvailable });

    EXPECT_TRUE(upload("0123456789"));

    EXPECT_EQ(m_streams.written, "0123456789"_ba);
    EXPECT_EQ(m_streams.calls.filter(u"write"_s), (QStringList{ u"write 10"_s, u"write 7"_s, u"write 6"_s }));
}

TEST_F(FTPManagerEngineTest, AnUploadReportsEveryPartThatWasTaken)
{
    m_streams.writes = { 3 };
    play({ OpenCompleted, HasSpaceAvailable, HasSpaceAvailable, HasSpaceAvailable });

    EXPECT_TRUE(upload("0123456789"));

    ASSERT_EQ(m_delegate.uploads.size(), 2U);
    expectProgress(m_delegate.uploads[0], 10, 3, 3, 0.3F);
    expectProgress(m_delegate.uploads[1], 10, 7, 10, 1.0F);
    EXPECT_TRUE(m_delegate.downloads.empty());
}

TEST_F(FTPManagerEngineTest, AnEmptyUploadSucceedsWithoutAWrite)
{
    play({ OpenCompleted, HasSpaceAvailable });

    EXPECT_TRUE(upload(""));

    EXPECT_TRUE(m_streams.calls.filter(u"write"_s).isEmpty());
    EXPECT_TRUE(m_delegate.uploads.empty());
}

TEST_F(FTPManagerEngineTest, AnEmptyUploadHasNoProgress)
{
    std::optional<FTPManagerProgress> progress = FTPManagerProgress();
    m_streams.whenOver = [&] {
        progress = m_manager.progress();
        play({ HasSpaceAvailable });
    };

    EXPECT_TRUE(upload(""));

    EXPECT_FALSE(progress);
}

TEST_F(FTPManagerEngineTest, AWriteThatTakesNothingIsAFailure)
{
    for (const qint64 answer : { 0, -1 }) {
        const LogRecorder log;
        m_streams.writes = { answer };
        m_streams.turns = { { HasSpaceAvailable } };

        EXPECT_FALSE(upload("hello"));

        EXPECT_EQ(log.lines(), QStringList{ writeFailure });
    }
}

TEST_F(FTPManagerEngineTest, ASourceThatCannotBeReadIsAFailure)
{
    QFile file(localPath());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(40'000, 'x'));
    file.close();
    play({ HasSpaceAvailable });
    m_streams.whenOver = [&] {
        ASSERT_TRUE(file.resize(100));
        play({ HasSpaceAvailable });
    };

    EXPECT_FALSE(m_manager.uploadFile(QUrl::fromLocalFile(localPath()), m_server.get()));

    EXPECT_EQ(m_log.lines(), QStringList{ readFailure });
}

// Downloads

TEST_F(FTPManagerEngineTest, ADownloadWritesWhatItReadsAndEndsWithARead)
{
    m_streams.reads = { "hello "_ba, "world"_ba };
    play({ OpenCompleted, HasBytesAvailable, HasBytesAvailable, HasBytesAvailable });

    EXPECT_TRUE(download());

    EXPECT_EQ(localContents(), "hello world"_ba);
    EXPECT_EQ(m_log.lines(), QStringList());
}

TEST_F(FTPManagerEngineTest, ADownloadReportsItsBeginningAndEveryPart)
{
    m_streams.resourceSize = 10;
    m_streams.reads = { "0123"_ba, "456789"_ba };
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
    m_streams.reads = { "0123"_ba };
    play({ OpenCompleted, HasBytesAvailable, HasBytesAvailable });

    EXPECT_TRUE(download());

    ASSERT_EQ(m_delegate.downloads.size(), 2U);
    EXPECT_FALSE(m_delegate.downloads[0]);
    EXPECT_FALSE(m_delegate.downloads[1]);
}

TEST_F(FTPManagerEngineTest, TheSizeOfAnEarlierDownloadIsForgotten)
{
    m_streams.resourceSize = 10;
    play({ OpenCompleted, HasBytesAvailable });
    EXPECT_TRUE(download());
    m_streams.resourceSize.reset();
    m_streams.turns = { { OpenCompleted }, { HasBytesAvailable } };

    EXPECT_TRUE(download());

    EXPECT_FALSE(m_delegate.downloads.back());
}

TEST_F(FTPManagerEngineTest, AReadThatFailsEndsADownload)
{
    m_streams.reads = { "0123"_ba, std::nullopt };
    play({ OpenCompleted, HasBytesAvailable, HasBytesAvailable });

    EXPECT_FALSE(download());

    EXPECT_EQ(m_log.lines(), QStringList{ readFailure });
}

TEST_F(FTPManagerEngineTest, AFullDiskEndsADownload)
{
    ASSERT_TRUE(QFile::link(u"/dev/full"_s, localPath()));
    m_streams.reads = { "0123"_ba };
    play({ OpenCompleted, HasBytesAvailable });

    EXPECT_FALSE(download());

    EXPECT_EQ(m_log.lines(), QStringList{ writeFailure });
    EXPECT_TRUE(QFile::exists(u"/dev/full"_s));
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
    m_streams.reads = { "-rw-r--r-- 1 a b 1 Jan 12 15:04 fi"_ba, "rst\n-rw-r--r-- 1 a b 1 Jan 12 15:04 second\r\n"_ba };
    play({ OpenCompleted, HasBytesAvailable, HasBytesAvailable, HasBytesAvailable });

    const auto entries = list();

    ASSERT_TRUE(entries);
    ASSERT_EQ(entries->size(), 2);
    EXPECT_EQ(entries->at(0).name, u"first"_s);
    EXPECT_EQ(entries->at(1).name, u"second"_s);
}

TEST_F(FTPManagerEngineTest, AReadThatFailsEndsAListing)
{
    m_streams.reads = { std::nullopt };
    play({ OpenCompleted, HasBytesAvailable });

    EXPECT_FALSE(list());

    EXPECT_EQ(m_log.lines(), QStringList{ readFailure });
}

TEST_F(FTPManagerEngineTest, AListingHasNoProgress)
{
    std::optional<FTPManagerProgress> progress = FTPManagerProgress();
    play({ OpenCompleted });
    m_streams.whenOver = [&] {
        progress = m_manager.progress();
        play({ HasBytesAvailable });
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

    m_streams.turns = { { EndEncountered }, { HasSpaceAvailable }, { HasSpaceAvailable } };
    EXPECT_TRUE(upload("hello"));
    EXPECT_EQ(m_streams.written, "hello"_ba);

    m_streams.reads = { "-rw-r--r-- 1 a b 1 Jan 12 15:04 first\n"_ba };
    m_streams.turns = { { EndEncountered }, { HasBytesAvailable }, { HasBytesAvailable } };
    EXPECT_EQ(list()->size(), 1);

    m_streams.reads = { "hello"_ba };
    m_streams.turns = { { EndEncountered }, { HasBytesAvailable }, { HasBytesAvailable } };
    EXPECT_TRUE(download());
    EXPECT_EQ(localContents(), "hello"_ba);
}

TEST_F(FTPManagerEngineTest, BytesWhereNoneBelongAreAFailure)
{
    for (const auto& operation :
         { std::function([this] { return upload("hello"); }), std::function([this] { return createFolder(); }) }) {
        const LogRecorder log;
        m_streams.turns = { { HasBytesAvailable } };

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
        m_streams.turns = { { HasSpaceAvailable } };

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
        m_streams.turns = { { OpenCompleted }, { ErrorOccurred } };

        EXPECT_FALSE(operation());

        EXPECT_EQ(log.lines(), QStringList{ generalFailure });
    }
}

TEST_F(FTPManagerEngineTest, NothingThatComesAfterTheEndCounts)
{
    m_streams.turns = { { OpenCompleted }, { HasBytesAvailable, ErrorOccurred, HasSpaceAvailable, HasBytesAvailable } };

    EXPECT_TRUE(list());

    EXPECT_EQ(m_log.lines(), QStringList());
}

TEST_F(FTPManagerEngineTest, AFailureIsNotTurnedIntoASuccess)
{
    m_streams.turns = { { ErrorOccurred, EndEncountered } };

    EXPECT_FALSE(createFolder());

    EXPECT_EQ(m_log.lines(), QStringList{ generalFailure });
}

TEST_F(FTPManagerEngineTest, AStreamIsLoggedInThenOpenedAndInTheEndClosed)
{
    play({ EndEncountered });

    EXPECT_TRUE(createFolder());

    EXPECT_EQ(m_streams.calls,
              (QStringList{ u"folder ftp://host/name/"_s, u"user user"_s, u"password word"_s, u"open"_s, u"close"_s }));
}

TEST_F(FTPManagerEngineTest, AManagerCanBeUsedAgain)
{
    m_streams.turns = { { ErrorOccurred } };
    EXPECT_FALSE(upload("hello"));
    m_streams.turns = { { HasSpaceAvailable }, { HasSpaceAvailable } };
    EXPECT_TRUE(upload("again"));

    EXPECT_EQ(m_streams.written, "again"_ba);
    EXPECT_FALSE(m_manager.progress());
}

TEST_F(FTPManagerEngineTest, WorksWithoutADelegate)
{
    m_manager.setDelegate(nullptr);
    m_streams.reads = { "hello"_ba };
    play({ OpenCompleted, HasBytesAvailable, HasBytesAvailable });

    EXPECT_TRUE(download());
}

} // namespace
