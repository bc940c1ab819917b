#include "FTPGetControllerTest.h"
#include "FaultyFileCalls.h"
#include "FileSizeLimit.h"
#include "StandardFolders.h"

#include <QDir>

#include <cerrno>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

using FTPGetControllerFileTest = FTPGetControllerTest;

TEST_F(FTPGetControllerFileTest, AnExistingFileIsReplaced)
{
    makeFile(u"local"_s, "a longer text than the new one");
    startReceivingFileOfSize(std::nullopt);

    m_streams.last().sendBytes("new");
    m_streams.last().sendEnd();

    EXPECT_EQ(contents(m_file), "new");
}

TEST_F(FTPGetControllerFileTest, WithoutAPlaceEachDownloadGetsAFileOfItsOwnInTheDownloadsFolder)
{
    for (int i = 0; i < 2; ++i) {
        start(QString());
        m_streams.last().sendBytes("hello");
        m_streams.last().sendEnd();
    }

    const QDir downloads(downloadsDirectoryPath());
    const QStringList files = downloads.entryList({ u"*-remote name"_s }, QDir::Files);
    EXPECT_EQ(files.size(), 2);
    for (const QString& file : files) {
        EXPECT_EQ(contents(downloads.filePath(file)), "hello");
        EXPECT_TRUE(QFile::remove(downloads.filePath(file)));
    }
}

TEST_F(FTPGetControllerFileTest, AnAddressWithoutAFileNameHasNoPlaceOfItsOwn)
{
    for (const QString& address :
         { u"ftp://host"_s, u"ftp://host/"_s, u"ftp://host/.."_s, u"ftp://host/a%2F..%2Fb"_s }) {
        m_delegate->calls.clear();
        m_controller->startReceive(address, QString(), QString(), QString());

        EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting get..."_s, u"Invalid Desftination File"_s }));
    }
    EXPECT_TRUE(m_streams.streams().empty());
    EXPECT_EQ(countChange(), 0);
    start(m_file);
    EXPECT_TRUE(m_controller->isReceiving());
}

TEST_F(FTPGetControllerFileTest, WhatCannotBeAskedForMakesNoFileAndEmptiesNone)
{
    for (const QString& name : { u"a%0Db"_s, u"a%0Ab"_s, u"a%00b"_s }) {
        for (const bool isThere : { false, true }) {
            if (isThere) {
                makeFile(u"local"_s, "mine");
            }
            m_controller->startReceive(u"ftp://host/dir/"_s + name, QString(), QString(), m_file);
            m_streams.last().sendOtherError();

            EXPECT_EQ(m_delegate->calls.last(), u"Stream open error"_s);
            EXPECT_EQ(QFile::exists(m_file) ? contents(m_file) : "none", isThere ? "mine" : "none");
            QFile::remove(m_file);
        }
        m_controller->startReceive(u"ftp://host/dir/"_s + name, QString(), QString(), QString());
        EXPECT_TRUE(QDir(downloadsDirectoryPath()).isEmpty());
        m_controller->stopReceiveWithStatus(u"Download Stopped"_s);
    }
}

TEST_F(FTPGetControllerFileTest, APlaceThatCannotBeWrittenIsAFileWriteErrorAtTheFirstByte)
{
    start(path(u"missing/local"_s));
    m_streams.last().sendOpenCompleted();
    m_streams.last().sendBytes("hello");

    EXPECT_EQ(m_delegate->calls.last(), u"File write error"_s);
    EXPECT_TRUE(m_streams.last().isClosed());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPGetControllerFileTest, APlaceThatCannotBeWrittenIsAFileWriteErrorOfAnEmptyFileToo)
{
    start(path(u"missing/local"_s));
    m_streams.last().sendOpenCompleted();
    m_streams.last().sendEnd();

    EXPECT_EQ(m_delegate->calls.last(), u"File write error"_s);
    EXPECT_FALSE(m_delegate->calls.contains(u"Download succeeded"_s));
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPGetControllerFileTest, AStopKeepsItsOwnTextAlsoWhenTheFileCannotBeWritten)
{
    start(path(u"missing/local"_s));

    m_controller->stopReceiveWithStatus(u"Download Stopped"_s);

    EXPECT_EQ(m_delegate->calls.last(), u"Download Stopped"_s);
}

