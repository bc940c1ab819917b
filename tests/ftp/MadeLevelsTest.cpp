#include "StreamTest.h"

namespace {

/// Uploads into folders that are made where they are missing.
class MadeLevelsTest : public EachEncryptionTest {
protected:
    void startUploadBelow(int levels, const QString& path)
    {
        m_recorder.data = "hello";
        auto stream = m_factory.createUploadStream(m_peer.location(path), m_recorder.data.size());
        stream->setMadeLevels(levels);
        start(std::move(stream), m_recorder);
    }
    void startFolder(int levels, const QString& path)
    {
        auto stream = m_factory.createFolderStream(m_peer.location(path));
        stream->setMadeLevels(levels);
        start(std::move(stream), m_recorder);
    }
    /// Takes the login of an upload into @p folder, which is refused.
    std::unique_ptr<PeerConnection> refuse(const QByteArray& folder)
    {
        auto control = logIn({ "CWD " + folder, "TYPE I", "EPSV" });
        control->say("550 No such folder");
        control->say("200 I");
        control->say(extendedPassive());
        return control;
    }
    static void converse(PeerConnection& control, const QList<std::pair<QByteArray, QByteArray>>& turns)
    {
        for (const auto& [command, reply] : turns) {
            ASSERT_EQ(control.hear(), command);
            control.say(reply);
        }
    }
    /// The file's own commands behind the making of its folder, which a server may have taken for a reason to forget
    /// the type.
    void send(PeerConnection& control, const QByteArray& command)
    {
        EXPECT_EQ(control.hear(2), (QByteArrayList{ "TYPE I", "EPSV" }));
        control.say("200 I");
        control.say(extendedPassive());
        acceptData();
        EXPECT_EQ(control.hear(), command);
    }
    void finishUpload(PeerConnection& control)
    {
        EXPECT_EQ(m_data->receiveToEnd(), "hello");
        control.say("150 Go");
        control.say("226 Got it");
        EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"end"_s }));
    }
};
RUN_IN_CLEAR_AND_ENCRYPTED(MadeLevelsTest);

TEST_P(MadeLevelsTest, AFolderThatIsThereIsNotMade)
{
    startUploadBelow(2, u"/in/a/b/f"_s);
    auto control = open("STOR f", { "CWD in/a/b", "TYPE I", "EPSV" });
    finishUpload(*control);
}

TEST_P(MadeLevelsTest, AMissingFolderIsMadeAtOnceAndTheFileGoesThereOnTheSameConnection)
{
    startUploadBelow(2, u"/in/a/b/f"_s);
    auto control = refuse("in/a/b");
    converse(*control, { { "CWD /home/in", "250 There" }, { "MKD a/b", "257 Made" }, { "CWD a/b", "250 There" } });
    send(*control, "STOR f");
    finishUpload(*control);

    startUploadBelow(2, u"/in/a/b/g"_s);
    reopen(*control, "STOR g");
    finishUpload(*control);
}

TEST_P(MadeLevelsTest, FromAnotherFolderOfAKeptConnectionTheNextIsMade)
{
    startUploadBelow(2, u"/in/a/b/f"_s);
    auto control = open("STOR f", { "CWD in/a/b", "TYPE I", "EPSV" });
    finishUpload(*control);

    startUploadBelow(2, u"/in/a/c/f"_s);
    EXPECT_EQ(control->hear(3), (QByteArrayList{ "CWD /home/in/a/c", "TYPE I", "EPSV" }));
    control->say("550 No such folder");
    control->say("200 I");
    control->say(extendedPassive());
    converse(*control, { { "CWD /home/in", "250 There" }, { "MKD a/c", "257 Made" }, { "CWD a/c", "250 There" } });
    send(*control, "STOR f");
    finishUpload(*control);
}

TEST_P(MadeLevelsTest, WhereTheOnesBeforeAreMissingTooTheyAreMadeLevelByLevel)
{
    startUploadBelow(2, u"/in/a/b/f"_s);
    auto control = refuse("in/a/b");
    converse(*control,
             { { "CWD /home/in", "250 There" },
               { "MKD a/b", "550 No such folder" },
               { "MKD a", "550 File exists" },
               { "CWD a", "250 There" },
               { "MKD b", "257 Made" },
               { "CWD b", "250 There" } });
    send(*control, "STOR f");
    finishUpload(*control);
}

