// What is said in a set-up, and how refusals of it are reported.

#include "CheckRows.h"
#include "SocketOptions.h"
#include "StreamTest.h"

#include <netinet/tcp.h>

namespace {

using StreamSetUpTest = StreamTest;

TEST_F(StreamSetUpTest, TheFolderIsEnteredRelativeToTheLoginFolderOrAbsolutely)
{
    checkRows<void(QString, QByteArray)>(
        {
            { u"/in/x%20y/f"_s, "CWD in/x y" },
            { u"//srv/x/f"_s, "CWD /srv/x" },
            { u"//f"_s, "CWD /" },
            { u"/~x/f"_s, "CWD ./~x" },
            { u"/%C3%A9%25/f"_s, "CWD \xc3\xa9%" },
        },
        [this](const QString& path, const QByteArray& command) {
            startUpload(path, "x");
            EXPECT_NE(logIn({ command, "TYPE I", "EPSV" }), nullptr);
            m_recorder.close();
        });
}

TEST_F(StreamSetUpTest, OnAKeptConnectionAnotherFolderIsEnteredAbsolutely)
{
    checkRows<void(QString, QByteArray)>(
        {
            { u"/in/x%20y/f"_s, "CWD /home/in/x y" },
            { u"//srv/x/f"_s, "CWD /srv/x" },
            { u"//f"_s, "CWD /" },
            { u"/~x/f"_s, "CWD /home/~x" },
        },
        [this](const QString& path, const QByteArray& command) {
            auto control = upload(u"first"_s, "1");
            startUpload(path, "x");
            EXPECT_EQ(control->hear(3), (QByteArrayList{ command, "TYPE I", "EPSV" }));
            control->close();
            m_recorder.close();
            EXPECT_TRUE(waitFor([this] { return m_pool.connectionCount() == 0; }));
        });
}

TEST_F(StreamSetUpTest, ALoginFolderAtTheRootMakesNoDoubleSlash)
{
    startUpload(u"/first"_s, "1");
    auto control = greet();
    control->answer({ "331 P", "230 In", "257 \"/\"", "200 I" });
    reopen(*control, "STOR first");
    m_data->receiveToEnd();
    control->say("226 Got it");
    m_recorder.waitForEnd();

    startUpload(u"/sub/second"_s, "2");

    EXPECT_EQ(control->hear(), "CWD /sub");
}

TEST_F(StreamSetUpTest, NamesArriveAsTheUserSeesThem)
{
    checkRows<void(QString, QByteArray)>(
        {
            { u"/%2541"_s, "STOR %41" },
            { u"/%23%3B%3F%22'"_s, "STOR #;?\"'" },
            { u"/;type=a"_s, "STOR ;type=a" },
            { u"/%20lead"_s, "STOR  lead" },
            { u"/~home"_s, "STOR ./~home" },
            { u"/%F0%9F%98%80"_s, "STOR \xf0\x9f\x98\x80" },
            { u"/name/"_s, "STOR name" },
        },
        [this](const QString& path, const QByteArray& command) {
            startUpload(path, "x");
            EXPECT_NE(open(command), nullptr);
            m_recorder.close();
        });
}

TEST_F(StreamSetUpTest, EveryRefusalIsReportedWithItsCode)
{
    m_timeouts.loginReason = 50ms;
    checkRows<void(QByteArrayList, QString)>(
        {
            { "greeting 421", { "421 Too many" }, u"FTP 421"_s },
            { "greeting 500", { "500 Go away" }, u"FTP 500"_s },
            { "greeting 120", { "120 Wait\r\n220 Ready", "530 No" }, u"FTP 530"_s },
            { "USER refused", { "220 Ready", "530 No", "503 First USER" }, u"FTP 530"_s },
            { "USER wants an account", { "220 Ready", "332 Account" }, u"other"_s },
            { "PASS refused", { "220 Ready", "331 P", "530 No" }, u"FTP 530"_s },
            { "PASS wants an account", { "220 Ready", "331 P", "332 Account" }, u"other"_s },
            { "PASS wanted and out of order", { "220 Ready", "331 P", "502 No" }, u"FTP 502"_s },
            { "421 to PASS", { "220 Ready", "331 P", "421 Closing" }, u"FTP 421"_s },
            { "TYPE refused", { "220 Ready", "331 P", "230 In", "502 No PWD", "504 No" }, u"FTP 504"_s },
            { "EPSV 425", { "220 Ready", "331 P", "230 In", "502 No PWD", "200 I", "425 No" }, u"FTP 425"_s },
            { "EPSV 530", { "220 Ready", "331 P", "230 In", "502 No PWD", "200 I", "530 No" }, u"FTP 530"_s },
            { "PASV 502",
              { "220 Ready", "331 P", "230 In", "502 No PWD", "200 I", "500 No EPSV", "502 No" },
              u"FTP 502"_s },
            { "PASV without a port",
              { "220 Ready", "331 P", "230 In", "502 No PWD", "200 I", "500 No EPSV", "227 Come" },
              u"other"_s },
            { "no FTP at all", { "SSH-2.0-Server" }, u"other"_s },
        },
        [this](QByteArrayList replies, const QString& report) {
            traits() = {};
            startUpload(u"/f"_s, "x");
            auto control = accept();
            control->say(replies.takeFirst());
            for (const QByteArray& reply : replies) {
                if (!m_recorder.log().isEmpty()) {
                    break;
                }
                control->answer({ reply });
            }
            EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ report });
            EXPECT_TRUE(m_peer.isLeftAlone());
            control->close();
            EXPECT_TRUE(waitFor([this] { return m_pool.connectionCount() == 0; }));
        });
}

