#include "FTPPutController.h"

#include "CheckRows.h"
#include "FileInputStream.h"
#include "FileOfBytes.h"
#include "LocalPath.h"
#include "RunLoop.h"
#include "TransferTest.h"
#include "TreePath.h"

#include <QDir>

#include <memory>
#include <optional>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using Outcome = UploadOutcome::Kind;

namespace {

/// Notes progress as "percent N" and "bytes N".
class PutDelegate final : public RecordingDelegate, public FTPPutControllerDelegate {
public:
    void percentDone(float percent) override { note(u"percent %1"_s.arg(double(percent), 0, 'g', 9)); }
    void bytesDone(float bytes) override { note(u"bytes %1"_s.arg(double(bytes), 0, 'f', 0)); }
    void updateStatus(const QString& status) override { note(status); }
    void uploadDone() override { note(u"uploadDone"_s); }

    WeakRef<PutDelegate> ref() { return m_anchor.ref(this); }

private:
    WeakAnchor m_anchor;
};

class FTPPutControllerTest : public TransferTest {
protected:
    FTPPutControllerTest() { m_controller->setDelegate(m_delegate->ref()); }

    void start(const QString& filePath)
    {
        m_controller->startSend(filePath, u"ftp://host/dir/"_s, u"me"_s, u"secret"_s);
    }

    void startSendingFileOfSize(qsizetype size)
    {
        start(makeFile(u"a"_s, bytesOfSize(size)));
        m_streams.last().sendOpenCompleted();
        m_delegate->calls.clear();
    }

    /// Bytes that differ from block to block.
    static QByteArray bytesOfSize(qsizetype size)
    {
        QByteArray bytes(size, Qt::Uninitialized);
        for (qsizetype i = 0; i < size; ++i) {
            bytes[i] = static_cast<char>(i % 251);
        }
        return bytes;
    }

