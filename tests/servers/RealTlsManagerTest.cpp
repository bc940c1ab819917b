// The synchronous library, encrypted, against real servers that take nothing unencrypted.

#include "FTPManager.h"
#include "Printers.h"
#include "RealServer.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

class RealTlsManagerTest : public testing::TestWithParam<ServerMake> {
protected:
    std::shared_ptr<FMServer> server(const QString& folder = {}) const
    {
        auto record
            = FMServer::serverWithDestination(u"127.0.0.1/"_s + folder, m_server.userName(), m_server.password());
        record->setPort(m_server.port());
        record->setEncryption(FTPEncryption::Required);
        record->setTrustedFingerprints({ m_certificate.fingerprint() });
        return record;
    }
    static QByteArray contents(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    TestCertificate m_certificate = TestCertificate::selfSigned();
    RealServer m_server{ GetParam(), m_certificate, {} };
    QTemporaryDir m_folder;
    FTPManager m_manager;
};

TEST_P(RealTlsManagerTest, EveryOperationWorksInsideTls)
{
    const auto root = server();
    const auto sub = server(u"sub"_s);
    const QByteArray large(4 * 1024 * 1024, 'x');

    EXPECT_TRUE(m_manager.checkLogin(root.get()));
    EXPECT_TRUE(m_manager.createNewFolder(u"sub"_s, root.get()));
    EXPECT_TRUE(m_manager.uploadData(large, u"a.txt"_s, sub.get()));
    EXPECT_TRUE(contents(m_server.path(u"sub/a.txt"_s)) == large);
    const auto entries = m_manager.contentsOfServer(sub.get());
    ASSERT_TRUE(entries);
    EXPECT_TRUE(std::any_of(entries->begin(), entries->end(), [](const auto& each) { return each.name == u"a.txt"; }));
    EXPECT_TRUE(m_manager.downloadFile(u"a.txt"_s, QUrl::fromLocalFile(m_folder.path()), sub.get()));
    EXPECT_TRUE(contents(m_folder.filePath(u"a.txt"_s)) == large);
    // The login that vsftpd has here is not allowed to.
    EXPECT_EQ(m_manager.chmodFileNamed(u"a.txt"_s, 640, sub.get()), GetParam() != ServerMake::Vsftpd);
    EXPECT_TRUE(m_manager.deleteFileNamed(u"a.txt"_s, sub.get()));
    EXPECT_FALSE(m_manager.deleteFileNamed(u"a.txt"_s, sub.get()));
    EXPECT_FALSE(QFile::exists(m_server.path(u"sub/a.txt"_s)));
    EXPECT_TRUE(m_manager.deleteFileNamed(u"sub"_s, root.get()));
    EXPECT_FALSE(QFile::exists(m_server.path(u"sub"_s)));
}

TEST_P(RealTlsManagerTest, WithoutTrustNothingIsDone)
{
    const auto stranger = server();
    stranger->setTrustedFingerprints({});

    EXPECT_FALSE(m_manager.checkLogin(stranger.get()));
    EXPECT_FALSE(m_manager.createNewFolder(u"sub"_s, stranger.get()));
    EXPECT_FALSE(m_manager.contentsOfServer(stranger.get()));
    EXPECT_FALSE(QFile::exists(m_server.path(u"sub"_s)));
}

INSTANTIATE_TEST_SUITE_P(Servers, RealTlsManagerTest, testing::ValuesIn(usualServerMakes()),
                         [](const auto& each) { return nameOf(each.param).toStdString(); });

} // namespace