TEST_F(StreamSetUpTest, ALoginWithoutAPasswordGoesOn)
{
    startUpload(u"/f"_s, "x");
    auto control = greet();
    control->answer({ "230 In", "503 No password wanted", "257 \"/\"", "200 I" });
    reopen(*control, "STOR f");

    EXPECT_TRUE(m_recorder.waitFor(u"space"_s));
}

TEST_F(StreamSetUpTest, WithoutAUserNameTheLoginIsAnonymous)
{
    m_recorder.start(m_factory.createUploadStream(m_peer.location(u"/f"_s), 0), QString());

    EXPECT_EQ(greet()->hear(2), (QByteArrayList{ "USER anonymous", "PASS anonymous@" }));
}

TEST_F(StreamSetUpTest, RepliesAreUnderstoodByteByByteAndWithOtherCodesInside)
{
    startUpload(u"/f"_s, "x");
    auto control = accept();
    const auto sayInBytes = [&control](const QByteArray& bytes) {
        for (const char byte : bytes) {
            control->sendBytes(QByteArray(1, byte));
            drainEventLoop();
        }
    };
    sayInBytes("220-Hello\r\n530 not meant\r\n220 Ready\r\n");
    EXPECT_EQ(control->hear(5).last(), "EPSV");
    sayInBytes("331 P\r\n230 In\r\n257 \"/\"\r\n200 I\r\n");
    control->say(extendedPassive());

    EXPECT_TRUE(m_recorder.waitFor(u"space"_s));
}

TEST_F(StreamSetUpTest, AConnectionThatCannotBeMadeIsAnErrorOfTheOtherDomain)
{
    const QString location = m_peer.location(u"/f"_s);
    m_peer.stopListening();

    m_recorder.start(m_factory.createUploadStream(location, 5));

    EXPECT_TRUE(m_recorder.log().isEmpty());
    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
}

TEST_F(StreamSetUpTest, WhatCannotBeSentFailsFromTheLoopWithoutAConnection)
{
    checkRows<void(QString, QString, QString)>(
        {
            { u"/a%0d%0aDELE%20b"_s, u"anna"_s, u"p"_s },
            { u"/a%0a/f"_s, u"anna"_s, u"p"_s },
            { u"/a%00"_s, u"anna"_s, u"p"_s },
            { u"/f"_s, u"anna\r\nDELE b"_s, u"p"_s },
            { u"/f"_s, u"anna"_s, u"p\nDELE b"_s },
            { u"/f"_s, u"anna"_s, u"p"_s + QChar(0) },
            { u"/"_s, u"anna"_s, u"p"_s },
        },
        [this](const QString& path, const QString& userName, const QString& password) {
            m_recorder.start(m_factory.createUploadStream(m_peer.location(path), 1), userName, password);
            EXPECT_TRUE(m_recorder.log().isEmpty());
            EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"unsendable"_s });
        });
    m_recorder.start(m_factory.createUploadStream(u"http://host/f"_s, 1));
    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"unsendable"_s });
    EXPECT_TRUE(m_peer.isLeftAlone());
}

