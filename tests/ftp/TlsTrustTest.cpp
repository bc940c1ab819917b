// Certificates that the system does not trust.

#include "EnvironmentValue.h"
#include "RecordingJudge.h"
#include "StreamTest.h"

#include <QTemporaryFile>

#include <gmock/gmock.h>

#include <vector>

namespace {

class TlsTrustTest : public TlsStreamTest {
protected:
    TlsTrustTest() { m_trusted.clear(); }

    void startJudged(StreamRecorder& recorder, const QString& path = u"/f"_s)
    {
        recorder.data = "x";
        auto stream = m_judged.createUploadStream(m_peer.location(path), 1);
        EXPECT_TRUE(stream->setEncryption(FTPEncryption::Required));
        recorder.start(std::move(stream));
    }
    bool waitForQuestions(size_t count)
    {
        return waitFor([this, count] { return m_judge.questions.size() >= count; });
    }

    RecordingJudge m_judge;
    EngineStreamFactory m_judged{ m_engine, m_judge };
};

TEST_F(TlsTrustTest, ACertificateThatNobodyTrustsIsRefusedBeforeTheLogin)
{
    startUpload(u"/f"_s, "x");
    auto control = greet();

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"certificate"_s });
    EXPECT_EQ(control->receiveToEnd(), "");
}

TEST_F(TlsTrustTest, ATrustedCertificateIsNotAskedAboutWhateverIsWrongWithIt)
{
    m_certificate = TestCertificate::make({ .subjectAlternativeName = "DNS:elsewhere", .validUntilSeconds = -1 });
    m_tls = TlsServerContext(m_certificate);
    m_trusted = { QByteArray(32, 'x'), m_certificate.fingerprint() };
    startUpload(u"/f"_s, "x");

    EXPECT_EQ(greet()->hear(), "PBSZ 0");
}

TEST_F(TlsTrustTest, AnotherCertificateThanTheTrustedOneIsRefused)
{
    m_trusted = { TestCertificate::selfSigned().fingerprint() };
    startUpload(u"/f"_s, "x");
    auto control = greet();

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"certificate"_s });
    EXPECT_EQ(control->receiveToEnd(), "");
}

TEST_F(TlsTrustTest, ACertificateOfAnAuthorityInTheSystemsStoreNeedsNoTrust)
{
    const TestCertificate authority = TestCertificate::make({ .commonName = "authority", .isAuthority = true });
    QTemporaryFile store;
    ASSERT_TRUE(store.open());
    store.write(authority.certificatePem());
    store.close();
    const EnvironmentValue certificates("SSL_CERT_FILE", store.fileName().toLocal8Bit());
    m_tls = TlsServerContext(TestCertificate::make({}, &authority));
    startUpload(u"/f"_s, "x");

    EXPECT_EQ(greet()->hear(), "PBSZ 0");
    EXPECT_TRUE(m_recorder.security().isTrustedBySystem);
}

TEST_F(TlsTrustTest, TheQuestionTellsEverything)
{
    m_certificate = TestCertificate::make({ .subjectAlternativeName = "DNS:elsewhere,IP:::1,email:a@b.c,IP:10.0.0.7",
                                            .commonName = "elsewhere",
                                            .validUntilSeconds = -60 });
    m_tls = TlsServerContext(m_certificate);
    startJudged(m_recorder);
    auto control = greet();
    ASSERT_TRUE(waitForQuestions(1));

    const CertificateQuestion& question = m_judge.questions.front();

    EXPECT_EQ(question.host, u"127.0.0.1"_s);
    EXPECT_EQ(question.port, m_peer.port());
    EXPECT_EQ(question.certificate.subject, u"CN=elsewhere"_s);
    EXPECT_EQ(question.certificate.hosts, (QStringList{ u"elsewhere"_s, u"::1"_s, u"10.0.0.7"_s }));
    EXPECT_EQ(question.certificate.fingerprint, m_certificate.fingerprint());
    EXPECT_LT(question.certificate.validUntil, QDateTime::currentDateTimeUtc());
    EXPECT_THAT(question.certificate.problems,
                testing::ElementsAre(CertificateProblem::SelfSigned, CertificateProblem::Expired,
                                     CertificateProblem::WrongHost));
}

TEST_F(TlsTrustTest, TheStreamWaitsForTheAnswerWithoutATimeLimit)
{
    std::unique_ptr<PeerConnection> control;
    auto limit = 150ms;
    while (m_judge.questions.empty()) {
        limit *= 2; // On a busy machine a short one ends before the handshake does.
        m_timeouts.reply = m_timeouts.connect = limit;
        startJudged(m_recorder);
        control = m_peer.accept();
        control->say("220 Ready");
        control->hear();
        control->say("234 Go on");
        control->startTls(m_tls);
        waitFor([this] { return !m_judge.questions.empty() || !m_recorder.log().isEmpty(); });
    }
    EXPECT_FALSE(waitFor([this] { return !m_recorder.log().isEmpty(); }, 2 * limit));
    EXPECT_TRUE(control->isSilent());

    m_judge.answers.front()(true);

    EXPECT_EQ(control->hear(), "PBSZ 0");
}

