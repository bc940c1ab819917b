#include "StreamTest.h"

namespace {

/// The creation of folders.
class FolderStreamTest : public StreamTest {
protected:
    std::unique_ptr<PeerConnection> openCreation(const QByteArray& command)
    {
        auto control = logIn({ "CWD in", "TYPE I" });
        if (control != nullptr) {
            control->say("250 There");
            control->say("200 I");
            EXPECT_EQ(control->hear(), command);
        }
        return control;
    }
};

TEST_F(FolderStreamTest, AFolderIsCreatedWithAndWithoutASlashAtTheEnd)
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

TEST_F(FolderStreamTest, ARefusalIsReportedWithItsCode)
{
    startCreation(u"/in/a"_s);
    auto control = openCreation("MKD a");

    control->say("550 It exists");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"FTP 550"_s }));
}

TEST_F(FolderStreamTest, ARefusedParentFolderIsReportedAndNothingIsMade)
{
    startCreation(u"/in/a"_s);
    auto control = logIn({ "CWD in", "TYPE I" });
    control->say("550 No such folder");
    control->say("200 I");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 550"_s });
    EXPECT_TRUE(control->isSilent());
}

TEST_F(FolderStreamTest, SilenceEndsTheCreation)
{
    startCreation(u"/in/a"_s);
    auto control = logIn({ "CWD in", "TYPE I" });
    control->say("250 There");
    m_timeouts.reply = 50ms;
    control->say("200 I");
    EXPECT_EQ(control->hear(), "MKD a");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"other"_s }));
}

TEST_F(FolderStreamTest, WithoutANameNothingIsSent)
{
    startCreation(u"/"_s);

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_EQ(m_peer.connectionCount(), 0);
}

} // namespace
