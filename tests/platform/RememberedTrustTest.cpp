#include "RememberedTrust.h"

#include "Printers.h"
#include "TrustedCertificates.h"

#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

class RememberedTrustTest : public testing::Test, public CertificatePrompt {
protected:
    void askToTrust(const CertificateQuestion& question, std::function<void(bool)> answer) override
    {
        m_log.append(u"asked about "_s + question.host);
        m_answers.push_back(std::move(answer));
    }
    void certificateHasChanged(const CertificateQuestion& question, const QByteArray& trustedFingerprint) override
    {
        m_log.append(u"changed at %1 from %2"_s.arg(question.host, QString::fromLatin1(trustedFingerprint.first(1))));
    }

    /// Asks about the certificate whose fingerprint is all @p byte.
    void judge(char byte, const QString& host = u"host"_s)
    {
        CertificateQuestion question;
        question.host = host;
        question.certificate.fingerprint = QByteArray(32, byte);
        m_trust->judge(question, [this](bool isTrusted) { m_log.append(isTrusted ? u"trusted"_s : u"refused"_s); });
    }
    void answer(bool isTrusted) { m_answers.back()(isTrusted); }

    QTemporaryDir m_folder;
    TrustedCertificates m_store{ m_folder.filePath(u"trusted.json"_s) };
    std::unique_ptr<RememberedTrust> m_trust = std::make_unique<RememberedTrust>(m_store, *this);
    QStringList m_log;
    std::vector<std::function<void(bool)>> m_answers;
};

TEST_F(RememberedTrustTest, TrustIsStoredAndAskedForOnce)
{
    judge('a');
    EXPECT_EQ(m_log, QStringList{ u"asked about host"_s });
    EXPECT_TRUE(m_store.fingerprint(u"host"_s, 21).isEmpty());

    answer(true);
    judge('a', u"HOST"_s);

    EXPECT_EQ(m_log, (QStringList{ u"asked about host"_s, u"trusted"_s, u"trusted"_s }));
    EXPECT_EQ(m_store.fingerprint(u"host"_s, 21), QByteArray(32, 'a'));
}

TEST_F(RememberedTrustTest, ARefusalCountsUntilItIsForgotten)
{
    judge('a');
    answer(false);
    judge('a');
    EXPECT_EQ(m_log, (QStringList{ u"asked about host"_s, u"refused"_s, u"refused"_s }));
    EXPECT_TRUE(m_store.fingerprint(u"host"_s, 21).isEmpty());

    m_trust->forgetRefusals();
    judge('a');

    EXPECT_EQ(m_log.last(), u"asked about host"_s);
}

TEST_F(RememberedTrustTest, OtherCertificatesAndHostsAreAskedAboutForThemselves)
{
    judge('a');
    answer(false);
    judge('b');
    EXPECT_EQ(m_log.last(), u"asked about host"_s);
    judge('a', u"other"_s);
    EXPECT_EQ(m_log.last(), u"asked about other"_s);
}

TEST_F(RememberedTrustTest, AChangedCertificateIsRefusedWithoutAQuestion)
{
    EXPECT_TRUE(m_store.trust(u"host"_s, 21, QByteArray(32, 'a')));

    judge('b');
    judge('a');

    EXPECT_EQ(m_log, (QStringList{ u"refused"_s, u"changed at host from a"_s, u"trusted"_s }));
    EXPECT_EQ(m_store.fingerprint(u"host"_s, 21), QByteArray(32, 'a'));
}

TEST_F(RememberedTrustTest, AChangedCertificateIsReportedOnceUntilAConnectionIsRequestedAgain)
{
    EXPECT_TRUE(m_store.trust(u"host"_s, 21, QByteArray(32, 'a')));
    judge('b');
    judge('b');
    EXPECT_EQ(m_log, (QStringList{ u"refused"_s, u"changed at host from a"_s, u"refused"_s }));

    m_trust->forgetRefusals();
    judge('b');

    EXPECT_EQ(m_log.last(), u"changed at host from a"_s);
    EXPECT_EQ(m_log.size(), 5);
}

TEST_F(RememberedTrustTest, AServerThatShowsAnotherOneEachTimeIsToldOfOnce)
{
    EXPECT_TRUE(m_store.trust(u"host"_s, 21, QByteArray(32, 'a')));

    judge('b');
    judge('c');
    judge('d', u"HOST"_s);

    EXPECT_EQ(m_log, (QStringList{ u"refused"_s, u"changed at host from a"_s, u"refused"_s, u"refused"_s }));
}

TEST_F(RememberedTrustTest, OfTwoOpenQuestionsAboutAServerOneCanBeTrusted)
{
    judge('a');
    judge('b');

    m_answers[0](true);
    m_answers[1](true);

    EXPECT_EQ(m_log.mid(2), (QStringList{ u"trusted"_s, u"changed at host from a"_s, u"refused"_s }));
    EXPECT_EQ(m_store.fingerprint(u"host"_s, 21), QByteArray(32, 'a'));
}

TEST_F(RememberedTrustTest, OnceTheOldOneIsForgottenTheNewOneIsAskedAbout)
{
    EXPECT_TRUE(m_store.trust(u"host"_s, 21, QByteArray(32, 'a')));
    judge('b');

    EXPECT_TRUE(m_store.forget(u"host"_s, 21));
    judge('b');

    EXPECT_EQ(m_log.last(), u"asked about host"_s);
}

TEST_F(RememberedTrustTest, TrustThatCannotBeStoredLastsAsLongAsTheProgram)
{
    TrustedCertificates nowhere(u"/dev/null/trusted.json"_s);
    m_trust = std::make_unique<RememberedTrust>(nowhere, *this);
    judge('a');
    answer(true);

    judge('a');
    judge('b');

    EXPECT_EQ(
        m_log,
        (QStringList{ u"asked about host"_s, u"trusted"_s, u"trusted"_s, u"refused"_s, u"changed at host from a"_s }));
    m_trust.reset();
}

TEST_F(RememberedTrustTest, AnAnswerMayComeWhenNobodyRemembersAnyMore)
{
    judge('a');
    m_trust.reset();

    answer(true);

    EXPECT_TRUE(m_store.fingerprint(u"host"_s, 21).isEmpty());
}

} // namespace
