#include "StreamTest.h"

namespace {

using UploadStreamTest = StreamTest;

TEST_F(UploadStreamTest, SucceedsOnlyWhenTheServerHasConfirmed)
{
    startUpload(u"/a%20b"_s, "hello");
    auto control = open("STOR a b");
    control->say("150 Go");
    EXPECT_EQ(m_data->receiveToEnd(), "hello");
    EXPECT_FALSE(waitFor([this] { return m_recorder.log().last() == u"end"_s; }, 50ms));

    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"end"_s }));
}

TEST_F(UploadStreamTest, AConfirmationOf250Counts)
{
    startUpload(u"/a"_s, "hello");
    auto control = open("STOR a");
    m_data->receiveToEnd();

    control->say("250 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_F(UploadStreamTest, NoOtherAnswerConfirms)
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

TEST_F(UploadStreamTest, AnEmptyFileIsEndedAtOnceAndConfirmed)
{
    startUpload(u"/empty"_s, "");
    auto control = open("STOR empty");
    EXPECT_EQ(m_data->receiveToEnd(), "");
    EXPECT_EQ(m_recorder.log(), QStringList{ u"open"_s });

    control->say("226 Got nothing");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"end"_s }));
}

TEST_F(UploadStreamTest, TheFolderIsEnteredRelativeToTheLoginFolderOrAbsolutely)
{
    struct Row {
        QString path;
        QByteArray folder;
    };
    for (const Row& row : {
             Row{ u"/in/x%20y/f"_s, "CWD in/x y" },
             Row{ u"//srv/x/f"_s, "CWD /srv/x" },
             Row{ u"//f"_s, "CWD /" },
             Row{ u"/~x/f"_s, "CWD ./~x" },
             Row{ u"/%C3%A9%25/f"_s, "CWD \xc3\xa9%" },
         }) {
        SCOPED_TRACE(row.path.toStdString());
        startUpload(row.path, "x");

        auto control = logIn({ row.folder, "TYPE I", "EPSV" });

        EXPECT_NE(control, nullptr);
        m_recorder.close();
    }
}

TEST_F(UploadStreamTest, NamesArriveAsTheUserSeesThem)
{
    struct Row {
        QString path;
        QByteArray name;
    };
    for (const Row& row : {
             Row{ u"/%2541"_s, "STOR %41" },
             Row{ u"/%23%3B%3F%22'"_s, "STOR #;?\"'" },
             Row{ u"/;type=a"_s, "STOR ;type=a" },
             Row{ u"/%20lead"_s, "STOR  lead" },
             Row{ u"/~home"_s, "STOR ./~home" },
             Row{ u"/%F0%9F%98%80"_s, "STOR \xf0\x9f\x98\x80" },
             Row{ u"/name/"_s, "STOR name" },
         }) {
        SCOPED_TRACE(row.path.toStdString());
        startUpload(row.path, "x");

        auto control = open(row.name);

        EXPECT_NE(control, nullptr);
        m_recorder.close();
    }
}

TEST_F(UploadStreamTest, ASecondFileInTheFolderCostsTwoCommands)
{
    startUpload(u"/first"_s, "1");
    auto control = open("STOR first");
    m_data->receiveToEnd();
    control->say("226 Got it");
    m_recorder.waitForEnd();

    startUpload(u"/second"_s, "2");
    EXPECT_EQ(control->hear(), "EPSV");
    EXPECT_TRUE(control->isSilent());
    control->say(extendedPassive());
    EXPECT_EQ(control->hear(), "STOR second");
    EXPECT_EQ(m_dataPeer.accept()->receiveToEnd(), "2");
    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    EXPECT_EQ(m_peer.connectionCount(), 1);
}

TEST_F(UploadStreamTest, AnotherFolderIsEnteredByItsAbsolutePath)
{
    startUpload(u"/first"_s, "1");
    auto control = open("STOR first");
    m_data->receiveToEnd();
    control->say("226 Got it");
    m_recorder.waitForEnd();

    startUpload(u"/sub/second"_s, "2");

    EXPECT_EQ(control->hear(3), (QByteArrayList{ "CWD /home/sub", "TYPE I", "EPSV" }));
}