TEST_F(StreamSetUpTest, IPv6ServersAreReachedInBrackets)
{
    ScriptedPeer peer(QHostAddress::LocalHostIPv6);
    const ScriptedPeer dataPeer(QHostAddress::LocalHostIPv6);
    m_recorder.data = "hello";
    m_recorder.start(m_factory.createUploadStream(peer.location(u"/f"_s), 5));
    auto control = peer.accept();
    ASSERT_NE(control, nullptr);
    control->say("220 Ready");
    control->answer({ "331 P", "230 In", "257 \"/\"", "200 I", extendedPassive(dataPeer.port()) });

    EXPECT_TRUE(m_recorder.waitFor(u"space"_s));
}

TEST_F(StreamSetUpTest, WhereAddressesAreThoseOfIPv6PasvIsNotTried)
{
    ScriptedPeer peer(QHostAddress::LocalHostIPv6);
    m_recorder.start(m_factory.createUploadStream(peer.location(u"/f"_s), 5));
    auto control = peer.accept();
    ASSERT_NE(control, nullptr);
    control->say("220 Ready");
    control->answer({ "331 P", "230 In", "257 \"/\"", "200 I", "522 No EPSV" });

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 522"_s });
    EXPECT_TRUE(control->isSilent());
}

TEST_F(StreamSetUpTest, TheSystemKeepsTheControlConnectionAliveAndHoldsNothingBack)
{
    startUpload(u"/f"_s, "x");
    auto control = open("STOR f");

    EXPECT_EQ(optionOfSocketTo(m_peer.port(), SOL_SOCKET, SO_KEEPALIVE), 1);
    EXPECT_EQ(optionOfSocketTo(m_peer.port(), IPPROTO_TCP, TCP_KEEPIDLE), 60);
    EXPECT_EQ(optionOfSocketTo(m_peer.port(), IPPROTO_TCP, TCP_KEEPINTVL), 60);
    EXPECT_EQ(optionOfSocketTo(m_peer.port(), IPPROTO_TCP, TCP_NODELAY), 1);
    EXPECT_EQ(optionOfSocketTo(m_dataPeer.port(), IPPROTO_TCP, TCP_NODELAY), 1);
}

TEST_F(StreamSetUpTest, ARefusedLoginIsToldInTheServersWordsForItWhateverItSaysMeanwhile)
{
    const QByteArray loginFirst = "530 Log in with USER and PASS first.";
    checkRows<QString(QByteArrayList)>(
        {
            { "the reason last",
              { loginFirst, loginFirst, loginFirst, "530 Wrong password" },
              u"530 Wrong password"_s },
            { "the reason first",
              { "530 Wrong password", loginFirst, loginFirst, loginFirst },
              u"530 Wrong password"_s },
            { "a command behind it is accepted all the same",
              { "530 Wrong password", loginFirst, "200 Fine", loginFirst },
              u"530 Wrong password"_s },
            { "one by one",
              { "530 Wrong password", "530 Not so fast", "503 What", "530 What" },
              u"530 Wrong password"_s },
            { "all alike",
              { loginFirst, loginFirst, loginFirst, loginFirst },
              u"530 Log in with USER and PASS first."_s },
            { "421 in the end", { "530 Wrong password", "421 Bye" }, u"530 Wrong password"_s },
        },
        [this](const QByteArrayList& replies) {
            startUpload(u"/f"_s, "x");
            const auto control = greet();
            EXPECT_EQ(control->hear(5).last(), "EPSV");
            control->say("331 Password");
            for (const QByteArray& reply : replies) {
                control->say(reply);
            }
            EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 530"_s });
            return m_recorder.lastReply();
        });
}