TEST_F(TlsTrustTest, TheStreamWaitsForTheAnswerAlsoWhereItHadToWaitForAnotherLogin)
{
    m_timeouts.login = 1s;
    StreamRecorder other;
    startUpload(other, u"/g"_s, "x", u"ben"_s);
    auto others = accept();
    startJudged(m_recorder);
    const auto refused = accept();
    refused->say("421 Only one");
    ASSERT_NE(refused->waitForEnd(), End::None);
    others->close();
    auto control = greet();
    ASSERT_TRUE(waitForQuestions(1));

    EXPECT_FALSE(waitFor([this] { return !m_recorder.log().isEmpty(); }, 1200ms));

    m_judge.answers.front()(true);
    EXPECT_EQ(control->hear(), "PBSZ 0");
}

TEST_F(TlsTrustTest, ARefusalIsAnErrorOfItsOwnKind)
{
    startJudged(m_recorder);
    auto control = greet();
    ASSERT_TRUE(waitForQuestions(1));

    m_judge.answers.front()(false);

    EXPECT_TRUE(m_recorder.log().isEmpty()); // From the loop, as always.
    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"certificate"_s });
    EXPECT_EQ(control->receiveToEnd(), "");
}

TEST_F(TlsTrustTest, AnAnswerMayComeFromInsideTheQuestion)
{
    m_judge.verdict = true;
    startJudged(m_recorder);

    EXPECT_EQ(greet()->hear(), "PBSZ 0");
}

TEST_F(TlsTrustTest, ManyStreamsWaitForOneAnswer)
{
    for (const bool isTrusted : { false, true }) {
        m_judge.questions.clear();
        m_judge.answers.clear();
        StreamRecorder other;
        startJudged(m_recorder);
        auto first = greet();
        startJudged(other, u"/g"_s);
        auto second = greet();
        ASSERT_TRUE(waitForQuestions(1));
        EXPECT_FALSE(waitFor([this] { return m_judge.questions.size() > 1; }, 50ms));

        m_judge.answers.front()(isTrusted);

        if (isTrusted) {
            EXPECT_EQ(first->hear(), "PBSZ 0");
            EXPECT_EQ(second->hear(), "PBSZ 0");
        } else {
            EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"certificate"_s });
            EXPECT_EQ(other.waitForEnd(), QStringList{ u"certificate"_s });
        }
        EXPECT_EQ(m_judge.questions.size(), 1U);
    }
}

TEST_F(TlsTrustTest, ALaterStreamAsksAgain)
{
    startJudged(m_recorder);
    auto first = greet();
    ASSERT_TRUE(waitForQuestions(1));
    m_judge.answers.front()(false);
    m_recorder.waitForEnd();

    startJudged(m_recorder);
    auto second = greet();

    EXPECT_TRUE(waitForQuestions(2));
}

TEST_F(TlsTrustTest, AServerThatDoesNotWaitIsTriedAgainAfterTheAnswer)
{
    startJudged(m_recorder);
    auto first = greet();
    ASSERT_TRUE(waitForQuestions(1));
    first->close();
    EXPECT_FALSE(waitFor([this] { return !m_recorder.log().isEmpty(); }, 50ms));

    m_judge.verdict = true; // It is remembered by now.
    m_judge.answers.front()(true);

    EXPECT_EQ(greet()->hear(), "PBSZ 0");
}

TEST_F(TlsTrustTest, AServerThatLeavesWheneverItsCertificateIsLookedAtIsGivenUp)
{
    startJudged(m_recorder);
    auto first = greet();
    ASSERT_TRUE(waitForQuestions(1));
    first->say("421 Too slow"); // Not only the bare end: what it says first ends the use of the connection, too.
    first->close();
    EXPECT_FALSE(waitFor([this] { return !m_recorder.log().isEmpty(); }, 50ms));
    m_judge.answers.front()(true);
    auto second = greet();
    ASSERT_TRUE(waitForQuestions(2));
    second->close();
    EXPECT_FALSE(waitFor([this] { return !m_recorder.log().isEmpty(); }, 50ms));

    m_judge.answers.back()(true);

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_EQ(m_peer.connectionCount(), 2);
}

TEST_F(TlsTrustTest, AStreamMayBeClosedWhileItWaits)
{
    startJudged(m_recorder);
    auto control = greet();
    ASSERT_TRUE(waitForQuestions(1));

    m_recorder.close();
    EXPECT_NE(control->waitForEnd(), End::None);
    m_judge.answers.front()(true);
    drainEventLoop();

    EXPECT_TRUE(m_recorder.log().isEmpty());
}

TEST_F(TlsTrustTest, OnceTrustedAKeptConnectionIsNotAskedAboutAgain)
{
    m_judge.verdict = true;
    startJudged(m_recorder);
    auto control = open("STOR f");
    m_data->receiveToEnd();
    control->say("226 Got it");
    m_recorder.waitForEnd();

    startJudged(m_recorder, u"/g"_s);

    EXPECT_EQ(control->hear(), "EPSV");
    EXPECT_EQ(m_judge.questions.size(), 1U);
}

} // namespace