TEST_F(UploadStreamTest, AFolderThatIsRefusedIsReportedAndNothingIsStored)
{
    startUpload(u"/none/f"_s, "x");
    auto control = logIn({ "CWD none", "TYPE I", "EPSV" });
    control->say("550 No such folder");
    control->say("200 Fine");
    control->say(extendedPassive());

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 550"_s });
    EXPECT_TRUE(control->isSilent());
}

TEST_F(UploadStreamTest, TheConnectionIsReusedAfterARefusal)
{
    startUpload(u"/f"_s, "x");
    auto control = open("STOR f");
    control->say("553 Not this one");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"FTP 553"_s);

    startUpload(u"/g"_s, "x");

    EXPECT_EQ(control->hear(), "EPSV");
}

TEST_F(UploadStreamTest, EveryRefusalOfTheSetUpIsReportedWithItsCode)
{
    struct Row {
        const char* why;
        QByteArrayList replies; ///< To greeting, USER, PASS, PWD, TYPE, EPSV.
        QString report;
    };
    for (const Row& row : {
             Row{ "greeting 421", { "421 Too many" }, u"FTP 421"_s },
             Row{ "greeting 500", { "500 Go away" }, u"FTP 500"_s },
             Row{ "greeting 120", { "120 Wait", "220 Ready", "530 No" }, u"FTP 530"_s },
             Row{ "USER refused, PASS out of order", { "220 Ready", "530 No", "503 First USER" }, u"FTP 530"_s },
             Row{ "USER wants an account", { "220 Ready", "332 Account" }, u"other"_s },
             Row{ "PASS refused", { "220 Ready", "331 Password", "530 No" }, u"FTP 530"_s },
             Row{ "PASS wants an account", { "220 Ready", "331 Password", "332 Account" }, u"other"_s },
             Row{ "421 to PASS", { "220 Ready", "331 Password", "421 Closing" }, u"FTP 421"_s },
             Row{ "TYPE refused", { "220 Ready", "331 P", "230 In", "502 No PWD", "504 No" }, u"FTP 504"_s },
             Row{ "EPSV 425", { "220 Ready", "331 P", "230 In", "502 No PWD", "200 I", "425 No" }, u"FTP 425"_s },
             Row{ "EPSV 530", { "220 Ready", "331 P", "230 In", "502 No PWD", "200 I", "530 No" }, u"FTP 530"_s },
             Row{ "no FTP at all", { "SSH-2.0-Server" }, u"other"_s },
         }) {
        SCOPED_TRACE(row.why);
        ScriptedPeer peer;
        m_recorder.start(m_factory.createUploadStream(peer.location(u"/f"_s), 1));
        auto control = peer.accept();
        for (const QByteArray& reply : row.replies) {
            control->say(reply);
        }

        EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ row.report });
    }
}

TEST_F(UploadStreamTest, ALoginWithoutAPasswordGoesOn)
{
    startUpload(u"/f"_s, "x");
    auto control = m_peer.accept();
    for (const char* reply : { "220 Ready", "230 In", "503 No password wanted", "257 \"/\"", "200 I" }) {
        control->say(reply);
    }
    control->say(extendedPassive());

    EXPECT_TRUE(m_recorder.waitFor(u"space"_s));
}

TEST_F(UploadStreamTest, WithoutAUserNameTheLoginIsAnonymous)
{
    m_recorder.start(m_factory.createUploadStream(m_peer.location(u"/f"_s), 0), QString());
    auto control = m_peer.accept();
    control->say("220 Ready");

    EXPECT_EQ(control->hear(2), (QByteArrayList{ "USER anonymous", "PASS anonymous@" }));
}

TEST_F(UploadStreamTest, RepliesAreUnderstoodByteByByteAndWithOtherCodesInside)
{
    startUpload(u"/f"_s, "x");
    auto control = m_peer.accept();
    for (const char byte :
         QByteArray("220-Hello\r\n530 not meant\r\n220 Ready\r\n331 P\r\n230 In\r\n257 \"/\"\r\n200 I\r\n")) {
        control->sendBytes(QByteArray(1, byte));
        drainEventLoop();
    }
    control->say(extendedPassive());

    EXPECT_TRUE(m_recorder.waitFor(u"space"_s));
}