    std::unique_ptr<PutDelegate> m_delegate = std::make_unique<PutDelegate>();
    std::unique_ptr<FTPPutController> m_controller = std::make_unique<FTPPutController>(m_streams);
};

TEST_F(FTPPutControllerTest, ASuccessfulUploadReportsItsStepsInOrder)
{
    start(makeFile(u"a"_s, "hello"));
    m_streams.last().sendOpenCompleted();
    m_streams.last().sendHasSpace();
    m_streams.last().sendHasSpace();

    EXPECT_EQ(
        m_delegate->calls,
        (QStringList{ u"Starting put..."_s, u"Started Put."_s, u"Opened connection"_s, u"Sending \"a\""_s,
                      u"percent 100"_s, u"bytes 5"_s, u"Sending \"a\""_s, u"uploadDone"_s, u"Upload succeeded"_s }));
    EXPECT_EQ(m_streams.last().written, "hello");
    EXPECT_TRUE(m_streams.last().isClosed());
    EXPECT_FALSE(m_controller->isSending());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPPutControllerTest, TheStreamGetsLocationLengthAndLoginBeforeItOpens)
{
    start(makeFile(u"a b%41#;.txt"_s, "hello"));

    const FakeFTPStream& stream = m_streams.last();
    EXPECT_EQ(stream.kind, FakeFTPStream::Kind::Upload);
    EXPECT_EQ(stream.location, u"ftp://host/dir/a%20b%2541%23%3B.txt"_s);
    EXPECT_EQ(stream.length, 5);
    EXPECT_EQ(stream.calls, (QStringList{ u"setUserName me"_s, u"setPassword secret"_s, u"open"_s }));
    EXPECT_TRUE(m_controller->isSending());
    EXPECT_EQ(m_controller->ourRunLoop(), &RunLoop::current());
    EXPECT_EQ(countChange(), 1);
}

TEST_F(FTPPutControllerTest, ItsStreamsAreThereExactlyWhileItSends)
{
    EXPECT_EQ(m_controller->delegate().get(), m_delegate.get());
    EXPECT_EQ(m_controller->networkStream(), nullptr);
    EXPECT_EQ(m_controller->fileStream(), nullptr);

    start(makeFile(u"a"_s, "hello"));
    EXPECT_NE(m_controller->networkStream(), nullptr);
    ASSERT_NE(m_controller->fileStream(), nullptr);
    EXPECT_EQ(m_controller->fileStream()->length(), 5);

    m_controller->stopSendWithStatus(u"end"_s);
    EXPECT_EQ(m_controller->networkStream(), nullptr);
    EXPECT_EQ(m_controller->fileStream(), nullptr);
}

TEST_F(FTPPutControllerTest, AFileWhoseNameIsNotUtf8GoesUpUnderItsBytes)
{
    const FileOfBytes file(m_folder.path(), "caf\xe9.txt", "hello");
    start(LocalPath::fromBytes(file.path()));

    ASSERT_FALSE(m_streams.streams().empty());
    EXPECT_EQ(m_streams.last().location, u"ftp://host/dir/caf%E9.txt"_s);
    EXPECT_EQ(m_streams.last().length, 5);
    m_streams.last().sendHasSpace();
    EXPECT_EQ(m_streams.last().written, "hello");
    EXPECT_TRUE(m_delegate->calls.contains(u"percent 100"_s));
}

TEST_F(FTPPutControllerTest, TheServersFileGetsTheLocalNameWhateverTheDestinationEndsIn)
{
    const QString file = makeFile(u"a"_s, "x");
    for (const QString& destination : { u"ftp://host/dir"_s, u"ftp://host/dir/"_s, u" host/dir "_s }) {
        m_controller->startSend(file, destination, u"me"_s, u"secret"_s);

        EXPECT_EQ(m_streams.last().location, u"ftp://host/dir/a"_s);
        m_controller->stopSendWithStatus(u"end"_s);
    }
}

TEST_F(FTPPutControllerTest, WithoutUserNameOrPasswordTheLoginIsAnonymous)
{
    const QString file = makeFile(u"a"_s, "x");
    for (const auto& [name, password] : { std::pair{ QString(), u"secret"_s }, std::pair{ u""_s, u"secret"_s },
                                          std::pair{ u"me"_s, QString() }, std::pair{ u"me"_s, u""_s } }) {
        m_controller->startSend(file, u"host"_s, name, password);

        EXPECT_EQ(m_streams.last().calls, QStringList{ u"open"_s });
        m_controller->stopSendWithStatus(u"end"_s);
    }
}

TEST_F(FTPPutControllerTest, ZeroByteFileSucceedsWithoutProgress)
{
    startSendingFileOfSize(0);

    m_streams.last().sendHasSpace();

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Sending \"a\""_s, u"uploadDone"_s, u"Upload succeeded"_s }));
    EXPECT_EQ(m_streams.last().length, 0);
}

TEST_F(FTPPutControllerTest, AFileOfOneBufferNeedsASecondReadToEnd)
{
    startSendingFileOfSize(32768);

    m_streams.last().sendHasSpace();
    EXPECT_TRUE(m_controller->isSending());
    EXPECT_EQ(m_controller->totalBytesWritten(), 32768);
    m_streams.last().sendHasSpace();

    EXPECT_FALSE(m_controller->isSending());
    EXPECT_EQ(m_delegate->calls.last(), u"Upload succeeded"_s);
}

TEST_F(FTPPutControllerTest, FilesOfEveryLengthAroundTheBuffersArriveWhole)
{
    for (const qsizetype size : { 1, 32767, 32768, 32769, 100000 }) {
        startSendingFileOfSize(size);
        while (m_controller->isSending()) {
            m_streams.last().sendHasSpace();
        }

        EXPECT_TRUE(m_streams.last().written == bytesOfSize(size)) << size;
    }
}