TEST_F(FTPGetControllerFileTest, ABlockIsWrittenInAsManyPiecesAsItTakesUntilTheDiskIsFull)
{
    startReceivingFileOfSize(100);
    {
        const FileSizeLimit limit(60);
        m_streams.last().sendBytes(QByteArray(100, 'x'));
    }

    EXPECT_EQ(m_delegate->calls,
              (QStringList{ u"Receiving \"remote%20name\""_s, u"percent 60.0000038"_s, u"bytes 60"_s,
                            u"File write error"_s }));
    EXPECT_EQ(contents(m_file), QByteArray(60, 'x'));
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPGetControllerFileTest, AFileThatTakesNothingIsAFileWriteError)
{
    startReceivingFileOfSize(std::nullopt);
    {
        const FaultyFileCalls faults;
        FaultyFileCalls::limitWrites(0);
        m_streams.last().sendBytes("hello");
    }

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Receiving \"remote%20name\""_s, u"File write error"_s }));
    EXPECT_FALSE(m_controller->isReceiving());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPGetControllerFileTest, AFileThatCannotBeClosedIsAFileWriteError)
{
    startReceivingFileOfSize(std::nullopt);
    m_streams.last().sendBytes("hello");
    {
        const FaultyFileCalls faults;
        FaultyFileCalls::failToClose(EDQUOT);
        m_streams.last().sendEnd();
    }

    EXPECT_EQ(m_delegate->calls.last(), u"File write error"_s);
    EXPECT_FALSE(m_delegate->calls.contains(u"Download succeeded"_s));
}

TEST_F(FTPGetControllerFileTest, ACancelHalfWayLeavesThePartialFile)
{
    startReceivingFileOfSize(10);
    m_streams.last().sendBytes("hello");

    m_controller->stopReceiveWithStatus(u"Download Stopped"_s);
    m_streams.last().sendBytes("world");

    EXPECT_EQ(m_delegate->calls.last(), u"Download Stopped"_s);
    EXPECT_EQ(contents(m_file), "hello");
    EXPECT_TRUE(m_controller->filePath().isNull());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPGetControllerFileTest, AnExistingFileIsEmptiedAtTheStartUnlessItIsToBeKept)
{
    EXPECT_FALSE(m_controller->keepsFileUntilWhole());
    for (const bool keeps : { false, true }) {
        makeFile(u"local"_s, "mine");
        m_controller->setKeepsFileUntilWhole(keeps);
        startReceivingFileOfSize(std::nullopt);
        m_streams.last().sendBytes("theirs");

        EXPECT_EQ(contents(m_file), keeps ? "mine" : "theirs");
        m_streams.last().sendEnd();

        EXPECT_EQ(m_delegate->calls.last(), u"Download succeeded"_s);
        EXPECT_EQ(contents(m_file), "theirs");
        EXPECT_FALSE(QFile::exists(m_file + u".part"_s));
    }
}

