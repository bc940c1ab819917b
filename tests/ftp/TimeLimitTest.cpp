#include "DeadPort.h"
#include "FTPTimeouts.h"
#include "StreamTest.h"

#include <algorithm>
#include <array>
#include <functional>

namespace {

TEST(FTPTimeoutsTest, TheLimitsAreTheDocumentedOnes)
{
    const FTPTimeouts limits;

    EXPECT_EQ(limits.connect, 30s);
    EXPECT_EQ(limits.login, 120s);
    EXPECT_EQ(limits.reply, 60s);
    EXPECT_EQ(limits.careful, 30s);
    EXPECT_EQ(limits.slowListing, 60s);
    EXPECT_EQ(limits.loginReason, 5s);
    EXPECT_EQ(limits.stalledData, 60s);
    EXPECT_EQ(limits.confirmation, 300s);
    EXPECT_EQ(limits.reason, 3s);
    EXPECT_EQ(limits.acceptance, 1s);
    EXPECT_EQ(limits.drain, 2s);
    EXPECT_EQ(limits.quitGrace, 200ms);
    EXPECT_EQ(limits.idle, 60s);
}

using Limit = std::chrono::milliseconds FTPTimeouts::*;

constexpr std::array<Limit, 9> allLimits{ &FTPTimeouts::connect,     &FTPTimeouts::reply,
                                          &FTPTimeouts::stalledData, &FTPTimeouts::confirmation,
                                          &FTPTimeouts::reason,      &FTPTimeouts::acceptance,
                                          &FTPTimeouts::drain,       &FTPTimeouts::quitGrace,
                                          &FTPTimeouts::idle };

class TimeLimitTest;

/// A wait of the engine, and what limits it.
struct Wait {
    const char* name;
    QList<Limit> limits; ///< All that are part of it.
    /// Leads to the wait, calls changeLimits() in front of its beginning, and answers what its end is seen by.
    std::function<bool()> (TimeLimitTest::*begin)();
    QList<Limit> before{}; ///< Limits of waits that end just when this one begins.
};

/// All limits are long until a wait begins.
class TimeLimitTest : public StreamTest, public ::testing::WithParamInterface<Wait> {
public:
    std::function<bool()> connecting()
    {
        changeLimits();
        m_recorder.start(m_factory.createListingStream(u"ftp://127.0.0.1:%1/"_s.arg(m_silentPort.port())));
        return isFailed();
    }
    std::function<bool()> connectingData()
    {
        startUpload(u"/f"_s, "x");
        m_control = logIn({ "TYPE I", "EPSV" });
        m_control->say("200 Fine");
        changeLimits();
        m_control->say(extendedPassive(m_silentPort.port()));
        return [this] { return m_peer.isCalled(); }; // For another try with PASV.
    }
    std::function<bool()> greeting()
    {
        changeLimits();
        startUpload(u"/f"_s, "x");
        m_control = accept();
        return isFailed();
    }
    std::function<bool()> handshake()
    {
        m_encryption = FTPEncryption::Required;
        changeLimits();
        startUpload(u"/f"_s, "x");
        m_control = accept();
        m_control->say("220 Ready");
        m_control->answer({ "234 Go on" });
        return isFailed();
    }
    std::function<bool()> keptConnection()
    {
        keep();
        changeLimits();
        startUpload(u"/second"_s, "x");
        return [this] { return m_peer.isCalled(); };
    }
    std::function<bool()> creation()
    {
        startCreation(u"/d"_s);
        m_control = logIn({ "TYPE I" });
        changeLimits();
        m_control->say("200 Fine");
        EXPECT_EQ(m_control->hear(), "MKD d");
        return isFailed();
    }
    std::function<bool()> announcement()
    {
        startListing(u"/"_s);
        m_control = logIn({ "TYPE I", "EPSV" });
        m_control->say("200 Fine");
        changeLimits();
        m_control->say(extendedPassive());
        acceptData();
        return isFailed();
    }
    std::function<bool()> dataHandshake()
    {
        m_encryption = FTPEncryption::Required;
        startUpload(u"/f"_s, "x");
        m_control = logIn({ "TYPE I", "EPSV" });
        m_control->say("200 Fine");
        changeLimits();
        m_control->say(extendedPassive());
        m_data = m_dataPeer.accept();
        return isFailed();
    }
    std::function<bool()> stalledUpload()
    {
        m_recorder.isIdle = true;
        startUpload(u"/f"_s, "x");
        m_control = logIn({ "TYPE I", "EPSV" });
        m_control->say("200 Fine");
        changeLimits();
        m_control->say(extendedPassive());
        acceptData();
        return isFailed();
    }
    std::function<bool()> stalledDownload()
    {
        startDownload(u"/f"_s);
        m_control = open("RETR f", { "TYPE I", "SIZE f", "EPSV" });
        changeLimits();
        m_control->say("150 Comes");
        return isFailed();
    }
    std::function<bool()> uploadsConfirmation()
    {
        m_recorder.isIdle = true;
        startUpload(u"/f"_s, "x");
        m_control = open("STOR f");
        EXPECT_TRUE(m_recorder.waitFor(u"space"_s));
        changeLimits();
        m_recorder.isIdle = false;
        EXPECT_EQ(m_data->receiveToEnd(), "x");
        return isFailed();
    }
    std::function<bool()> emptyUploadsConfirmation()
    {
        startUpload(u"/f"_s, "");
        m_control = logIn({ "TYPE I", "EPSV" });
        m_control->say("200 Fine");
        changeLimits();
        m_control->say(extendedPassive());
        acceptData();
        return isFailed();
    }
    std::function<bool()> listingsConfirmation()
    {
        startListing(u"/"_s);
        m_control = open("LIST");
        m_control->say("150 Comes");
        EXPECT_TRUE(m_recorder.waitFor(u"open"_s));
        changeLimits();
        m_data->close();
        return isFailed();
    }
    std::function<bool()> reason()
    {
        m_recorder.isIdle = true;
        startUpload(u"/f"_s, "x");
        m_control = open("STOR f");
        EXPECT_TRUE(m_recorder.waitFor(u"space"_s));
        changeLimits();
        m_data->reset();
        return isFailed();
    }
    std::function<bool()> acceptance()
    {
        startListing(u"/"_s);
        m_control = open("LIST");
        changeLimits();
        m_data->sendBytes("line\r\n");
        return [this] { return m_recorder.log().startsWith(u"open"_s); };
    }
    std::function<bool()> drain()
    {
        startUpload(u"/f"_s, QByteArray(tooMuch, 'x'));
        m_control = open("STOR f");
        changeLimits();
        m_recorder.close();
        return isControlEnded();
    }
    std::function<bool()> leave()
    {
        keep();
        changeLimits();
        m_pool.closeIdle(u"127.0.0.1"_s, m_peer.port());
        EXPECT_EQ(m_control->hear(), "QUIT");
        return isControlEnded();
    }
    std::function<bool()> quitGrace()
    {
        keep();
        startUpload(m_recorder, u"/f"_s, "x", u"ben"_s);
        const auto refused = accept();
        refused->say("421 Only one");
        EXPECT_EQ(m_control->hear(), "QUIT");
        changeLimits();
        m_control->close();
        return [this] { return m_peer.isCalled(); };
    }
    std::function<bool()> idle()
    {
        startUpload(u"/f"_s, "x");
        m_control = open("STOR f");
        EXPECT_EQ(m_data->receiveToEnd(), "x");
        changeLimits();
        m_control->say("226 Got it");
        EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
        return [this] { return m_pool.idleCount() == 0; };
    }

protected:
    TimeLimitTest()
    {
        for (const Limit limit : allLimits) {
            m_timeouts.*limit = 1h;
        }
    }