TEST_F(FTPPutControllerTest, ThePartOfTheBufferThatWasNotTakenIsSentNextWithoutReadingTheFile)
{
    startSendingFileOfSize(40000);
    m_streams.last().writeAnswers = { 1000 };

    m_streams.last().sendHasSpace();
    EXPECT_EQ(m_controller->bufferOffset(), 1000U);
    EXPECT_EQ(m_controller->bufferLimit(), 32768U);
    EXPECT_EQ(m_controller->buffer()[1000], static_cast<char>(1000 % 251));
    m_streams.last().sendHasSpace();

    EXPECT_EQ(m_controller->bufferOffset(), 32768U);
    EXPECT_EQ(m_controller->bufferLimit(), 32768U);
    EXPECT_EQ(m_controller->totalBytesWritten(), 32768);
    EXPECT_TRUE(m_streams.last().written == bytesOfSize(40000).left(32768));
}

TEST_F(FTPPutControllerTest, AWriteThatTakesNothingReportsTheSameProgressAgain)
{
    startSendingFileOfSize(4);
    m_streams.last().writeAnswers = { 1, 0 };

    m_streams.last().sendHasSpace();
    m_streams.last().sendHasSpace();

    EXPECT_EQ(m_delegate->calls,
              (QStringList{ u"Sending \"a\""_s, u"percent 25"_s, u"bytes 1"_s, u"Sending \"a\""_s, u"percent 25"_s,
                            u"bytes 1"_s }));
    EXPECT_EQ(m_controller->bufferOffset(), 1U);
}

TEST_F(FTPPutControllerTest, WhatAStoppedUploadLeftInTheBufferIsNotSentWithTheNext)
{
    startSendingFileOfSize(40000);
    m_streams.last().writeAnswers = { 1000 };
    m_streams.last().sendHasSpace();
    m_controller->stopSendWithStatus(u"Upload Stopped"_s);

    start(makeFile(u"b"_s, "next"));
    m_streams.last().sendOpenCompleted();
    m_streams.last().sendHasSpace();

    EXPECT_EQ(m_streams.last().written, "next");
    EXPECT_EQ(m_controller->totalBytesWritten(), 4);
}

TEST_F(FTPPutControllerTest, ProgressIsReckonedInSinglePrecision)
{
    startSendingFileOfSize(3);
    m_streams.last().writeAnswers = { 1 };

    m_streams.last().sendHasSpace();

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Sending \"a\""_s, u"percent 33.3333359"_s, u"bytes 1"_s }));
}

TEST_F(FTPPutControllerTest, OpenCompletedSetsTheBytesToZero)
{
    startSendingFileOfSize(3);
    m_streams.last().sendHasSpace();
    EXPECT_EQ(m_controller->totalBytesWritten(), 3);

    m_streams.last().sendOpenCompleted();

    EXPECT_EQ(m_controller->totalBytesWritten(), 0);
}

TEST_F(FTPPutControllerTest, OtherEventsAreIgnored)
{
    startSendingFileOfSize(3);

    m_streams.last().send(FTPStreamEvent::HasBytesAvailable);
    m_streams.last().send(FTPStreamEvent::EndEncountered);
    m_streams.last().send(static_cast<FTPStreamEvent>(3));

    EXPECT_TRUE(m_delegate->calls.isEmpty());
    EXPECT_TRUE(m_controller->isSending());
}

TEST_F(FTPPutControllerTest, EventsOfOtherStreamsAreIgnored)
{
    startSendingFileOfSize(3);
    FTPStreamDelegate* delegate = m_streams.last().delegate;
    const std::unique_ptr<FTPWriteStream> other = m_streams.createUploadStream(u"ftp://host/b"_s, 1);

    delegate->handleEvent(*other, FTPStreamEvent::HasSpaceAvailable);

    EXPECT_TRUE(m_delegate->calls.isEmpty());
}