TEST_P(MadeLevelsTest, WhereTheServerTellsNoLoginFolderThePathIsRelativeToIt)
{
    startUploadBelow(1, u"/a/f"_s);
    auto control = greet();
    const auto turns = login();
    for (const auto& turn : turns) {
        EXPECT_EQ(control->hear(), turn.first);
    }
    EXPECT_EQ(control->hear(3), (QByteArrayList{ "CWD a", "TYPE I", "EPSV" }));
    for (qsizetype i = 0; i + 1 < turns.size(); ++i) {
        control->say(turns[i].second);
    }
    control->say("502 No PWD");
    control->say("550 No such folder");
    control->say("200 I");
    control->say(extendedPassive());
    converse(*control, { { "MKD a", "257 Made" }, { "CWD a", "250 There" } });
    send(*control, "STOR f");
    finishUpload(*control);
}

TEST_P(MadeLevelsTest, ARefusedLevelIsReportedWithTheServersReasonAndHowManyItLeavesMissing)
{
    startUploadBelow(3, u"/in/a/b/c/f"_s);
    auto control = refuse("in/a/b/c");
    converse(*control,
             { { "CWD /home/in", "250 There" },
               { "MKD a/b/c", "550 No such folder" },
               { "MKD a", "257 Made" },
               { "CWD a", "250 There" },
               { "MKD b", "553 Not that one" },
               { "CWD b", "550 No such folder" } });

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 553"_s });
    EXPECT_EQ(m_recorder.error().missingLevels, 2);
    EXPECT_EQ(m_recorder.lastReply(), u"553 Not that one"_s);
    EXPECT_TRUE(control->isSilent());
}

TEST_P(MadeLevelsTest, WhatIsBeforeThoseLevelsIsNeverMadeAndNothingBelowItIsBeforeItIsThere)
{
    startUploadBelow(2, u"/in/a/b/f"_s);
    auto control = refuse("in/a/b");
    converse(*control, { { "CWD /home/in", "550 No such folder" } });

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 550"_s });
    EXPECT_EQ(m_recorder.error().missingLevels, 3);
    EXPECT_TRUE(control->isSilent());
}

TEST_P(MadeLevelsTest, WithoutSuchLevelsARefusedFolderIsTheEnd)
{
    startUploadBelow(0, u"/in/a/f"_s);
    auto control = refuse("in/a");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 550"_s });
    EXPECT_EQ(m_recorder.error().missingLevels, 0);
    EXPECT_TRUE(control->isSilent());
}

TEST_P(MadeLevelsTest, AFolderOfItsOwnIsMadeExactlyWhereItIsMissing)
{
    startFolder(2, u"/in/a/b/"_s);
    auto control = logIn({ "CWD in/a/b", "TYPE I" });
    control->say("550 No such folder");
    control->say("200 I");
    converse(*control, { { "CWD /home/in", "250 There" }, { "MKD a/b", "257 Made" }, { "CWD a/b", "250 There" } });
    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"created"_s });

    startFolder(2, u"/in/a/c/"_s);
    EXPECT_EQ(control->hear(2), (QByteArrayList{ "CWD /home/in/a/c", "TYPE I" }));
    control->say("250 There");
    control->say("200 I");
    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"created"_s });
    EXPECT_TRUE(control->isSilent());
}

TEST_P(MadeLevelsTest, AConnectionThatIsLostWhileAFolderIsMadeIsNoRefusal)
{
    startUploadBelow(1, u"/a/f"_s);
    auto control = refuse("a");
    converse(*control, { { "CWD /home", "250 There" } });
    EXPECT_EQ(control->hear(), "MKD a");

    control->close();

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_EQ(m_recorder.error().missingLevels, 0);
}

TEST_P(MadeLevelsTest, AFolderWhoseMakingIsCutOffLeavesNothingInDoubtSinceItCanBeMadeAgain)
{
    startFolder(1, u"/a/"_s);
    auto control = logIn({ "CWD a", "TYPE I" });
    control->say("550 No such folder");
    control->say("200 I");
    converse(*control, { { "CWD /home", "250 There" } });
    EXPECT_EQ(control->hear(), "MKD a");

    control->close();

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_FALSE(m_recorder.error().isUndecided);
}

TEST_P(MadeLevelsTest, AServerThatEndsItsServiceWhileAFolderIsMadeRefusesNoFolderAndTheNextFileConnectsAfresh)
{
    startUploadBelow(1, u"/a/f"_s);
    auto control = refuse("a");
    converse(*control, { { "CWD /home", "250 There" }, { "MKD a", "421 Not now" } });

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 421"_s });
    EXPECT_EQ(m_recorder.error().missingLevels, 0);

    startUploadBelow(1, u"/a/g"_s);
    auto next = open("STOR g", { "CWD a", "TYPE I", "EPSV" });
    finishUpload(*next);
}

} // namespace
