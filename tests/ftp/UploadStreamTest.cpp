#include "StreamTest.h"

namespace {

using UploadStreamTest = EachEncryptionTest;
RUN_IN_CLEAR_AND_ENCRYPTED(UploadStreamTest);

TEST_P(UploadStreamTest, SucceedsOnlyWhenTheServerHasConfirmed)
{
    startUpload(u"/a%20b"_s, "hello");
    auto control = open("STOR a b");
    control->say("150 Go");
    EXPECT_EQ(m_data->receiveToEnd(), "hello");
    EXPECT_FALSE(waitFor([this] { return m_recorder.log().last() == u"end"_s; }, 50ms));

    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"end"_s }));
}

TEST_P(UploadStreamTest, AConfirmationOf250Counts)
{
    startUpload(u"/a"_s, "hello");
    auto control = open("STOR a");
    m_data->receiveToEnd();

    control->say("250 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_P(UploadStreamTest, NoOtherAnswerConfirms)
{
    for (const QByteArray& answer : { QByteArray("200 Okay"), QByteArray("225 Open"), QByteArray("331 What") }) {
        SCOPED_TRACE(answer.toStdString());
        startUpload(u"/a"_s, "hello");
        auto control = open("STOR a");
        m_data->receiveToEnd();

        control->say(answer);

        EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
        EXPECT_NE(control->waitForEnd(), End::None);
    }
}

TEST_P(UploadStreamTest, AnEmptyFileIsEndedAtOnceAndConfirmed)
{
    startUpload(u"/empty"_s, "");
    auto control = open("STOR empty");
    EXPECT_EQ(m_data->receiveToEnd(), "");
    EXPECT_EQ(m_recorder.log(), QStringList{ u"open"_s });

    control->say("226 Got nothing");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"end"_s }));
}

TEST_P(UploadStreamTest, ALargeFileArrivesWholeThroughAFullSocket)
{
    QByteArray data;
    for (int i = 0; data.size() < 8 * 1024 * 1024; ++i) {
        data += QByteArray::number(i) + ' ';
    }
    startUpload(u"/f"_s, data);
    auto control = open("STOR f");
    control->say("150 Go");
    EXPECT_FALSE(waitFor([this] { return m_recorder.log().contains(u"end"_s); }, 50ms)); // Nobody reads.

    EXPECT_TRUE(m_data->receiveToEnd() == data);
    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_P(UploadStreamTest, ABlockLargerThanAllBuffersArrivesWholeBeforeItIsConfirmed)
{
    m_recorder.blockSize = tooMuch;
    const QByteArray data(tooMuch, 'x');
    startUpload(u"/f"_s, data);
    auto control = open("STOR f");
    EXPECT_FALSE(waitFor([this] { return m_recorder.log().contains(u"end"_s); }, 50ms)); // Nobody reads.

    EXPECT_TRUE(m_data->receiveToEnd() == data);
    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_P(UploadStreamTest, ASecondFileInTheFolderCostsTwoCommands)
{
    auto control = upload(u"first"_s, "1");

    startUpload(u"/second"_s, "2");
    EXPECT_EQ(control->hear(), "EPSV");
    EXPECT_TRUE(control->isSilent());
    control->say(extendedPassive());
    acceptData();
    EXPECT_EQ(control->hear(), "STOR second");
    EXPECT_EQ(m_data->receiveToEnd(), "2");
    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    EXPECT_EQ(m_peer.connectionCount(), 1);
}

TEST_P(UploadStreamTest, AnotherFolderIsEnteredByItsAbsolutePath)
{
    auto control = upload(u"first"_s, "1");

    startUpload(u"/sub/second"_s, "2");

    EXPECT_EQ(control->hear(3), (QByteArrayList{ "CWD /home/sub", "TYPE I", "EPSV" }));
}

TEST_P(UploadStreamTest, AFolderThatIsRefusedIsReportedAndNothingIsStored)
{
    startUpload(u"/none/f"_s, "x");
    auto control = logIn({ "CWD none", "TYPE I", "EPSV" });
    control->say("550 No such folder");
    control->say("200 Fine");
    control->say(extendedPassive());

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 550"_s });
    EXPECT_TRUE(control->isSilent());
}

TEST_P(UploadStreamTest, TheConnectionIsReusedAfterARefusal)
{
    startUpload(u"/f"_s, "x");
    auto control = open("STOR f");
    control->say("553 Not this one");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"FTP 553"_s);

    startUpload(u"/g"_s, "x");

    EXPECT_EQ(control->hear(), "EPSV");
}

TEST_P(UploadStreamTest, AnEarlyRefusalEndsTheUploadAlsoWhileTheServerStopsReading)
{
    startUpload(u"/f"_s, QByteArray(tooMuch, 'x'));
    auto control = open("STOR f");
    control->say("150 Go");
    ASSERT_TRUE(m_recorder.waitFor(u"space"_s));

    control->say("552 Full");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"FTP 552"_s }));
}

