#include "EngineStreamFactory.h"
#include "FTPEngine.h"
#include "FTPPutController.h"
#include "ScriptedServer.h"
#include "TransferTest.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString lost = u"Stream open error"_s;
const QString succeeded = u"Upload succeeded"_s;

QString refused(int code)
{
    return u"FTP error %1; Directory may already exist?"_s.arg(code);
}

class UploadDelegate final : public RecordingDelegate, public FTPPutControllerDelegate {
public:
    void percentDone(float /*percent*/) override { }
    void bytesDone(float bytes) override { bytesTaken = static_cast<qint64>(bytes); }
    void updateStatus(const QString& status) override { note(status); }
    void uploadDone() override { note(u"uploadDone"_s); }

    WeakRef<UploadDelegate> ref() { return m_anchor.ref(this); }

    qint64 bytesTaken = 0; ///< By the network.

private:
    WeakAnchor m_anchor;
};

/// What the server does wrong, and what the upload ends in.
struct UploadFault {
    std::string name;
    QList<ScriptedRule> rules;
    QString status;
};

void PrintTo(const UploadFault& fault, std::ostream* out) // NOLINT(readability-identifier-naming): GoogleTest's name
{
    *out << fault.name;
}

const ScriptedRule noExtendedPassive{ .on = "EPSV", .steps = { "500 What?" } };
const ScriptedRule narrowPorts{ .on = "EPSV", .steps = { "narrow 4096", "default" } };

QList<UploadFault> refusals()
{
    return {
        { "GreetingRefused", { { .on = "connect", .steps = { "421 Too busy", "close" } } }, refused(421) },
        { "UserRefused", { { .on = "USER", .steps = { "530 No" } } }, refused(530) },
        { "PasswordRefused", { { .on = "PASS", .steps = { "530 No" } } }, refused(530) },
        { "FolderRefused", { { .on = "CWD", .steps = { "550 No" } } }, refused(550) },
        { "TypeRefused", { { .on = "TYPE", .steps = { "504 No" } } }, refused(504) },
        { "NoPassivePort", { noExtendedPassive, { .on = "PASV", .steps = { "425 No" } } }, refused(425) },
        { "StoreRefused", { { .on = "STOR", .steps = { "553 No" } } }, refused(553) },
        { "FullBeforeTheData", { { .on = "STOR", .steps = { "452 Full" } } }, refused(452) },
        { "FullAfterTheData", { { .on = "STOR", .steps = { "150 Go", "read", "552 Full" } } }, refused(552) },
        { "EarlyWordDataClosed",
          { { .on = "STOR", .steps = { "150 Go", "read 9", "552 Full", "data-close" } } },
          refused(552) },
        { "EarlyWordDataReset",
          { { .on = "STOR", .steps = { "150 Go", "read 9", "552 Full", "data-reset" } } },
          refused(552) },
        { "DataResetBeforeTheWord",
          { { .on = "STOR", .steps = { "150 Go", "read 9", "data-reset", "wait 100", "552 Full" } } },
          refused(552) },
        { "EarlyWordDataUnread",
          { narrowPorts, { .on = "STOR", .steps = { "150 Go", "accept", "552 Full" } } },
          refused(552) },
        { "OtherCodesInsideTheReply",
          { { .on = "STOR", .steps = { "150 Go", "read", "552-Full", "say  226 ok", "226-ok", "552 End" } } },
          refused(552) },
        { "WordByteByByte", { { .on = "STOR", .steps = { "slowly 1", "553 No" } } }, refused(553) },
        { "NotUTF8AndNUL", { { .on = "STOR", .steps = { "raw 553-a\0b\xff\xfe\r\n"_ba, "553 \x80" } } }, refused(553) },
    };
}

