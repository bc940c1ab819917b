#include "FTPListControllerTest.h"

using namespace Qt::StringLiterals;

namespace {

TEST_F(FTPListControllerTest, ASuccessfulListingReportsItsStepsInOrder)
{
    start();
    m_streams.last().sendOpenCompleted();
    m_streams.last().sendBytes("total 2\r\n" + line("a") + line("b"));
    m_streams.last().sendBytes(line("c"));
    m_streams.last().sendEnd();

    EXPECT_EQ(
        m_delegate->calls,
        (QStringList{ u"Starting list..."_s, u"Started List."_s, u"Opened connection"_s, u"Receiving"_s,
                      u"entries a|b"_s, u"Receiving"_s, u"entries c"_s, u"Receiving"_s, u"Listing succeeded"_s }));
    EXPECT_FALSE(m_controller->isReceiving());
    EXPECT_EQ(m_controller->networkStream(), nullptr);
    EXPECT_TRUE(m_streams.last().isClosed());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPListControllerTest, TheStreamGetsTheAddressAsItIsAndTheLogin)
{
    for (const QString& address : { u"ftp://host/dir"_s, u"ftp://host/dir/"_s }) {
        m_controller->startReceive(address, u"me"_s, u"secret"_s);

        const FakeFTPStream& stream = m_streams.last();
        EXPECT_EQ(stream.kind, FakeFTPStream::Kind::Listing);
        EXPECT_EQ(stream.location, address);
        EXPECT_EQ(stream.calls, (QStringList{ u"setUserName me"_s, u"setPassword secret"_s, u"open"_s }));
        m_controller->stopReceiveWithStatus(u"end"_s);
    }
}

TEST_F(FTPListControllerTest, ToStandBackCountsForTheNextStartAloneAlsoWhereThatIsIgnored)
{
    const auto standsBack = [this] { return m_streams.last().calls.contains(u"setStandsBack"_s); };
    m_controller->setStandsBack(true);
    start();
    EXPECT_TRUE(standsBack());
    m_controller->setStandsBack(true);
    start(); // A listing runs.
    m_controller->stopReceiveWithStatus(u"end"_s);

    start();

    EXPECT_FALSE(standsBack());
}

TEST_F(FTPListControllerTest, AnEmptyFolderGivesNoEntries)
{
    startReceiving();

    m_streams.last().sendEnd();

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Receiving"_s, u"Listing succeeded"_s }));
}

TEST_F(FTPListControllerTest, AListingIsWholeWhenTheServerHasConfirmedItAndSaysNothingElse)
{
    EXPECT_FALSE(m_controller->isWhole());
    startReceiving();
    EXPECT_FALSE(m_controller->isWhole());
    m_streams.last().sendEnd();
    EXPECT_TRUE(m_controller->isWhole());

    startReceiving();
    m_streams.last().reply = u"426 Too slow"_s;
    m_streams.last().shortfall = u"226 Truncated"_s; // Said of it before the line broke.
    m_streams.last().sendRefusal(426);
    EXPECT_FALSE(m_controller->isWhole());
    EXPECT_EQ(m_controller->whyNotWhole(u"status"_s), u"426 Too slow"_s);
}

TEST_F(FTPListControllerTest, WhatTheServerSaysThatItLeavesOutChangesNoReport)
{
    startReceiving();
    m_streams.last().shortfall = u"226-Output truncated"_s;
    m_streams.last().reply = u"226 Done"_s;
    m_streams.last().sendBytes(line("a"));
    m_streams.last().sendEnd();

    EXPECT_EQ(m_delegate->calls,
              (QStringList{ u"Receiving"_s, u"entries a"_s, u"Receiving"_s, u"Listing succeeded"_s }));
    EXPECT_FALSE(m_controller->isWhole());
    EXPECT_EQ(m_controller->whyNotWhole(u"Listing succeeded"_s), u"226-Output truncated"_s);

    startReceiving();
    m_streams.last().sendBytes("/bin/ls: .: Permission denied\r\n/bin/ls: a: No such file or directory\r\n");
    m_streams.last().sendEnd();
    EXPECT_FALSE(m_controller->isWhole());
    EXPECT_EQ(m_controller->whyNotWhole({}), u"/bin/ls: .: Permission denied"_s);

    startReceiving();
    m_streams.last().sendEnd();
    EXPECT_TRUE(m_controller->isWhole());
}

TEST_F(FTPListControllerTest, AListingThatCannotBeReadIsNotWholeWhateverTheServerSays)
{
    const auto shortfallOf = [this](const QByteArray& bytes) {
        startReceiving();
        m_streams.last().sendBytes(bytes);
        m_streams.last().sendEnd();
        EXPECT_EQ(m_delegate->calls.last(), u"Listing succeeded"_s);
        return m_controller->isWhole() ? QString() : m_controller->whyNotWhole(u"Listing succeeded"_s);
    };
    EXPECT_EQ(shortfallOf("total 4\r\n" + line("a") + "\r\n"), QString());
    EXPECT_EQ(shortfallOf(line("a") + "+r,s280,\tb\r\n+r,s280,\tc\r\n" + line("d")),
              u"a line of the server’s list cannot be read: +r,s280,\tb"_s);
    // One that has not ended is not read either.
    EXPECT_EQ(shortfallOf(line("a") + line("b").chopped(2)),
              u"a line of the server’s list cannot be read: "_s + QString::fromUtf8(line("b").trimmed()));
    EXPECT_EQ(shortfallOf(line("a") + "\r"), QString());
}

TEST_F(FTPListControllerTest, AStartWhileAListingRunsIsIgnoredInSilence)
{
    startReceiving();

    start();

    EXPECT_TRUE(m_delegate->calls.isEmpty());
    EXPECT_EQ(m_streams.streams().size(), 1U);
    EXPECT_EQ(countChange(), 1);
}

TEST_F(FTPListControllerTest, AnAddressThatIsNoFTPAddressIsAnInvalidURLWithoutAStop)
{
    for (const QString& address : { u"http://host/dir"_s, QString(), u" "_s }) {
        m_delegate->calls.clear();
        m_controller->startReceive(address, u"me"_s, u"secret"_s);

        EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting list..."_s, u"Invalid URL"_s }));
    }
    EXPECT_TRUE(m_streams.streams().empty());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPListControllerTest, WithoutAStreamTheStopIsReportedAndCounted)
{
    m_streams.refusesCreation = true;

    start();

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting list..."_s, u"Can not create network connection."_s }));
    EXPECT_EQ(countChange(), -1);
}

TEST_F(FTPListControllerTest, ARefusedLoginStopsBeforeTheOpening)
{
    m_streams.next.refusesUserName = true;
    start();
    m_streams.next.refusesUserName = false;
    m_streams.next.refusesPassword = true;
    start();

    EXPECT_EQ(m_delegate->calls,
              (QStringList{ u"Starting list..."_s, u"Could not send username."_s, u"Starting list..."_s,
                            u"Could not send password."_s }));
    EXPECT_FALSE(m_streams.last().calls.contains(u"open"_s));
    EXPECT_EQ(countChange(), -2);
}

TEST_F(FTPListControllerTest, EveryRefusalAsksToCheckTheSettings)
{
    for (const int code : { 421, 450, 530, 550 }) {
        startReceiving();

        m_streams.last().sendRefusal(code);

        EXPECT_EQ(m_delegate->calls, QStringList{ u"Error: Check Settings"_s });
        EXPECT_EQ(countChange(), 0);
    }
}

TEST_F(FTPListControllerTest, AnyOtherErrorIsAStreamOpenErrorAndKeepsTheEntries)
{
    startReceiving();
    m_streams.last().sendBytes(line("a"));

    m_streams.last().sendOtherError();

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Receiving"_s, u"entries a"_s, u"Stream open error"_s }));
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPListControllerTest, AFailedReadIsANetworkReadError)
{
    startReceiving();

    m_streams.last().sendReadFailure();

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Receiving"_s, u"Network read error"_s }));
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPListControllerTest, EndEncounteredAndUnknownEventsAreSaidToBeErrorsAndEndNothing)
{
    startReceiving();

    for (const int code : { 16, 3, 5, 6, 7, 32 }) {
        m_streams.last().send(static_cast<FTPStreamEvent>(code));
    }
    m_streams.last().send(FTPStreamEvent::HasSpaceAvailable);

    EXPECT_EQ(m_delegate->calls, QStringList(6, u"Error"_s));
    EXPECT_TRUE(m_controller->isReceiving());
    EXPECT_NE(m_controller->networkStream(), nullptr);
    EXPECT_EQ(m_controller->delegate().get(), m_delegate.get());
    EXPECT_EQ(countChange(), 1);
}

TEST_F(FTPListControllerTest, AStopFromOutsideReportsItsOwnText)
{
    startReceiving();

    m_controller->stopReceiveWithStatus(u"List Stopped"_s);
    m_streams.last().sendBytes(line("a"));

    EXPECT_EQ(m_delegate->calls, QStringList{ u"List Stopped"_s });
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPListControllerTest, TheStatusPropertyIsLeftAlone)
{
    m_controller->setStatus(u"mine"_s);

    startReceiving();
    m_streams.last().sendEnd();

    EXPECT_EQ(m_controller->status(), u"mine"_s);
}

TEST_F(FTPListControllerTest, DestroyingStopsWithStopped)
{
    startReceiving();

    m_controller.reset();

    EXPECT_EQ(m_delegate->calls, QStringList{ u"Stopped"_s });
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPListControllerTest, AtMostOneBufferIsReadPerEvent)
{
    startReceiving();

    m_streams.last().sendBytes(QByteArray(40000, 'x'));
    EXPECT_EQ(m_controller->listData().size(), 32768);
    m_streams.last().send(FTPStreamEvent::HasBytesAvailable);

    EXPECT_EQ(m_controller->listData().size(), 40000);
}

TEST_F(FTPListControllerTest, TheFirstListingIsCountedBeforeItsStartIsReported)
{
    NetworkManager& manager = NetworkManager::sharedInstance();
    manager.setNetworkOperationCount(0);
    quint64 countAtReport = 0;
    m_delegate->reaction = [&manager, &countAtReport](const QString& call) {
        if (call == u"Started List."_s) {
            countAtReport = manager.networkOperationCount();
        }
    };

    start();

    EXPECT_EQ(countAtReport, 1U);
    manager.setNetworkOperationCount(baseCount);
}

TEST_F(FTPListControllerTest, TheStreamIsClosedBeforeTheEndIsReported)
{
    startReceiving();
    bool idle = false;
    m_delegate->reaction = [this, &idle](const QString& call) {
        if (call == u"Listing succeeded"_s) {
            idle = !m_controller->isReceiving() && m_streams.last().isClosed();
        }
    };

    m_streams.last().sendEnd();

    EXPECT_TRUE(idle);
}

} // namespace