TEST_F(StreamSetUpTest, AServerThatThinksAboutAGoodPasswordIsAskedWithoutPipelining)
{
    const QByteArray loginFirst = "530 Log in with USER and PASS first.";
    checkRows<void(QByteArrayList)>(
        {
            { "always in the same words", { loginFirst, loginFirst, loginFirst } },
            { "in other words for each command", { loginFirst, "530 No TYPE yet", "503 No EPSV yet" } },
        },
        [this](const QByteArrayList& replies) {
            traits().pipelines = true;
            startUpload(u"/f"_s, "x");
            const auto control = greet();
            EXPECT_EQ(control->hear(5).last(), "EPSV");
            control->say("331 Password");
            for (const QByteArray& reply : replies) {
                control->say(reply);
            }
            control->say("230 In");

            const auto second = greet();
            EXPECT_EQ(second->hear(), "USER anna");
            EXPECT_TRUE(second->isSilent());
            EXPECT_EQ(m_recorder.log(), QStringList());
            second->say("331 Password");
            second->answer({ "230 In", "257 \"/\"", "200 I" });
            reopen(*second, "STOR f");
            EXPECT_EQ(m_data->receiveToEnd(), "x");
            second->say("226 Got it");
            EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
            second->close();
            EXPECT_TRUE(waitFor([this] { return m_pool.connectionCount() == 0; }));
        });
}

TEST_F(StreamSetUpTest, AServerThatThinksAboutAGoodPasswordMayAllowOneLoginAlone)
{
    startUpload(u"/f"_s, "x");
    const auto control = greet();
    EXPECT_EQ(control->hear(5).last(), "EPSV");
    for (const char* reply : { "331 Password", "530 Log in", "530 Log in", "530 Log in", "230 In" }) {
        control->say(reply);
    }

    accept()->say("421 Only one"); // The first has ended for us alone.

    EXPECT_EQ(greet()->hear(), "USER anna");
}

TEST_F(StreamSetUpTest, TheReasonOfARefusedLoginIsWaitedForNoLongerThanTheLimitOrTheConnection)
{
    for (const bool isClosed : { true, false }) {
        m_timeouts.loginReason = isClosed ? 1h : 50ms;
        startUpload(u"/f"_s, "x");
        const auto control = greet();
        EXPECT_EQ(control->hear(5).last(), "EPSV");
        control->say("331 Password");
        control->say("530 Log in with USER and PASS first.");
        if (isClosed) {
            control->close();
        }

        EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 530"_s });
        EXPECT_EQ(m_recorder.lastReply(), u"530 Log in with USER and PASS first."_s);
    }
}

TEST_F(StreamSetUpTest, TheLastReplyIsToldEscapedAndWithoutThePassword)
{
    m_timeouts.loginReason = 50ms;
    startListing(u"/"_s);
    const auto control = greet();
    control->answer({ "331 P", "530 anna/secret is no login\x1b" });

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 530"_s });
    EXPECT_EQ(m_recorder.lastReply(), u"530 anna/**** is no login\\x1b"_s);
}

TEST_F(StreamSetUpTest, ThePasswordIsLeftOutOfEarlierLinesTooAlsoWhereOnlyThoseRepeatIt)
{
    startListing(u"/"_s);
    const auto control = greet();
    control->answer({ "331 P", "230-Hello anna/secret\r\n230 In", "257 \"/\"", "200 I" });
    reopen(*control, "LIST");
    control->say("150 Comes");
    m_data->close();
    control->say("226-Unable to read secret\r\n226 Done");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    EXPECT_EQ(static_cast<FTPReadStream*>(m_recorder.stream())->shortfall(), u"226-Unable to read ****"_s);
}

TEST_F(StreamSetUpTest, WhatALaterReplySaysStaysUnlessTheServerHasRepeatedThePassword)
{
    checkRows<QString(QByteArray)>(
        {
            { "never", "230 In", u"550 no secret here"_s },
            { "a longer word", "230 In, with secrets", u"550 no secret here"_s },
            { "in the login", "230 In by secret", u"550 no **** here"_s },
        },
        [this](const QByteArray& welcome) {
            startListing(u"/"_s);
            const auto control = greet();
            control->answer({ "331 P", welcome, "257 \"/\"", "200 I" });
            reopen(*control, "LIST");
            control->say("550 no secret here");
            EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 550"_s });
            control->close();
            EXPECT_TRUE(waitFor([this] { return m_pool.connectionCount() == 0; }));
            return m_recorder.lastReply();
        });
}

} // namespace