QList<UploadFault> losses()
{
    return {
        { "HangsUpAtOnce", { { .on = "connect", .steps = { "close" } } }, lost },
        { "ResetsAtOnce", { { .on = "connect", .steps = { "reset" } } }, lost },
        { "SilentAtOnce", { { .on = "connect", .steps = { "silence" } } }, lost },
        { "SilentAtUser", { { .on = "USER", .steps = { "silence" } } }, lost },
        { "SilentAtPassword", { { .on = "PASS", .steps = { "silence" } } }, lost },
        { "SilentAtStore", { { .on = "STOR", .steps = { "silence" } } }, lost },
        { "SilentAfterTheData", { { .on = "STOR", .steps = { "150 Go", "read", "silence" } } }, lost },
        { "NeverReadsTheData", { narrowPorts, { .on = "STOR", .steps = { "150 Go", "accept", "silence" } } }, lost },
        { "HangsUpAtStore", { { .on = "STOR", .steps = { "close" } } }, lost },
        { "ResetsInTheData", { { .on = "STOR", .steps = { "150 Go", "read 9", "reset" } } }, lost },
        { "HangsUpAfterTheData", { { .on = "STOR", .steps = { "150 Go", "read", "close" } } }, lost },
        { "DataPortHangs",
          { { .on = "EPSV", .steps = { "229 Go (|||{full}|)" } }, { .on = "PASV", .steps = { "silence" } } },
          lost },
        { "EndlessLine", { { .on = "STOR", .steps = { "150 Go", "read", "flood 1000000", "226 Got it" } } }, lost },
        { "EndlessReply", { { .on = "STOR", .steps = { "150 Go", "read", "flood-lines 1000000" } } }, lost },
        { "AccountWanted", { { .on = "PASS", .steps = { "332 Account" } } }, lost },
        { "GreetingIsNotFTP", { { .on = "connect", .steps = { "say SSH-2.0-x", "silence" } } }, lost },
        { "FinalReplyOfAnotherKind", { { .on = "STOR", .steps = { "150 Go", "read", "200 Got it" } } }, lost },
    };
}

QList<UploadFault> oddities()
{
    return {
        { "GreetingInTwoSteps", { { .on = "connect", .steps = { "120 Wait", "wait 50", "220 Go" } } }, succeeded },
        { "UserIsEnough", { { .on = "USER", .steps = { "230 Come in" } } }, succeeded },
        { "WorkingFolderUnknown", { { .on = "PWD", .steps = { "502 No" } } }, succeeded },
        { "NoPreliminaryReply", { { .on = "STOR", .steps = { "read", "226 Got it" } } }, succeeded },
        { "DataPortOpenAlready", { { .on = "STOR", .steps = { "125 Go", "read", "226 Got it" } } }, succeeded },
        { "OtherFinalReply", { { .on = "STOR", .steps = { "150 Go", "read", "250 Got it" } } }, succeeded },
        { "LateFinalReply", { { .on = "STOR", .steps = { "150 Go", "read", "wait 300", "226 Ok" } } }, succeeded },
        { "AllByteByByte", { { .on = "connect", .steps = { "slowly 1", "default" } } }, succeeded },
        { "NoExtendedPassive", { noExtendedPassive }, succeeded },
        { "ExtendedPassiveRefused", { { .on = "EPSV", .steps = { "522 No" } } }, succeeded },
        { "ExtendedPortIsDead", { { .on = "EPSV", .steps = { "229 Go (|||{closed}|)" } } }, succeeded },
        { "PassiveReplyNamesAnotherHost",
          { noExtendedPassive, { .on = "PASV", .steps = { "227 Go (10,0,0,1,{p1},{p2})" } } },
          succeeded },
        { "PassiveReplyWithoutParentheses",
          { noExtendedPassive, { .on = "PASV", .steps = { "227 Go {pasv}" } } },
          succeeded },
        { "NoPipelining", { { .on = "*", .steps = { "503 One at a time" }, .pipelined = true } }, succeeded },
    };
}

class FaultyServerUploadTest : public TransferTest, public testing::WithParamInterface<UploadFault> {
protected:
    void SetUp() override
    {
        TransferTest::SetUp();
        // Time enough for a busy machine, and little enough to wait for.
        auto& timeouts = m_engine.timeouts();
        timeouts.connect = 2s;
        timeouts.reply = 2s;
        timeouts.stalledData = 2s;
        timeouts.confirmation = 2s;
        QDir(m_server.root()).mkdir(u"folder"_s);
        m_controller.setDelegate(m_delegate.ref());
    }