TEST_F(UploadStreamTest, AnEarlyRefusalEndsTheUploadAlsoWhileTheServerStopsReading)
{
    startUpload(u"/f"_s, QByteArray(64 * 1024 * 1024, 'x'));
    auto control = open("STOR f");
    control->say("150 Go");
    ASSERT_TRUE(m_recorder.waitFor(u"space"_s));

    control->say("552 Full");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"FTP 552"_s }));
}

TEST_F(UploadStreamTest, ABrokenDataConnectionIsReportedWithTheServersReason)
{
    startUpload(u"/f"_s, QByteArray(64 * 1024 * 1024, 'x'));
    auto control = open("STOR f");
    control->say("150 Go");
    m_data->receive(100);
    m_data->reset();
    EXPECT_FALSE(waitFor([this] { return m_recorder.log().last() != u"space"_s; }, 50ms));

    control->say("426 Broken");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"FTP 426"_s }));
}

TEST_F(UploadStreamTest, ABrokenDataConnectionWithoutAReasonIsALostConnection)
{
    m_timeouts.reason = 50ms;
    startUpload(u"/f"_s, QByteArray(64 * 1024 * 1024, 'x'));
    auto control = open("STOR f");
    m_data->receive(100);

    m_data->reset();

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
}

TEST_F(UploadStreamTest, ABrokenDataConnectionIsNoSuccessWhateverTheServerSays)
{
    startUpload(u"/f"_s, QByteArray(64 * 1024 * 1024, 'x'));
    auto control = open("STOR f");
    m_data->receive(100);
    m_data->reset();
    drainEventLoop();

    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
}

TEST_F(UploadStreamTest, AConfirmationBeforeTheEndConfirmsNothing)
{
    startUpload(u"/f"_s, QByteArray(64 * 1024 * 1024, 'x'));
    auto control = open("STOR f");
    ASSERT_TRUE(m_recorder.waitFor(u"space"_s));

    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
}

TEST_F(UploadStreamTest, ARefusalBehindTheDataIsReported)
{
    startUpload(u"/f"_s, "hello");
    auto control = open("STOR f");
    control->say("150 Go");
    m_data->receiveToEnd();

    control->say("552 Full");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"FTP 552"_s }));
}

TEST_F(UploadStreamTest, AControlConnectionLostBeforeTheConfirmationIsAFailure)
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
    }
}

TEST_F(UploadStreamTest, PasvIsUsedWhereEpsvIsRefusedAndThePortAloneIsTaken)
{
    for (const char* refusal : { "500 What", "502 Not here", "522 Wrong family", "229 Somewhere" }) {
        SCOPED_TRACE(refusal);
        ScriptedPeer peer;
        m_recorder.data = "hello";
        m_recorder.start(m_factory.createUploadStream(peer.location(u"/f"_s), 5));
        auto control = peer.accept();
        for (const char* reply : { "220 Ready", "331 P", "230 In", "257 \"/\"", "200 I" }) {
            control->say(reply);
        }
        control->hear(5);

        control->say(refusal);

        EXPECT_EQ(control->hear(), "PASV");
        const int port = m_dataPeer.port();
        control->say("227 Passive (192,0,2,1," + QByteArray::number(port / 256) + ',' + QByteArray::number(port % 256)
                     + ")");
        auto data = m_dataPeer.accept();
        ASSERT_NE(data, nullptr);
        EXPECT_EQ(data->receiveToEnd(), "hello");
    }
}