TEST_F(FTPGetControllerFileTest, AFileThatIsKeptIsWhatItWasAfterEveryFailure)
{
    makeFile(u"local"_s, "mine");
    m_controller->setKeepsFileUntilWhole(true);
    const QList<std::function<void()>> failures{
        [this] { m_streams.last().sendRefusal(550); },
        [this] { m_streams.last().sendReadFailure(); },
        [this] { m_controller->stopReceiveWithStatus(u"Download Stopped"_s); },
        [this] {
            const FileSizeLimit full(5);
            m_streams.last().sendBytes("theirs");
        },
        [this] {
            const FaultyFileCalls faults;
            FaultyFileCalls::failToClose(EDQUOT);
            m_streams.last().sendEnd();
        },
        [this] {
            m_streams.refusesCreation = true;
            m_controller->stopReceiveWithStatus(u"again"_s);
            start(m_file);
        },
    };
    for (qsizetype i = 0; i < failures.size(); ++i) {
        SCOPED_TRACE(i);
        startReceivingFileOfSize(std::nullopt);
        m_streams.last().sendBytes("half");

        failures[i]();

        EXPECT_FALSE(m_delegate->calls.contains(u"Download succeeded"_s));
        EXPECT_EQ(contents(m_file), "mine");
        EXPECT_FALSE(QFile::exists(m_file + u".part"_s));
    }
}

TEST_F(FTPGetControllerFileTest, AWholeFileThatCannotTakeItsNameIsToldOf)
{
    makeFile(u"local"_s, "mine");
    m_controller->setKeepsFileUntilWhole(true);
    startReceivingFileOfSize(std::nullopt);
    m_streams.last().sendBytes("theirs");
    m_delegate->calls.clear();
    {
        const FaultyFileCalls faults;
        FaultyFileCalls::refuseToRename();
        m_streams.last().sendEnd();
    }

    const QString part = m_file + u".part"_s;
    EXPECT_EQ(m_delegate->calls.last(2), (QStringList{ u"stays "_s + part, u"File write error"_s }));
    EXPECT_EQ(contents(part), "theirs");
    EXPECT_EQ(contents(m_file), "mine");
    EXPECT_FALSE(m_controller->isReceiving());
}

TEST_F(FTPGetControllerFileTest, AFinishedFileIsOpenedWhenTheUserWantsIt)
{
    ASSERT_TRUE(m_defaults.store({ { u"OpenDownloadedFiles"_s, true } }));
    startReceivingFileOfSize(std::nullopt);
    m_streams.last().sendBytes("hello");
    EXPECT_TRUE(m_opened.isEmpty());

    m_streams.last().sendEnd();

    EXPECT_EQ(m_opened, QStringList{ m_file });
}

TEST_F(FTPGetControllerFileTest, AFinishedFileIsOpenedBeforeSuccessIsReported)
{
    ASSERT_TRUE(m_defaults.store({ { u"OpenDownloadedFiles"_s, true } }));
    startReceivingFileOfSize(std::nullopt);
    QStringList openedAtReport;
    m_delegate->reaction = [this, &openedAtReport](const QString& call) {
        if (call == u"Download succeeded"_s) {
            openedAtReport = m_opened;
        }
    };

    m_streams.last().sendEnd();

    EXPECT_EQ(openedAtReport, QStringList{ m_file });
}

TEST_F(FTPGetControllerFileTest, AFinishedFileIsNotOpenedWhenTheSettingIsFalseOrAbsent)
{
    startReceivingFileOfSize(std::nullopt);
    m_streams.last().sendEnd();
    ASSERT_TRUE(m_defaults.store({ { u"OpenDownloadedFiles"_s, false } }));
    startReceivingFileOfSize(std::nullopt);
    m_streams.last().sendEnd();

    EXPECT_EQ(m_delegate->calls.last(), u"Download succeeded"_s);
    EXPECT_TRUE(m_opened.isEmpty());
}

TEST_F(FTPGetControllerFileTest, NothingIsOpenedAfterAFailureOrACancel)
{
    ASSERT_TRUE(m_defaults.store({ { u"OpenDownloadedFiles"_s, true } }));
    startReceivingFileOfSize(std::nullopt);
    m_streams.last().sendRefusal(550);
    startReceivingFileOfSize(std::nullopt);
    m_controller->stopReceiveWithStatus(u"Download Stopped"_s);
    start(path(u"missing/local"_s));
    m_streams.last().sendEnd();

    EXPECT_TRUE(m_opened.isEmpty());
}

} // namespace