    void start(const QString& name, const QByteArray& bytes)
    {
        m_delegate.calls.clear();
        m_controller.startSend(makeFile(name, bytes), m_server.location(u"folder/"_s), u"anna"_s, u"secret"_s);
    }

    /// Uploads and answers the last status.
    QString upload(const QString& name, const QByteArray& bytes)
    {
        start(name, bytes);
        EXPECT_TRUE(waitFor([this] { return !m_controller.isSending(); }));
        return m_delegate.calls.last();
    }

    ScriptedServer m_server;
    FTPEngine m_engine;
    EngineStreamFactory m_streams{ m_engine };
    UploadDelegate m_delegate;
    FTPPutController m_controller{ m_streams };
};

TEST_P(FaultyServerUploadTest, EndsInTheRightWordsAndTheNextUploadWorks)
{
    for (const ScriptedRule& rule : GetParam().rules) {
        m_server.add(rule);
    }
    // More than fits on the way, so that a server that does not read is felt.
    const QByteArray bytes(8'000'000, 'x');

    EXPECT_EQ(upload(u"first"_s, bytes), GetParam().status);

    EXPECT_EQ(m_delegate.calls.count(u"uploadDone"_s), GetParam().status == succeeded ? 1 : 0);
    if (GetParam().status == succeeded) {
        EXPECT_TRUE(m_server.file(u"folder/first"_s) == bytes);
    }
    m_server.forgetRules();
    EXPECT_EQ(upload(u"second"_s, "content"), succeeded);
    EXPECT_EQ(m_server.file(u"folder/second"_s), QByteArray("content"));
    EXPECT_EQ(countChange(), 0);
}

using EarlyConfirmationTest = FaultyServerUploadTest;

TEST_F(EarlyConfirmationTest, WaitsUntilTheServersTCPHasAcknowledgedEverything)
{
    m_engine.timeouts() = FTPTimeouts();
    m_server.add(narrowPorts);
    m_server.on("STOR", { "150 Go", "accept" });
    const QByteArray bytes(100'000, 'x'); // All of it fits on the way; the server's end holds little of that.
    start(u"first"_s, bytes);
    ASSERT_TRUE(waitFor([this, &bytes] { return m_delegate.bytesTaken == bytes.size(); }));
    ASSERT_TRUE(waitFor([this] { return m_server.dataConnectionCount() == 1; })); // It has read STOR and said 150.

    m_server.act(1, { "226 Done" });
    EXPECT_FALSE(waitFor([this] { return !m_controller.isSending(); }, 100ms));
    EXPECT_FALSE(m_server.file(u"folder/first"_s));

    m_server.act(1, { "read" });
    EXPECT_TRUE(waitFor([this] { return !m_controller.isSending(); }));
    EXPECT_EQ(m_delegate.calls.last(), succeeded);
    EXPECT_TRUE(m_server.file(u"folder/first"_s) == bytes);
    EXPECT_TRUE(m_server.storedFiles().last().isComplete);
    EXPECT_EQ(countChange(), 0);
}

TEST_F(EarlyConfirmationTest, IsAFailureWhileBytesHaveYetToLeaveUs)
{
    m_server.add(narrowPorts);
    m_server.on("STOR", { "150 Go", "accept", "226 Done" });

    EXPECT_EQ(upload(u"first"_s, QByteArray(8'000'000, 'x')), lost);

    m_server.forgetRules();
    EXPECT_EQ(upload(u"second"_s, "content"), succeeded);
    EXPECT_EQ(countChange(), 0);
}

std::string nameOfTest(const testing::TestParamInfo<UploadFault>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Refusals, FaultyServerUploadTest, testing::ValuesIn(refusals()), nameOfTest);
INSTANTIATE_TEST_SUITE_P(Losses, FaultyServerUploadTest, testing::ValuesIn(losses()), nameOfTest);
INSTANTIATE_TEST_SUITE_P(Oddities, FaultyServerUploadTest, testing::ValuesIn(oddities()), nameOfTest);

} // namespace