TEST_F(FTPPutControllerTest, ASecondStartChangesNothingButThePathAndTheName)
{
    startSendingFileOfSize(3);

    start(makeFile(u"b"_s, "other"));
    m_streams.last().sendHasSpace();

    EXPECT_EQ(m_streams.streams().size(), 1U);
    EXPECT_EQ(m_controller->pathToUpload(), path(u"b"_s));
    EXPECT_EQ(m_controller->fileSize(), 3);
    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Sending \"b\""_s, u"percent 100"_s, u"bytes 3"_s }));
    EXPECT_EQ(m_streams.last().written, bytesOfSize(3));
    EXPECT_EQ(countChange(), 1);
}

TEST_F(FTPPutControllerTest, ANullPathAndAVanishedFileAreIgnoredInSilence)
{
    start(QString());
    EXPECT_TRUE(m_controller->pathToUpload().isNull());
    start(path(u"vanished"_s));
    EXPECT_EQ(m_controller->pathToUpload(), path(u"vanished"_s));

    EXPECT_TRUE(m_delegate->calls.isEmpty());
    EXPECT_TRUE(m_streams.streams().empty());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPPutControllerTest, ADestinationThatIsNoFTPAddressIsAnInvalidURLWithoutAStop)
{
    const QString file = makeFile(u"a"_s, "hello");
    for (const QString& destination : { u"http://host/dir"_s, QString(), u""_s, u"://host"_s, u"ho st"_s }) {
        m_delegate->calls.clear();
        m_controller->startSend(file, destination, u"me"_s, u"secret"_s);

        EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting put..."_s, u"Invalid URL"_s }));
    }
    EXPECT_EQ(m_controller->fileSize(), 5);
    EXPECT_FALSE(m_controller->isSending());
    EXPECT_TRUE(m_streams.streams().empty());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPPutControllerTest, APathThatStandsForNoBytesIsNoFileThatTheSystemCouldTakeItFor)
{
    makeFile(u"?half"_s, "hello");
    start(path(QChar(0xd800) + u"half"_s));

    EXPECT_EQ(m_delegate->calls, QStringList());
    EXPECT_TRUE(m_streams.streams().empty());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPPutControllerTest, AFileWhoseSizeIsGivenAsZeroIsSentWholeWithoutProgress)
{
    const QString file = u"/proc/self/status"_s;
    start(file);
    FakeFTPStream& stream = m_streams.last();
    EXPECT_GT(stream.length, 0);
    m_delegate->calls.clear();

    while (stream.written.size() < stream.length) {
        stream.sendHasSpace();
        ASSERT_TRUE(m_controller->isSending());
    }
    stream.sendHasSpace();

    EXPECT_TRUE(stream.written.startsWith("Name:"));
    EXPECT_EQ(stream.written.size(), stream.length);
    EXPECT_EQ(m_delegate->calls.filter(u"percent"_s), QStringList());
    EXPECT_EQ(m_delegate->calls.last(), u"Upload succeeded"_s);
}

TEST_F(FTPPutControllerTest, AFileWhoseLengthCannotBeToldIsAReadErrorAndNothingIsSent)
{
    start(u"/proc/self/pagemap"_s);

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting put..."_s, u"File read error"_s }));
    EXPECT_TRUE(m_streams.streams().empty());
    EXPECT_FALSE(m_controller->isSending());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPPutControllerTest, WhatIsNoReadableFileSendsNothingAndCountsNothing)
{
    ASSERT_EQ(mkfifo(QFile::encodeName(path(u"pipe"_s)).constData(), 0600), 0);
    ASSERT_TRUE(QDir(m_folder.path()).mkdir(u"folder"_s));
    for (const QString& file : { path(u"pipe"_s), path(u"folder"_s), u"/dev/null"_s }) {
        m_delegate->calls.clear();
        start(file);

        EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting put..."_s, u"Can not create output file."_s }))
            << file.toStdString();
    }
    EXPECT_TRUE(m_streams.streams().empty());
    EXPECT_EQ(countChange(), 0);

    startSendingFileOfSize(3);
    EXPECT_TRUE(m_controller->isSending());
}