    /// Makes a limit of @p limits short.
    void shorten(Limit limit) { m_timeouts.*limit = 20ms; }

    std::function<void()> changeLimits;

private:
    /// A connection is kept by an upload.
    void keep() { m_control = upload(u"first"_s, "x"); }

    std::function<bool()> isFailed()
    {
        return [this] {
            const QStringList& log = m_recorder.log();
            return log.endsWith(u"silent"_s) || log.endsWith(u"other"_s);
        };
    }
    std::function<bool()> isControlEnded()
    {
        return [this] { return m_control->end() != End::None; };
    }

    DeadPort m_silentPort{ DeadPort::Kind::Full };
    std::unique_ptr<PeerConnection> m_control;
};

void PrintTo(const Wait& wait, std::ostream* out) // NOLINT(readability-identifier-naming): GoogleTest's name
{
    *out << wait.name;
}

TEST_P(TimeLimitTest, EndsTheWait)
{
    changeLimits = [this] {
        for (const Limit limit : GetParam().limits) {
            shorten(limit);
        }
    };

    const std::function<bool()> isOver = (this->*GetParam().begin)();

    EXPECT_TRUE(waitFor(isOver));
}

TEST_P(TimeLimitTest, IsTheOnlyOneThatEndsTheWait)
{
    changeLimits = [this] {
        for (const Limit limit : allLimits) {
            if (!GetParam().limits.contains(limit) && !GetParam().before.contains(limit)) {
                shorten(limit);
            }
        }
    };

    const std::function<bool()> isOver = (this->*GetParam().begin)();

    EXPECT_FALSE(waitFor(isOver, 100ms));
}

using Limits = FTPTimeouts;

INSTANTIATE_TEST_SUITE_P(
    Waits, TimeLimitTest,
    ::testing::Values(
        Wait{ "ForTheConnection", { &Limits::connect }, &TimeLimitTest::connecting },
        Wait{ "ForTheDataConnection", { &Limits::connect, &Limits::reason }, &TimeLimitTest::connectingData },
        Wait{ "ForTheGreeting", { &Limits::reply }, &TimeLimitTest::greeting, { &Limits::connect } },
        Wait{ "ForTheHandshake", { &Limits::reply }, &TimeLimitTest::handshake, { &Limits::connect } },
        Wait{ "ForAReplyOnAKeptConnection", { &Limits::reply }, &TimeLimitTest::keptConnection },
        Wait{ "ForTheReplyToACreation", { &Limits::reply }, &TimeLimitTest::creation },
        Wait{ "ForTheAnnouncementOfData", { &Limits::reply }, &TimeLimitTest::announcement, { &Limits::connect } },
        Wait{ "ForTheHandshakeOfData",
              { &Limits::reply, &Limits::reason },
              &TimeLimitTest::dataHandshake,
              { &Limits::connect } },
        Wait{ "ForDataToGo", { &Limits::stalledData }, &TimeLimitTest::stalledUpload, { &Limits::connect } },
        Wait{ "ForDataToCome", { &Limits::stalledData }, &TimeLimitTest::stalledDownload },
        Wait{ "ForTheConfirmationOfAnUpload",
              { &Limits::confirmation },
              &TimeLimitTest::uploadsConfirmation,
              { &Limits::stalledData } },
        Wait{ "ForTheConfirmationOfAnEmptyUpload",
              { &Limits::confirmation },
              &TimeLimitTest::emptyUploadsConfirmation,
              { &Limits::connect, &Limits::stalledData } },
        Wait{ "ForTheConfirmationOfAListing", { &Limits::confirmation }, &TimeLimitTest::listingsConfirmation },
        Wait{ "ForTheReasonOfABreak", { &Limits::reason }, &TimeLimitTest::reason },
        Wait{ "ForTheAnnouncementOfDataThatIsThere", { &Limits::acceptance }, &TimeLimitTest::acceptance },
        Wait{ "ForRepliesToWhatWasGivenUp", { &Limits::drain }, &TimeLimitTest::drain },
        Wait{ "ForTheEndBehindAQuit", { &Limits::drain }, &TimeLimitTest::leave },
        Wait{ "ForAServerToCountOut", { &Limits::quitGrace }, &TimeLimitTest::quitGrace },
        Wait{ "ForAUseOfAKeptConnection", { &Limits::idle }, &TimeLimitTest::idle }),
    [](const auto& each) { return std::string(each.param.name); });

} // namespace
