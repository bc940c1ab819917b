#include "RememberedTrust.h"

#include "KnownTrust.h"
#include "Printers.h"
#include "TrustedCertificates.h"

#include <QDir>
#include <QFile>
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

    void trustIsDamaged(const QString& filePath, std::function<void(bool)> answer) override
    {
        EXPECT_EQ(filePath, m_store.filePath());
        m_log.append(u"damaged"_s);
        m_answers.push_back(std::move(answer));
    }

    void damageCannotBeForgotten(const QString& filePath) override
    {
        EXPECT_EQ(filePath, m_store.filePath());
        m_log.append(u"not forgotten"_s);
    }

    void writeFile(const QByteArray& bytes) const
    {
        QFile file(m_store.filePath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
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

TEST_F(RememberedTrustTest, WhereNobodyIsAskedOnlyWhatIsKnownIsTrusted)
{
    KnownTrust known(m_store);
    CertificateQuestion question;
    question.host = u"Host"_s;
    question.certificate.fingerprint = QByteArray(32, 'a');
    const auto judged = [this](bool isTrusted) { m_log.append(isTrusted ? u"trusted"_s : u"refused"_s); };

    known.judge(question, judged);
    m_store.trust(u"host"_s, question.port, question.certificate.fingerprint);
    known.judge(question, judged);
    question.certificate.fingerprint = QByteArray(32, 'b');
    known.judge(question, judged);

    EXPECT_EQ(m_log, (QStringList{ u"refused"_s, u"trusted"_s, u"refused"_s }));
    writeFile("{");
    known.judge(question, judged);
    EXPECT_EQ(m_log.last(), u"refused"_s);
}

TEST_F(RememberedTrustTest, AServerWithoutACertificateIsNeverTrusted)
{
    KnownTrust known(m_store);
    const CertificateQuestion question{ .host = u"host"_s, .certificate = {} };
    const auto judged = [this](bool isTrusted) { m_log.append(isTrusted ? u"trusted"_s : u"refused"_s); };

    known.judge(question, judged);
    m_trust->judge(question, judged);

    EXPECT_EQ(m_log, (QStringList{ u"refused"_s, u"refused"_s }));
}

TEST_F(RememberedTrustTest, WhyAServerIsNotTrustedIsSaidAsItIs)
{
    const auto text = [this](const QString& location) { return untrustedText(m_store, location); };
    EXPECT_EQ(text(u"ftp://host/in/"_s), u"the server’s certificate is not trusted"_s);

    m_store.trust(u"host"_s, 2121, QByteArray(32, 'a'));
    EXPECT_EQ(text(u"ftp://host/in/"_s), u"the server’s certificate is not trusted"_s);
    EXPECT_EQ(text(u"ftp://HOST:2121/in/"_s),
              u"the server has shown another certificate than the one that is trusted"_s);

    QFile file(m_store.filePath());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QByteArray bytes = file.readAll();
    writeFile(bytes.replace('}', ",\"other:21\": \"?\"}"));
    EXPECT_EQ(text(u"ftp://HOST:2121/in/"_s),
              u"the server has shown another certificate than the one that is trusted"_s);
    EXPECT_EQ(text(u"ftp://host/in/"_s),
              u"the file “%1”, which says whose certificates are trusted, is damaged"_s.arg(m_store.filePath()));
}

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

TEST_F(RememberedTrustTest, ARefusalCountsForTheServerWhateverCertificateItShows)
{
    judge('a');
    answer(false);
    judge('b');
    judge('c', u"HOST"_s);
    EXPECT_EQ(m_log, (QStringList{ u"asked about host"_s, u"refused"_s, u"refused"_s, u"refused"_s }));

    judge('a', u"other"_s);
    EXPECT_EQ(m_log.last(), u"asked about other"_s);
    m_trust->forgetRefusals();
    judge('b');
    EXPECT_EQ(m_log.last(), u"asked about host"_s);
}

TEST_F(RememberedTrustTest, OneQuestionIsOpenAboutAServerAndItsRefusalCountsForAllThatWait)
{
    judge('a');
    judge('b');
    judge('a');
    judge('b', u"other"_s);
    EXPECT_EQ(m_log, (QStringList{ u"asked about host"_s, u"asked about other"_s }));

    m_answers[0](false);

    EXPECT_EQ(m_log.mid(2), (QStringList{ u"refused"_s, u"refused"_s, u"refused"_s }));
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

TEST_F(RememberedTrustTest, OfTwoCertificatesThatAServerShowsAtATimeOneCanBeTrusted)
{
    judge('a');
    judge('b');
    judge('a');

    answer(true);

    EXPECT_EQ(
        m_log,
        (QStringList{ u"asked about host"_s, u"trusted"_s, u"refused"_s, u"changed at host from a"_s, u"trusted"_s }));
    EXPECT_EQ(m_store.fingerprint(u"host"_s, 21), QByteArray(32, 'a'));
}

TEST_F(RememberedTrustTest, AnAnswerDoesNotCountWhereAnotherCertificateHasComeToBeTrustedMeanwhile)
{
    judge('b');
    EXPECT_TRUE(TrustedCertificates(m_store.filePath()).trust(u"host"_s, 21, QByteArray(32, 'a')));

    answer(true);

    EXPECT_EQ(m_log.mid(1), (QStringList{ u"refused"_s, u"changed at host from a"_s }));
    EXPECT_EQ(m_store.fingerprint(u"host"_s, 21), QByteArray(32, 'a'));
}

TEST_F(RememberedTrustTest, ADamagedFileRefusesEveryServerAndIsReportedOnceUntilTheUserRequestsSomething)
{
    writeFile("{");

    judge('a');
    judge('b', u"other"_s);
    m_trust->forgetRefusals(); // The sheet still shows.
    judge('a');
    EXPECT_EQ(m_log, (QStringList{ u"refused"_s, u"damaged"_s, u"refused"_s, u"refused"_s }));

    answer(false);
    judge('a');
    EXPECT_EQ(m_log.last(), u"refused"_s);
    m_trust->forgetRefusals();
    judge('a');
    EXPECT_EQ(m_log.mid(4), (QStringList{ u"refused"_s, u"refused"_s, u"damaged"_s }));
    EXPECT_TRUE(m_store.isDamaged());
}

TEST_F(RememberedTrustTest, OnceADamagedFileIsForgottenServersAreAskedAbout)
{
    writeFile("{");
    judge('a');

    answer(true);
    judge('a');

    EXPECT_EQ(m_log.last(), u"asked about host"_s);
    EXPECT_TRUE(QFile::exists(m_store.filePath() + u".bak"_s));
}

TEST_F(RememberedTrustTest, ThatADamagedFileCannotBeForgottenIsTold)
{
    writeFile("{");
    ASSERT_TRUE(QDir(m_folder.path()).mkdir(u"trusted.json.bak"_s));
    judge('a');

    answer(true);

    EXPECT_EQ(m_log, (QStringList{ u"refused"_s, u"damaged"_s, u"not forgotten"_s }));
    judge('a');
    EXPECT_EQ(m_log.last(), u"refused"_s);
}

TEST_F(RememberedTrustTest, AFileThatIsDamagedWhileTheQuestionIsOpenStaysAndItsServerIsRefused)
{
    judge('a');
    writeFile("{");

    answer(true);

    EXPECT_EQ(m_log.mid(1), (QStringList{ u"refused"_s, u"damaged"_s }));
    EXPECT_TRUE(m_store.isDamaged());
    EXPECT_FALSE(QFile::exists(m_store.filePath() + u".bak"_s));
}

TEST_F(RememberedTrustTest, WhatCanBeReadOfADamagedFileIsTrusted)
{
    EXPECT_TRUE(m_store.trust(u"host"_s, 21, QByteArray(32, 'a')));
    QFile file(m_store.filePath());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    writeFile(file.readAll().replace("{", "{ \"other:21\": \"?\","));

    judge('a');
    judge('b');
    judge('b', u"third"_s);

    EXPECT_EQ(m_log,
              (QStringList{ u"trusted"_s, u"refused"_s, u"changed at host from a"_s, u"refused"_s, u"damaged"_s }));
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