TEST_F(UploadStreamTest, ADeadExtendedPassivePortIsTriedOnceMoreWithPasv)
{
    m_timeouts.reason = 20ms;
    startUpload(u"/f"_s, "hello");
    auto control = logIn({ "TYPE I", "EPSV" });
    control->say("200 I");

    control->say("229 Come (|||" + QByteArray::number(deadPort()) + "|)");

    auto second = logIn({ "TYPE I", "PASV" });
    ASSERT_NE(second, nullptr);
    second->say("200 I");
    second->say(passive());
    EXPECT_EQ(m_dataPeer.accept()->receiveToEnd(), "hello");
    second->say("226 Got it");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_F(UploadStreamTest, ARefusalIsReportedAlsoWhenTheDataPortIsDead)
{
    startUpload(u"/f"_s, "hello");
    auto control = logIn({ "TYPE I", "EPSV" });
    control->say("200 I");
    control->say("229 Come (|||" + QByteArray::number(deadPort()) + "|)");
    control->hear();

    control->say("553 Not this one");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 553"_s });
}

TEST_F(UploadStreamTest, AServerThatStumblesOverPipeliningIsAskedInTurnAndRemembered)
{
    startUpload(u"/sub/f"_s, "hello");
    auto first = m_peer.accept();
    first->say("220 Ready");
    first->hear(6);
    first->say("331 P");
    first->say("503 One at a time");

    auto second = m_peer.accept();
    ASSERT_NE(second, nullptr);
    second->say("220 Ready");
    for (const auto& [command, reply] :
         { std::pair{ "USER anna", "331 P" }, std::pair{ "PASS secret", "230 In" }, std::pair{ "PWD", "257 \"/\"" },
           std::pair{ "CWD sub", "250 There" }, std::pair{ "TYPE I", "200 I" } }) {
        EXPECT_EQ(second->hear(), command);
        EXPECT_TRUE(second->isSilent());
        second->say(reply);
    }
    EXPECT_EQ(second->hear(), "EPSV");
    second->say(extendedPassive());
    m_dataPeer.accept()->receiveToEnd();
    second->hear();
    second->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_F(UploadStreamTest, AConnectionLostInThePipelinedSetUpIsTriedOnceInTurn)
{
    startUpload(u"/f"_s, "hello");
    auto first = m_peer.accept();
    first->say("220 Ready");
    first->hear(5);
    first->close();

    auto second = m_peer.accept();
    ASSERT_NE(second, nullptr);
    second->say("220 Ready");
    EXPECT_EQ(second->hear(), "USER anna");
    second->close();

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_EQ(m_peer.connectionCount(), 2);
}

TEST_F(UploadStreamTest, AConnectionThatCannotBeMadeIsAnErrorOfTheOtherDomain)
{
    m_peer.stopListening();

    startUpload(u"/f"_s, "hello");

    EXPECT_TRUE(m_recorder.log().isEmpty());
    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
}

TEST_F(UploadStreamTest, WhatCannotBeSentFailsFromTheLoopWithoutAConnection)
{
    struct Row {
        QString path;
        QString userName;
        QString password;
    };
    const QString nul = u"a%00"_s;
    for (const Row& row : {
             Row{ u"/a%0d%0aDELE%20b"_s, u"anna"_s, u"p"_s },
             Row{ u"/a%0a/f"_s, u"anna"_s, u"p"_s },
             Row{ u"/a%00"_s, u"anna"_s, u"p"_s },
             Row{ u"/f"_s, u"anna\r\nDELE b"_s, u"p"_s },
             Row{ u"/f"_s, u"anna"_s, u"p\nDELE b"_s },
             Row{ u"/f"_s, u"anna"_s, u"p"_s + QChar(0) },
             Row{ u"/"_s, u"anna"_s, u"p"_s },
         }) {
        SCOPED_TRACE(row.path.toStdString());
        m_recorder.start(m_factory.createUploadStream(m_peer.location(row.path), 1), row.userName, row.password);
        EXPECT_TRUE(m_recorder.log().isEmpty());

        EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    }
    m_recorder.start(m_factory.createUploadStream(u"http://host/f"_s, 1));
    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_EQ(m_peer.connectionCount(), 0);
}

TEST_F(UploadStreamTest, IPv6ServersAreReachedInBrackets)
{
    ScriptedPeer peer(QHostAddress::LocalHostIPv6);
    const ScriptedPeer dataPeer(QHostAddress::LocalHostIPv6);
    m_recorder.data = "hello";
    m_recorder.start(m_factory.createUploadStream(peer.location(u"/f"_s), 5));
    auto control = peer.accept();
    ASSERT_NE(control, nullptr);
    for (const char* reply : { "220 Ready", "331 P", "230 In", "257 \"/\"", "200 I" }) {
        control->say(reply);
    }

    control->say("229 Come (|||" + QByteArray::number(dataPeer.port()) + "|)");

    EXPECT_TRUE(m_recorder.waitFor(u"space"_s));
}

} // namespace
