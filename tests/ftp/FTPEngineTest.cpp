#include "StreamTest.h"

namespace {

class FTPEngineTest : public StreamTest {
protected:
    /// Serves an upload of one byte to @p path in the login folder.
    std::unique_ptr<PeerConnection> serveUpload(const QByteArray& path)
    {
        auto control = open("STOR " + path);
        if (control != nullptr) {
            EXPECT_EQ(m_data->receiveToEnd(), "x");
            control->say("226 Got it");
        }
        return control;
    }

    FTPEngine m_otherEngine;
    EngineStreamFactory m_otherFactory{ m_otherEngine };
    StreamRecorder m_other;
};

TEST_F(FTPEngineTest, WhatOneHasLearntAboutAServerNoOtherKnows)
{
    startListing(u"/"_s);
    auto control = logIn({ "TYPE I", "EPSV" });
    control->say("200 Fine");
    control->say("500 What?");
    EXPECT_EQ(control->hear(), "PASV");
    m_recorder.close();
    startListing(u"/"_s);
    logIn({ "TYPE I", "PASV" });

    m_other.start(m_otherFactory.createListingStream(m_peer.location(u"/"_s)));

    logIn({ "TYPE I", "EPSV" });
}

TEST_F(FTPEngineTest, WhatItKnowsOfAServerStaysWhereItIsHoweverManyThereAre)
{
    const ServerTraits& known = traits();

    for (quint16 port = 1; port <= 1000; ++port) {
        m_engine.servers().of({ u"elsewhere"_s, port, {}, {} });
    }

    EXPECT_EQ(&traits(), &known); // A set-up under way refers to it.
}

TEST_F(FTPEngineTest, AConnectionServesTheStreamsOfItsOwnAlone)
{
    startUpload(u"/first"_s, "x");
    auto control = serveUpload("first");
    ASSERT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    m_other.data = "x";

    m_other.start(m_otherFactory.createUploadStream(m_peer.location(u"/second"_s), 1));

    serveUpload("second");
    EXPECT_EQ(m_other.waitForEnd().last(), u"end"_s);
    EXPECT_TRUE(control->isSilent());
}

TEST_F(FTPEngineTest, ItsKeptConnectionsEndWithIt)
{
    std::unique_ptr<PeerConnection> control;
    {
        FTPEngine engine;
        EngineStreamFactory streams(engine);
        StreamRecorder recorder;
        recorder.data = "x";
        recorder.start(streams.createUploadStream(m_peer.location(u"/file"_s), 1));
        control = serveUpload("file");
        ASSERT_EQ(recorder.waitForEnd().last(), u"end"_s);
        ASSERT_EQ(engine.pool().idleCount(), 1);
    }

    EXPECT_NE(control->waitForEnd(), End::None);
}

TEST_F(FTPEngineTest, ATransferThatWasGivenUpGoesWithIt)
{
    std::unique_ptr<PeerConnection> control;
    {
        FTPEngine engine;
        EngineStreamFactory streams(engine);
        StreamRecorder recorder;
        recorder.data = QByteArray(64 * 1024 * 1024, 'x');
        recorder.start(streams.createUploadStream(m_peer.location(u"/file"_s), recorder.data.size()));
        control = open("STOR file");
        recorder.close();
        EXPECT_EQ(engine.transfers().children().size(), 1);
    }

    EXPECT_NE(control->waitForEnd(), End::None);
    EXPECT_EQ(m_data->waitForEnd(), End::Reset);
}

TEST_F(FTPEngineTest, ItsTimeLimitsAreTheOnesThatItWasGiven)
{
    FTPEngine engine({ .reply = 50ms });
    EngineStreamFactory streams(engine);
    StreamRecorder recorder;

    recorder.start(streams.createListingStream(m_peer.location(u"/"_s)));
    auto control = m_peer.accept();

    EXPECT_EQ(recorder.waitForEnd(), QStringList{ u"silent"_s });
}

} // namespace
