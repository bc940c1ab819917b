#include "TrustedCertificates.h"

#include "Printers.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

class TrustedCertificatesTest : public testing::Test {
protected:
    void writeFile(const QByteArray& bytes) const
    {
        QFile file(m_path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }
    static QByteArray contents(const QString& path)
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    const QByteArray m_one = QByteArray(32, '\x01');
    const QByteArray m_two = QByteArray(31, '\x02') + '\0';
    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath(u"sub/trusted.json"_s);
    TrustedCertificates m_certificates{ m_path };
};

TEST_F(TrustedCertificatesTest, NothingIsTrustedAtFirst)
{
    EXPECT_TRUE(m_certificates.fingerprint(u"host"_s, 21).isEmpty());
    EXPECT_FALSE(QFile::exists(m_path));
}

TEST_F(TrustedCertificatesTest, TrustIsForOneHostAndOnePort)
{
    EXPECT_TRUE(m_certificates.trust(u"Host"_s, 21, m_one));
    EXPECT_TRUE(m_certificates.trust(u"host"_s, 2121, m_two));
    EXPECT_TRUE(m_certificates.trust(u"::1"_s, 21, m_two));

    EXPECT_EQ(m_certificates.fingerprint(u"hOST"_s, 21), m_one);
    EXPECT_EQ(m_certificates.fingerprint(u"host"_s, 2121), m_two);
    EXPECT_EQ(m_certificates.fingerprint(u"::1"_s, 21), m_two);
    EXPECT_TRUE(m_certificates.fingerprint(u"host"_s, 22).isEmpty());
    EXPECT_TRUE(m_certificates.fingerprint(u"host.example"_s, 21).isEmpty());
}

TEST_F(TrustedCertificatesTest, ItLastsAndIsSeenByAnotherCopy)
{
    TrustedCertificates other(m_path);
    EXPECT_TRUE(other.fingerprint(u"host"_s, 21).isEmpty());

    EXPECT_TRUE(m_certificates.trust(u"host"_s, 21, m_one));

    EXPECT_EQ(other.fingerprint(u"host"_s, 21), m_one);
    EXPECT_TRUE(other.trust(u"host"_s, 21, m_two));
    EXPECT_EQ(m_certificates.fingerprint(u"host"_s, 21), m_two);
    EXPECT_TRUE(m_certificates.forget(u"host"_s, 21));
    EXPECT_TRUE(other.fingerprint(u"host"_s, 21).isEmpty());
}

TEST_F(TrustedCertificatesTest, OnlyTheOwnerMayReadTheFile)
{
    EXPECT_TRUE(m_certificates.trust(u"host"_s, 21, m_one));

    struct stat file { };
    struct stat folder { };
    ASSERT_EQ(stat(QFile::encodeName(m_path).constData(), &file), 0);
    ASSERT_EQ(stat(QFile::encodeName(m_folder.filePath(u"sub"_s)).constData(), &folder), 0);
    EXPECT_EQ(file.st_mode & 07777U, 0600U);
    EXPECT_EQ(folder.st_mode & 07777U, 0700U);
}

TEST_F(TrustedCertificatesTest, ADamagedFileIsKnownAsSuchAndNothingIsStoredInItsPlace)
{
    EXPECT_TRUE(m_certificates.trust(u"host"_s, 21, m_one));
    EXPECT_FALSE(m_certificates.isDamaged());
    for (const char* text : { "{ \"host:21\": \"0101\" }", "{ \"host:21\": \"zz\" }", "{ \"host:21\": true }",
                              "{ \"host:21\": null }", "[]", "", "{" }) {
        SCOPED_TRACE(text);
        writeFile(text);

        EXPECT_TRUE(m_certificates.fingerprint(u"host"_s, 21).isEmpty());
        EXPECT_TRUE(m_certificates.isDamaged());
        EXPECT_FALSE(m_certificates.trust(u"other"_s, 21, m_two));
        EXPECT_TRUE(m_certificates.fingerprint(u"other"_s, 21).isEmpty());
        EXPECT_EQ(contents(m_path), text);
        EXPECT_FALSE(QFile::exists(m_path + u".bak"_s));
    }
}

TEST_F(TrustedCertificatesTest, WhatCanBeReadInADamagedFileCanBeForgottenAndTheDamageStays)
{
    EXPECT_TRUE(m_certificates.trust(u"host"_s, 21, m_one));
    writeFile(contents(m_path).replace("{", "{ \"other:21\": \"?\","));
    EXPECT_EQ(m_certificates.fingerprint(u"host"_s, 21), m_one);

    EXPECT_TRUE(m_certificates.forget(u"host"_s, 21));

    EXPECT_TRUE(m_certificates.fingerprint(u"host"_s, 21).isEmpty());
    EXPECT_TRUE(m_certificates.isDamaged());
    EXPECT_TRUE(contents(m_path).contains(R"("other:21": "?")"));
    writeFile("{");
    EXPECT_FALSE(m_certificates.forget(u"host"_s, 21));
}

TEST_F(TrustedCertificatesTest, ALinkThatLeadsNowhereIsDamaged)
{
    ASSERT_TRUE(QDir().mkpath(m_folder.filePath(u"sub"_s)));
    const QString target = m_folder.filePath(u"far/trusted.json"_s);
    ASSERT_TRUE(QFile::link(target, m_path));

    EXPECT_TRUE(m_certificates.isDamaged());
    EXPECT_FALSE(m_certificates.trust(u"host"_s, 21, m_one));
    EXPECT_FALSE(QFile::exists(target));

    EXPECT_TRUE(m_certificates.forgetDamage());
    EXPECT_FALSE(m_certificates.isDamaged());
    EXPECT_TRUE(m_certificates.trust(u"host"_s, 21, m_one));
    EXPECT_TRUE(QFile::exists(target));
}

TEST_F(TrustedCertificatesTest, ForgettingTheDamageKeepsTheFileBesideTheNewOneAndWhatCanBeRead)
{
    EXPECT_TRUE(m_certificates.trust(u"host"_s, 21, m_one));
    const QByteArray damaged = contents(m_path).replace("{", "{ \"other:21\": \"?\",");
    writeFile(damaged);

    EXPECT_TRUE(m_certificates.forgetDamage());

    EXPECT_FALSE(m_certificates.isDamaged());
    EXPECT_EQ(contents(m_path + u".bak"_s), damaged);
    EXPECT_EQ(m_certificates.fingerprint(u"host"_s, 21), m_one);
    EXPECT_TRUE(m_certificates.trust(u"other"_s, 21, m_two));

    writeFile("{");
    EXPECT_TRUE(m_certificates.forgetDamage());
    EXPECT_FALSE(m_certificates.isDamaged());
    EXPECT_EQ(contents(m_path + u".bak"_s), "{");
    EXPECT_TRUE(m_certificates.fingerprint(u"host"_s, 21).isEmpty());
}

TEST_F(TrustedCertificatesTest, WhatCannotBeWrittenIsToldAndLastsAsLongAsTheProgram)
{
    TrustedCertificates nowhere(u"/dev/null/trusted.json"_s);

    EXPECT_FALSE(nowhere.trust(u"Host"_s, 21, m_one));
    EXPECT_EQ(nowhere.fingerprint(u"host"_s, 21), m_one);
    EXPECT_TRUE(nowhere.fingerprint(u"host"_s, 22).isEmpty());

    EXPECT_FALSE(nowhere.trust(u"host"_s, 21, m_two));
    EXPECT_EQ(nowhere.fingerprint(u"host"_s, 21), m_two);

    EXPECT_FALSE(nowhere.forget(u"HOST"_s, 21));
    EXPECT_TRUE(nowhere.fingerprint(u"host"_s, 21).isEmpty());
}

} // namespace