TEST_F(FTPPutControllerTest, ALinkUploadsTheFileItLeadsToUnderTheLinksName)
{
    ASSERT_TRUE(QFile::link(makeFile(u"target"_s, "hello"), path(u"link"_s)));

    start(path(u"link"_s));
    m_streams.last().sendOpenCompleted();
    m_streams.last().sendHasSpace();

    EXPECT_EQ(m_streams.last().location, u"ftp://host/dir/link"_s);
    EXPECT_EQ(m_streams.last().written, "hello");
}

TEST_F(FTPPutControllerTest, AFileThatShrinksWhileItIsSentIsAReadError)
{
    startSendingFileOfSize(40000);
    m_streams.last().sendHasSpace();
    ASSERT_TRUE(QFile::resize(path(u"a"_s), 100));

    m_streams.last().sendHasSpace();

    EXPECT_EQ(m_delegate->calls.last(), u"File read error"_s);
    EXPECT_EQ(m_controller->outcome().kind, Outcome::NotReadable);
    EXPECT_FALSE(m_delegate->calls.contains(u"uploadDone"_s));
    EXPECT_TRUE(m_streams.last().isClosed());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPPutControllerTest, WithoutAStreamTheStopIsReportedAndCounted)
{
    m_streams.refusesCreation = true;

    start(makeFile(u"a"_s, "hello"));

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting put..."_s, u"Can not create network connection."_s }));
    EXPECT_EQ(countChange(), -1);
    m_streams.refusesCreation = false;
    startSendingFileOfSize(3);
    EXPECT_TRUE(m_controller->isSending());
}

TEST_F(FTPPutControllerTest, ARefusedUserNameStopsBeforeThePassword)
{
    m_streams.next.refusesUserName = true;

    start(makeFile(u"a"_s, "hello"));

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting put..."_s, u"Could not send username."_s }));
    EXPECT_EQ(m_streams.last().calls, (QStringList{ u"setUserName me"_s, u"close"_s }));
    EXPECT_FALSE(m_controller->isSending());
    EXPECT_EQ(countChange(), -1);
}

TEST_F(FTPPutControllerTest, ARefusedPasswordStopsBeforeTheOpening)
{
    m_streams.next.refusesPassword = true;

    start(makeFile(u"a"_s, "hello"));

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting put..."_s, u"Could not send password."_s }));
    EXPECT_EQ(m_streams.last().calls, (QStringList{ u"setUserName me"_s, u"setPassword secret"_s, u"close"_s }));
    EXPECT_EQ(countChange(), -1);
}

TEST_F(FTPPutControllerTest, ARefusalNamesTheReplyCode)
{
    startSendingFileOfSize(3);

    m_streams.last().sendRefusal(553);

    EXPECT_EQ(m_delegate->calls, QStringList{ u"FTP error 553; Directory may already exist?"_s });
    EXPECT_TRUE(m_streams.last().isClosed());
    EXPECT_FALSE(m_controller->isSending());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPPutControllerTest, AnyOtherErrorIsAStreamOpenError)
{
    startSendingFileOfSize(3);

    m_streams.last().sendOtherError();

    EXPECT_EQ(m_delegate->calls, QStringList{ u"Stream open error"_s });
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPPutControllerTest, AnErrorOfTheStreamBecomesTheOutcomeOfItsKind)
{
    using Domain = FTPStreamError::Domain;
    checkRows<void(FTPStreamError, Outcome, int)>(
        {
            { { Domain::FTP, 553 }, Outcome::Refused, 553 },
            { { Domain::FTP, 421 }, Outcome::Refused, 421 },
            { { Domain::Silent, 0 }, Outcome::Silent, 0 },
            { { Domain::Silent, 0, true }, Outcome::Unanswered, 0 },
            { { Domain::Other, 0, true }, Outcome::Unanswered, 0 },
            { { Domain::Unsendable, 0 }, Outcome::UnsendableName, 0 },
            { { Domain::Other, 0 }, Outcome::ConnectionLost, 0 },
            { { Domain::Certificate, 0 }, Outcome::Failed, 0 },
        },
        [this](const FTPStreamError& error, Outcome kind, int code) {
            startSendingFileOfSize(3);
            m_streams.last().error = error;
            m_streams.last().reply = u"The last words"_s;

            m_streams.last().send(FTPStreamEvent::ErrorOccurred);

            EXPECT_EQ(m_controller->outcome().kind, kind);
            EXPECT_EQ(m_controller->outcome().code, code);
            EXPECT_EQ(m_controller->outcome().status, m_delegate->calls.last());
            EXPECT_EQ(m_controller->outcome().reply, u"The last words"_s);
        });
}