TEST_P(UploadStreamTest, AFailedUploadIsInterruptedAndNotEnded)
{
    startUpload(u"/f"_s, QByteArray(tooMuch, 'x'));
    auto control = open("STOR f");
    ASSERT_TRUE(m_recorder.waitFor(u"space"_s));

    control->say("552 Full");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"FTP 552"_s);
    EXPECT_EQ(m_data->waitForEnd(), End::Reset);
}

TEST_P(UploadStreamTest, AStoppedUploadIsInterruptedAndNotEnded)
{
    startUpload(u"/f"_s, QByteArray(tooMuch, 'x'));
    auto control = open("STOR f");
    ASSERT_TRUE(m_recorder.waitFor(u"space"_s));

    m_recorder.close();

    EXPECT_EQ(m_data->waitForEnd(), End::Reset);
}

TEST_P(UploadStreamTest, ABrokenDataConnectionIsReportedWithTheServersReason)
{
    startUpload(u"/f"_s, QByteArray(tooMuch, 'x'));
    auto control = open("STOR f");
    control->say("150 Go");
    m_data->receive(100);
    m_data->reset();
    EXPECT_FALSE(waitFor([this] { return m_recorder.log().last() != u"space"_s; }, 50ms));

    control->say("426 Broken");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"FTP 426"_s }));
}

TEST_P(UploadStreamTest, OfABrokenUploadItIsKnownHowMuchTheServersMachineHasReceived)
{
    startUpload(u"/f"_s, QByteArray(tooMuch, 'x'));
    auto control = open("STOR f");
    control->say("150 Go");
    const qint64 received = m_data->receive(100'000).size();
    m_data->reset();
    ASSERT_FALSE(waitFor([this] { return m_recorder.log().last() != u"space"_s; }, 50ms));
    control->say("426 Broken");
    ASSERT_EQ(m_recorder.waitForEnd().last(), u"FTP 426"_s);

    const qint64 acknowledged = static_cast<FTPWriteStream*>(m_recorder.stream())->acknowledgedBytes();
    EXPECT_GE(acknowledged, received / 2); // Encrypted ones are counted short.
    EXPECT_GT(received, 0);
    EXPECT_LT(acknowledged, tooMuch);
}

TEST_P(UploadStreamTest, ABrokenDataConnectionWithoutAReasonIsALostConnection)
{
    m_timeouts.reason = 50ms;
    startUpload(u"/f"_s, QByteArray(tooMuch, 'x'));
    auto control = open("STOR f");
    m_data->receive(100);

    m_data->reset();

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
}

TEST_P(UploadStreamTest, ABrokenDataConnectionIsNoSuccessWhateverTheServerSays)
{
    startUpload(u"/f"_s, QByteArray(tooMuch, 'x'));
    auto control = open("STOR f");
    m_data->receive(100);
    m_data->reset();
    drainEventLoop();

    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
    EXPECT_FALSE(m_recorder.error().isUndecided); // It cannot have the file.
}

TEST_P(UploadStreamTest, NoMoreIsTakenThanTheLengthThatWasExpected)
{
    m_recorder.isIdle = true;
    start(m_factory.createUploadStream(m_peer.location(u"/f"_s), 3), m_recorder);
    auto control = open("STOR f");
    ASSERT_TRUE(m_recorder.waitFor(u"space"_s));

    EXPECT_EQ(static_cast<FTPWriteStream*>(m_recorder.stream())->write(std::span("hello", 5)), 3);

    EXPECT_EQ(m_data->receiveToEnd(), "hel");
}

TEST_P(UploadStreamTest, OfWhatIsWrittenToABrokenDataConnectionNothingIsTaken)
{
    m_recorder.isIdle = true;
    startUpload(u"/f"_s, QByteArray(tooMuch, 'x'));
    auto control = open("STOR f");
    ASSERT_TRUE(m_recorder.waitFor(u"space"_s));
    auto& stream = *static_cast<FTPWriteStream*>(m_recorder.stream());

    m_data->reset();

    EXPECT_TRUE(waitFor([&stream] { return stream.write(std::span("x", 1)) == 0; }));
    EXPECT_EQ(stream.write(std::span("x", 1)), 0);
    control->say("426 Broken");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"FTP 426"_s);
}

TEST_P(UploadStreamTest, AConfirmationBeforeTheEndConfirmsNothing)
{
    startUpload(u"/f"_s, QByteArray(tooMuch, 'x'));
    auto control = open("STOR f");
    ASSERT_TRUE(m_recorder.waitFor(u"space"_s));

    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
}

