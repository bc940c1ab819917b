#include "StreamTest.h"

namespace {

/// The creation of folders.
class FolderStreamTest : public EachEncryptionTest {
protected:
    std::unique_ptr<PeerConnection> openCreation(const QByteArray& command)
    {
        auto control = logIn({ "CWD in", "TYPE I" });
        control->say("250 There");
        control->say("200 I");
        EXPECT_EQ(control->hear(), command);
        return control;
    }
};
RUN_IN_CLEAR_AND_ENCRYPTED(FolderStreamTest);

TEST_P(FolderStreamTest, AFolderIsCreatedWithAndWithoutASlashAtTheEnd)
{
    for (const QString& path : { u"/in/a%20b"_s, u"/in/a%20b/"_s }) {
        m_pool.closeIdle(u"127.0.0.1"_s, m_peer.port());
        startCreation(path);
        auto control = openCreation("MKD a b");
        ASSERT_TRUE(m_recorder.waitFor(u"open"_s));

        control->say("257 \"/home/in/a b\" made");

        EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"created"_s }));
    }
}

TEST_P(FolderStreamTest, ARefusalIsReportedWithItsCode)
{
    startCreation(u"/in/a"_s);
    auto control = openCreation("MKD a");

    control->say("550 It exists");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"FTP 550"_s }));
}

TEST_P(FolderStreamTest, ARefusedParentFolderIsReportedAndNothingIsMade)
{
    startCreation(u"/in/a"_s);
    auto control = logIn({ "CWD in", "TYPE I" });
    control->say("550 No such folder");
    control->say("200 I");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 550"_s });
    EXPECT_TRUE(control->isSilent());
}

TEST_P(FolderStreamTest, NobodyKnowsWhatWasMadeOnceTheCommandIsOutAndOnlyThen)
{
    m_timeouts.reply = 1s;
    for (const QByteArray& reply : { ""_ba, "226 What"_ba, "no reply at all"_ba }) {
        SCOPED_TRACE(reply.constData());
        startCreation(u"/in/a"_s);
        auto control = openCreation("MKD a");
        ASSERT_TRUE(m_recorder.waitFor(u"open"_s));
        if (reply.isEmpty()) {
            control->close();
        } else {
            control->say(reply);
        }
        m_recorder.waitForEnd();
        EXPECT_TRUE(m_recorder.error().isUndecided);
    }

    startCreation(u"/in/a"_s);
    auto silent = openCreation("MKD a");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"silent"_s);
    EXPECT_TRUE(m_recorder.error().isUndecided);

    startCreation(u"/in/a"_s);
    openCreation("MKD a")->say("550 It exists");
    m_recorder.waitForEnd();
    EXPECT_FALSE(m_recorder.error().isUndecided);

    m_pool.closeIdle(u"127.0.0.1"_s, m_peer.port());
    m_timeouts.reply = 50ms;
    startCreation(u"/in/a"_s);
    auto mute = accept();
    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"silent"_s });
    EXPECT_FALSE(m_recorder.error().isUndecided);
}

TEST_P(FolderStreamTest, ASuperfluousCommandCreatesNoFolder)
{
    startCreation(u"/in/a"_s);
    auto control = openCreation("MKD a");

    control->say("202 Command not implemented, superfluous at this site");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"other"_s }));
}

TEST_P(FolderStreamTest, OnAKeptConnectionItIsMadeOnceTheConnectionIsKnownToLive)
{
    auto control = upload(u"first"_s, "1");
    startCreation(u"/d"_s);
    EXPECT_EQ(control->hear(), "TYPE I");
    EXPECT_TRUE(control->isSilent());
    EXPECT_TRUE(m_recorder.log().isEmpty());

    control->say("200 I");

    EXPECT_EQ(control->hear(), "MKD d");
    EXPECT_EQ(m_recorder.log(), QStringList{ u"open"_s });
    control->say("257 \"/home/d\" made");
    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"created"_s }));
}

TEST_P(FolderStreamTest, WhatIsSaidWhileTheLoopIsHeldIsReportedInOrderAfterwards)
{
    auto control = upload(u"first"_s, "1");
    startCreation(u"/d"_s);
    EXPECT_EQ(control->hear(), "TYPE I");
    DeliveryGate& gate = DeliveryGate::ofThisThread();
    gate.setClosed(true);
    control->say("200 I");
    EXPECT_TRUE(control->isSilent());
    EXPECT_TRUE(m_recorder.log().isEmpty());
    gate.setClosed(false);
    EXPECT_EQ(control->hear(), "MKD d");

    gate.setClosed(true);
    control->say("257 \"/home/d\" made");
    EXPECT_FALSE(waitFor([this] { return m_recorder.log().endsWith(u"created"_s); }, 50ms));
    gate.setClosed(false);

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"created"_s }));
}

TEST_P(FolderStreamTest, AReplyOf250CreatesAFolderWhereItCannotBeALateOneToAnUpload)
{
    startCreation(u"/in/a"_s);
    auto control = openCreation("MKD a");
    control->say("250 Made");
    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"created"_s }));

    startCreation(u"/in/b"_s);
    EXPECT_EQ(control->hear(), "TYPE I");
    control->say("200 I");
    EXPECT_EQ(control->hear(), "MKD b");
    control->say("250 Got it");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"other"_s }));
    EXPECT_NE(control->waitForEnd(), End::None);
}

TEST_P(FolderStreamTest, OnAKeptConnectionThatHasEndedItIsTriedOnAFreshOne)
{
    for (const bool isSaid : { true, false }) {
        auto control = upload(u"first"_s, "1");
        startCreation(u"/in/d"_s);
        EXPECT_EQ(control->hear(2), (QByteArrayList{ "CWD /home/in", "TYPE I" }));
        if (isSaid) {
            control->say("421 Idle for too long");
            control->close();
        } else {
            control->reset();
        }

        auto fresh = openCreation("MKD d");
        fresh->say("257 \"/home/d\" made");
        EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"created"_s }));
        fresh->close();
        EXPECT_TRUE(waitFor([this] { return m_pool.connectionCount() == 0; }));
    }
}

TEST_P(FolderStreamTest, WithoutANameNothingIsSent)
{
    startCreation(u"/"_s);

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"unsendable"_s });
    EXPECT_TRUE(m_peer.isLeftAlone());
}

} // namespace