TEST_F(FTPPutControllerTest, WhatNeverReachesTheServerHasAnOutcomeOfItsOwn)
{
    QFile::link(path(u"loop"_s), path(u"loop"_s)); // That something is there is all that can be said of it.
    checkRows<void(QString, Outcome, QString)>(
        {
            { path(u"none"_s), Outcome::NotFound, QString() },
            { path(u"loop"_s), Outcome::NotReadable, QString() },
            { path(QString()), Outcome::NotPlainFile, u"Can not create output file."_s },
            { u"/proc/self/mem"_s, Outcome::NotReadable, u"File read error"_s },
            // A plain file that not even root can read.
            { u"/proc/sys/vm/drop_caches"_s, Outcome::NotReadable, u"Can not create output file."_s },
        },
        [this](const QString& path, Outcome kind, const QString& status) {
            start(path);

            EXPECT_EQ(m_controller->outcome().kind, kind);
            EXPECT_EQ(m_controller->outcome().status, status);
            EXPECT_EQ(m_controller->outcome().code, 0);
            EXPECT_FALSE(m_controller->isSending());
        });
}

TEST_F(FTPPutControllerTest, OnlyTheConfirmationIsTheOutcomeOfAnUploadThatWasNotInterrupted)
{
    startSendingFileOfSize(3);

    m_streams.last().sendHasSpace();
    EXPECT_EQ(m_controller->outcome().kind, Outcome::Sending);

    m_streams.last().sendHasSpace();
    EXPECT_EQ(m_controller->outcome().kind, Outcome::Confirmed);
}

TEST_F(FTPPutControllerTest, AnUploadThatIsInterruptedIsStoppedOrLost)
{
    startSendingFileOfSize(3);
    m_controller->stopSendWithStatus(u"Upload Stopped"_s);
    EXPECT_EQ(m_controller->outcome().kind, Outcome::Stopped);

    startSendingFileOfSize(3);
    m_streams.last().writeAnswers = { -1 };
    m_streams.last().sendHasSpace();
    EXPECT_EQ(m_controller->outcome().kind, Outcome::ConnectionLost);
}

TEST_F(FTPPutControllerTest, AFailedWriteIsANetworkWriteError)
{
    startSendingFileOfSize(3);
    m_streams.last().writeAnswers = { -1 };

    m_streams.last().sendHasSpace();

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Sending \"a\""_s, u"Network write error"_s }));
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPPutControllerTest, AStopFromOutsideReportsItsOwnText)
{
    startSendingFileOfSize(3);

    m_controller->stopSendWithStatus(u"Upload Stopped"_s);
    m_streams.last().sendHasSpace();

    EXPECT_EQ(m_delegate->calls, QStringList{ u"Upload Stopped"_s });
    EXPECT_TRUE(m_streams.last().isClosed());
    EXPECT_EQ(m_streams.last().stream, nullptr);
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPPutControllerTest, AStopIsReportedAndCountedAlsoWhenNothingRuns)
{
    m_controller->stopSendWithStatus(u"Upload Stopped"_s);

    EXPECT_EQ(m_delegate->calls, QStringList{ u"Upload Stopped"_s });
    EXPECT_EQ(countChange(), -1);
}