TEST_P(UploadStreamTest, ARefusalBehindTheDataIsReported)
{
    startUpload(u"/f"_s, "hello");
    auto control = open("STOR f");
    control->say("150 Go");
    m_data->receiveToEnd();

    control->say("552 Full");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"FTP 552"_s }));
    EXPECT_FALSE(m_recorder.error().isUndecided);
}

TEST_P(UploadStreamTest, AControlConnectionLostBeforeTheConfirmationIsAFailure)
{
    for (const bool isReset : { false, true }) {
        startUpload(u"/f"_s, "hello");
        auto control = open("STOR f");
        control->say("150 Go");
        m_data->receiveToEnd();

        if (isReset) {
            control->reset();
        } else {
            control->close();
        }

        EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
        EXPECT_TRUE(m_recorder.error().isUndecided); // The server may well have the file.
    }
}

TEST_P(UploadStreamTest, PasvIsUsedWhereEpsvIsRefusedAndItsPortAloneIsTaken)
{
    for (const char* refusal : { "500 What", "502 Not here", "522 Wrong family", "229 Somewhere" }) {
        SCOPED_TRACE(refusal);
        traits() = {}; // It is known for it by now.
        startUpload(u"/f"_s, "hello");
        auto control = logIn({ "TYPE I", "EPSV" });
        control->say("200 Fine");

        control->say(refusal);

        EXPECT_EQ(control->hear(), "PASV");
        control->say(passive().replace("127,0,0,1", "192,0,2,1"));
        acceptData();
        EXPECT_EQ(m_data->receiveToEnd(), "hello");
    }
}

TEST_P(UploadStreamTest, ADeadExtendedPassivePortIsTriedOnceMoreWithPasv)
{
    startUpload(u"/f"_s, "hello");
    auto control = logIn({ "TYPE I", "EPSV" });
    control->say("200 Fine");
    m_timeouts.reason = 20ms;

    control->say(extendedPassive(deadPort()));

    auto second = logIn({ "TYPE I", "PASV" });
    second->say("200 Fine");
    second->say(passive());
    acceptData();
    EXPECT_EQ(m_data->receiveToEnd(), "hello");
    EXPECT_EQ(second->hear(), "STOR f");
    second->say("226 Got it");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_P(UploadStreamTest, ADeadExtendedPassivePortThatTheServerTellsOfIsTriedWithPasvInTheSameSession)
{
    startUpload(u"/f"_s, "hello");
    auto control = logIn({ "TYPE I", "EPSV" });
    control->say("200 Fine");
    control->say(extendedPassive(deadPort()));
    EXPECT_EQ(control->hear(), "STOR f");

    control->say("425 Nobody has come");

    EXPECT_EQ(control->hear(), "PASV");
    control->say(passive());
    acceptData();
    EXPECT_EQ(control->hear(), "STOR f");
    EXPECT_EQ(m_data->receiveToEnd(), "hello");
    control->say("226 Got it");
    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"end"_s }));
    EXPECT_EQ(m_peer.connectionCount(), 1);
}

TEST_P(UploadStreamTest, ARefusalIsReportedAlsoWhenTheDataPortIsDead)
{
    startUpload(u"/f"_s, "hello");
    auto control = logIn({ "TYPE I", "EPSV" });
    control->say("200 Fine");
    control->say(extendedPassive(deadPort()));
    EXPECT_EQ(control->hear(), "STOR f");

    control->say("553 Not this one");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 553"_s });
}

TEST_P(UploadStreamTest, AServerThatDoesNotPipelineIsAskedWithoutItAndRemembered)
{
    startUpload(u"/sub/f"_s, "hello");
    auto first = greet();
    EXPECT_EQ(first->hear(static_cast<int>(login().size() + 3)).last(), "EPSV");
    first->say(login().front().second);
    first->say("503 One at a time");

    auto second = greet();
    auto turns = login();
    turns.append({ { "CWD sub", "250 There" }, { "TYPE I", "200 Fine" } });
    for (const auto& [command, reply] : turns) {
        EXPECT_EQ(second->hear(), command);
        EXPECT_TRUE(second->isSilent());
        second->say(reply);
    }
    reopen(*second, "STOR f");
    m_data->receiveToEnd();
    second->say("226 Got it");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);

    startUpload(u"/other/f"_s, "hello");
    EXPECT_EQ(second->hear(), "CWD /home/other");
    EXPECT_TRUE(second->isSilent());
}

TEST_P(UploadStreamTest, AConnectionLostInThePipelinedSetUpIsTriedOnceWithoutPipelining)
{
    startUpload(u"/f"_s, "hello");
    auto first = greet();
    first->hear(static_cast<int>(login().size()));
    first->close();

    auto second = greet();
    EXPECT_EQ(second->hear(), login().front().first);
    second->close();

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_EQ(m_peer.connectionCount(), 2);
}

} // namespace