TEST_F(FTPPutControllerTest, DestroyingStopsWithStopped)
{
    startSendingFileOfSize(3);

    m_controller.reset();

    EXPECT_EQ(m_delegate->calls, QStringList{ u"Stopped"_s });
    EXPECT_TRUE(m_streams.last().isClosed());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPPutControllerTest, ReportsToADelegateThatIsGoneAreDropped)
{
    startSendingFileOfSize(3);
    m_delegate.reset();

    m_streams.last().sendHasSpace();
    m_streams.last().sendHasSpace();

    EXPECT_FALSE(m_controller->isSending());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPPutControllerTest, WhatTheDelegateStartsInUploadDoneReportsBeforeThisUploadsEnd)
{
    const QString next = makeFile(u"b"_s, "next");
    startSendingFileOfSize(0);
    std::optional<bool> wasSending;
    std::optional<qint64> countAtSuccess;
    m_delegate->reaction = [&](const QString& call) {
        if (call == u"uploadDone"_s) {
            wasSending = m_controller->isSending();
            start(next);
        } else if (call == u"Upload succeeded"_s) {
            countAtSuccess = countChange();
        }
    };

    m_streams.last().sendHasSpace();

    EXPECT_EQ(wasSending, false);
    EXPECT_EQ(m_delegate->calls,
              (QStringList{ u"Sending \"a\""_s, u"uploadDone"_s, u"Starting put..."_s, u"Started Put."_s,
                            u"Upload succeeded"_s }));
    EXPECT_EQ(countAtSuccess, 2);
    EXPECT_EQ(countChange(), 1);
    EXPECT_TRUE(m_controller->isSending());
    EXPECT_TRUE(m_streams.last().isOpen());
}

TEST_F(FTPPutControllerTest, ADelegateMayStopFromInsideAnyReport)
{
    for (const QString& report : { u"Sending \"a\""_s, u"percent 100"_s, u"bytes 3"_s }) {
        startSendingFileOfSize(3);
        m_delegate->reaction = [this, &report](const QString& call) {
            if (call == report) {
                m_controller->stopSendWithStatus(u"Upload Stopped"_s);
            }
        };

        m_streams.last().sendHasSpace();
        m_delegate->reaction = nullptr;

        EXPECT_EQ(m_delegate->calls.last(), u"Upload Stopped"_s) << report.toStdString();
        EXPECT_EQ(m_delegate->calls.count(u"Upload Stopped"_s), 1);
        EXPECT_EQ(countChange(), 0);
    }
}

TEST_F(FTPPutControllerTest, ADelegateMayDestroyTheControllerFromInsideAnyReport)
{
    for (const QString& report : { u"Starting put..."_s, u"Started Put."_s, u"Opened connection"_s, u"Sending \"a\""_s,
                                   u"percent 100"_s, u"bytes 3"_s, u"uploadDone"_s, u"Upload succeeded"_s }) {
        m_controller = std::make_unique<FTPPutController>(m_streams);
        m_controller->setDelegate(m_delegate->ref());
        m_delegate->calls.clear();
        NetworkManager::sharedInstance().setNetworkOperationCount(baseCount);
        m_delegate->reaction = [this, &report](const QString& call) {
            if (call == report) {
                m_controller.reset();
            }
        };

        start(makeFile(u"a"_s, "abc"));
        if (m_controller != nullptr) {
            m_streams.last().sendOpenCompleted();
            m_streams.last().sendHasSpace();
            m_streams.last().sendHasSpace();
        }
        m_delegate->reaction = nullptr;

        EXPECT_EQ(m_controller, nullptr) << report.toStdString();
        EXPECT_EQ(m_delegate->calls.last(), u"Stopped"_s) << report.toStdString();
        EXPECT_EQ(countChange(), report == u"Starting put..."_s ? -1 : 0) << report.toStdString();
    }
}

TEST_F(FTPPutControllerTest, NoOrderOfFailuresThatAUserCanCauseUnbalancesTheCount)
{
    NetworkManager::sharedInstance().setNetworkOperationCount(0);
    const QString file = makeFile(u"a"_s, "abc");
    const std::vector<std::function<void()>> uploads{
        [&] { start(path(u"vanished"_s)); },
        [&] { start(m_folder.path()); },
        [&] { m_controller->startSend(file, u"http://host"_s, QString(), QString()); },
        [&] {
            start(file);
            m_streams.last().sendOtherError();
        },
        [&] {
            start(file);
            m_streams.last().sendOpenCompleted();
            m_streams.last().sendRefusal(552);
        },
        [&] {
            start(file);
            start(file);
            m_controller->stopSendWithStatus(u"Upload Stopped"_s);
        },
        [&] {
            start(file);
            m_streams.last().sendOpenCompleted();
            m_streams.last().sendHasSpace();
            m_streams.last().sendHasSpace();
        },
    };

    for (const auto& first : uploads) {
        for (const auto& second : uploads) {
            first();
            second();

            EXPECT_EQ(NetworkManager::sharedInstance().networkOperationCount(), 0U);
        }
    }
    NetworkManager::sharedInstance().setNetworkOperationCount(baseCount);
}

TEST_F(FTPPutControllerTest, TheStreamMakesSoManyLevelsAndSaysWhichOnesAreMissing)
{
    const QString file = makeFile(u"a"_s, "x");
    start(file);
    EXPECT_EQ(m_streams.last().madeLevels, 0);
    m_controller->stopSendWithStatus(u"Stopped"_s);
    m_controller->setMadeLevels(2);

    start(file);
    m_streams.last().sendRefusal(553, 1);

    EXPECT_EQ(m_streams.last().madeLevels, 2);
    EXPECT_EQ(m_controller->outcome().kind, Outcome::Refused);
    EXPECT_EQ(m_controller->outcome().missingLevels, 1);
}

TEST_F(FTPPutControllerTest, BelowOthersAFolderIsMadeAndNothingIsSent)
{
    ASSERT_TRUE(QDir().mkpath(path(u"d"_s)));
    m_controller->setMadeLevels(1);

    start(path(u"d/"_s));
    ASSERT_TRUE(m_controller->isSending());
    EXPECT_EQ(m_controller->fileSize(), 0);
    EXPECT_EQ(m_streams.last().kind, FakeFTPStream::Kind::Folder);
    EXPECT_EQ(m_streams.last().location, u"ftp://host/dir/d"_s);
    EXPECT_EQ(m_streams.last().madeLevels, 1);
    m_delegate->calls.clear();
    m_streams.last().sendEndEncountered();

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"uploadDone"_s, u"Upload succeeded"_s }));
    EXPECT_EQ(m_controller->outcome().kind, Outcome::Confirmed);
    EXPECT_EQ(m_controller->totalBytesWritten(), 0);
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPPutControllerTest, BelowOthersAFolderInPlaceOfAFileCouldNotBeReadAndAFileInPlaceOfAFolderIsNone)
{
    ASSERT_TRUE(QDir().mkpath(path(u"d"_s)));
    for (const QByteArray name : { "d", "d/../d" }) { // The one that was dropped, and one below it.
        const QString folder
            = QString::fromUtf8(TreePath::ofUnread(TreePath::ofFolder(LocalPath::toBytes(m_folder.path()), name)));
        m_controller->setMadeLevels(TreePath::levels(folder));
        start(folder);
        EXPECT_EQ(m_controller->outcome().kind, Outcome::NotReadable) << name.toStdString();
    }
    m_controller->setMadeLevels(0);
    start(path(u"d"_s));
    EXPECT_EQ(m_controller->outcome().kind, Outcome::NotPlainFile);
    m_controller->setMadeLevels(1);

    ASSERT_TRUE(QDir().rmdir(path(u"d"_s)));
    makeFile(u"d"_s, "x");
    start(path(u"d/"_s));
    EXPECT_EQ(m_controller->outcome().kind, Outcome::NotFound); // "d/" leads to no file.
    EXPECT_TRUE(m_streams.streams().empty());
}

} // namespace
