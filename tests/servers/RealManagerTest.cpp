#include "FTPManager.h"
#include "OpenDescriptors.h"
#include "RealServerTest.h"

#include <fstream>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr qint64 allowedGrowthKiB = 512 * 1024; // Sanitizers keep what was freed.
#else
constexpr qint64 allowedGrowthKiB = 1024;
#endif

/// The synchronous library against every make of server.
class RealManagerTest : public RealServerTest {
protected:
    /// The record of the folder @p folder below the login folder.
    std::shared_ptr<FMServer> server(const QString& folder = QString()) const
    {
        auto record
            = FMServer::serverWithDestination(u"127.0.0.1/"_s + folder, m_server.userName(), m_server.password());
        record->setPort(m_server.port());
        return record;
    }
    std::shared_ptr<FMServer> serverWithWrongPassword() const
    {
        auto record = server();
        record->setPassword(u"wrong"_s);
        return record;
    }
    bool exists(const QString& name) const { return QFileInfo::exists(m_server.path(name)); }
    QUrl folderURL() const { return QUrl::fromLocalFile(m_folder.path()); }

    static QStringList sortedNames(const QList<ListingEntry>& entries)
    {
        QStringList names;
        for (const ListingEntry& entry : entries) {
            if (entry.name != u"."_s && entry.name != u".."_s) {
                names.append(entry.name);
            }
        }
        names.sort();
        return names;
    }

    static qint64 residentKiB()
    {
        QFile file(u"/proc/self/statm"_s);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll().split(' ').at(1).toLongLong() * ::sysconf(_SC_PAGESIZE) / 1024;
    }
    FTPManager m_manager;
};

TEST_P(RealManagerTest, DataAndFilesAreUploadedIntoTheServersFolder)
{
    QDir(m_server.root()).mkdir(u"sub é"_s);
    const auto sub = server(u"sub é/"_s);

    EXPECT_TRUE(m_manager.uploadData("hello", u"a b é.txt"_s, sub.get()));
    EXPECT_TRUE(m_manager.uploadData("", u"empty"_s, sub.get()));
    const QByteArray large = bytesOfSize(64 * mebibyte);
    EXPECT_TRUE(m_manager.uploadFile(QUrl::fromLocalFile(makeFile(u"large %41.bin"_s, large)), sub.get()));

    EXPECT_TRUE(holds(m_server.path(u"sub é/a b é.txt"_s), "hello"));
    EXPECT_TRUE(holds(m_server.path(u"sub é/empty"_s), ""));
    EXPECT_TRUE(holds(m_server.path(u"sub é/large %41.bin"_s), large));
}

TEST_P(RealManagerTest, FilesAreDownloadedAndAFailedDownloadLeavesNothing)
{
    const QByteArray large = bytesOfSize(64 * mebibyte);
    writeFile(m_server.path(u"large é.bin"_s), large);
    writeFile(m_server.path(u"empty"_s), "");
    const auto root = server();

    EXPECT_TRUE(m_manager.downloadFile(u"large é.bin"_s, folderURL(), root.get()));
    EXPECT_TRUE(m_manager.downloadFile(u"empty"_s, folderURL(), root.get()));
    EXPECT_FALSE(m_manager.downloadFile(u"missing"_s, folderURL(), root.get()));
    EXPECT_FALSE(m_manager.downloadFile(u"empty"_s, folderURL(), server(u"missing"_s).get()));

    EXPECT_TRUE(holds(m_folder.filePath(u"large é.bin"_s), large));
    EXPECT_FALSE(QFileInfo::exists(m_folder.filePath(u"missing"_s)));
    EXPECT_FALSE(QFileInfo::exists(m_folder.filePath(u"empty"_s))); // Removed by the download that failed.
}

TEST_P(RealManagerTest, FoldersAreMadeAndListed)
{
    const auto root = server();
    EXPECT_TRUE(m_manager.createNewFolder(u"new é"_s, root.get()));
    EXPECT_FALSE(m_manager.createNewFolder(u"new é"_s, root.get()));
    writeFile(m_server.path(u"file"_s), "x");

    const auto entries = m_manager.contentsOfServer(root.get());

    ASSERT_TRUE(entries);
    EXPECT_EQ(sortedNames(*entries), (QStringList{ u"file"_s, u"new é"_s }));
    const auto empty = m_manager.contentsOfServer(server(u"new é"_s).get());
    ASSERT_TRUE(empty);
    EXPECT_TRUE(sortedNames(*empty).isEmpty());
    EXPECT_FALSE(m_manager.contentsOfServer(server(u"missing"_s).get()));
}

TEST_P(RealManagerTest, ItemsAreDeletedByTheRuleOfTheDot)
{
    QDir(m_server.root()).mkpath(u"sub/full folder"_s);
    QDir(m_server.root()).mkpath(u"sub/empty folder é"_s);
    writeFile(m_server.path(u"sub/notes é.txt"_s), "x");
    writeFile(m_server.path(u"sub/plain"_s), "x");
    writeFile(m_server.path(u"sub/full folder/x"_s), "x");
    const auto sub = server(u"sub"_s);

    EXPECT_TRUE(m_manager.deleteFileNamed(u"notes é.txt"_s, sub.get()));
    EXPECT_TRUE(m_manager.deleteFile(u"empty folder é"_s, sub.get()));
    EXPECT_FALSE(m_manager.deleteFileNamed(u"full folder"_s, sub.get()));
    EXPECT_FALSE(m_manager.deleteFileNamed(u"plain"_s, sub.get())); // Sent RMD, having no dot.
    EXPECT_FALSE(m_manager.deleteFileNamed(u"missing.txt"_s, sub.get()));

    EXPECT_FALSE(exists(u"sub/notes é.txt"_s));
    EXPECT_FALSE(exists(u"sub/empty folder é"_s));
    EXPECT_TRUE(exists(u"sub/full folder/x"_s));
    EXPECT_TRUE(exists(u"sub/plain"_s));
}

TEST_P(RealManagerTest, AnItemWhoseNameIsNoUTF8IsDeletedByItsBytes)
{
    const QByteArray rawName = "caf\xE9.txt";
    const QByteArray path = QFile::encodeName(m_server.root()) + '/' + rawName;
    std::ofstream(path.toStdString()) << "x";
    const auto root = server();

    const auto entries = m_manager.contentsOfServer(root.get());

    ASSERT_TRUE(entries);
    ASSERT_EQ(entries->size(), 1);
    if (GetParam() == ServerMake::Pyftpdlib) {
        EXPECT_EQ(entries->first().name, u"caf?.txt"_s); // This server does not tell the bytes.
        EXPECT_EQ(::unlink(path.constData()), 0); // Whoever removes the folder would not find it.
        return;
    }
    EXPECT_EQ(entries->first().rawName, rawName);
    EXPECT_TRUE(m_manager.deleteFileNamed(rawName, root.get()));
    EXPECT_TRUE(QDir(m_server.root()).isEmpty());
}

TEST_P(RealManagerTest, PermissionsAreChangedWhereTheServerAllowsIt)
{
    writeFile(m_server.path(u"a b.txt"_s), "x");
    QFile::setPermissions(m_server.path(u"a b.txt"_s), QFile::ReadOwner | QFile::WriteOwner);

    const bool changed = m_manager.chmodFileNamed(u"a b.txt"_s, 640, server().get());

    // The login that vsftpd has here is not allowed to.
    EXPECT_EQ(changed, GetParam() != ServerMake::Vsftpd);
    EXPECT_EQ(bool(QFile::permissions(m_server.path(u"a b.txt"_s)) & QFile::ReadGroup), changed);
    EXPECT_FALSE(m_manager.chmodFileNamed(u"a b.txt"_s, 778, server().get()));
}

TEST_P(RealManagerTest, LoginsAreTestedAndRefusedOnesFail)
{
    EXPECT_TRUE(m_manager.checkLogin(server().get()));
    if (GetParam() != ServerMake::Pyftpdlib) { // It answers the QUIT behind a wrong password first.
        EXPECT_FALSE(m_manager.checkLogin(serverWithWrongPassword().get()));
    }
    EXPECT_FALSE(m_manager.contentsOfServer(serverWithWrongPassword().get()));
    EXPECT_FALSE(m_manager.uploadData("x", u"f"_s, serverWithWrongPassword().get()));
    EXPECT_FALSE(exists(u"f"_s));
}

TEST_P(RealManagerTest, AThousandOperationsLeaveNothingBehind)
{
    const auto root = server();
    const auto round = [this, &root] {
        return m_manager.uploadData("hello", u"f.txt"_s, root.get()) && m_manager.contentsOfServer(root.get())
            && m_manager.downloadFile(u"f.txt"_s, folderURL(), root.get())
            && m_manager.deleteFileNamed(u"f.txt"_s, root.get());
    };
    for (int i = 0; i < (GetParam() == ServerMake::Proftpd ? 2 : 20); ++i) {
        ASSERT_TRUE(round());
    }
    const qint64 memory = residentKiB();
    const int descriptors = openDescriptors();

    // Four operations a round. Proftpd takes no connection for 0.4 s after one has ended, so it has a few rounds only.
    for (int i = 0; i < (GetParam() == ServerMake::Proftpd ? 5 : 250); ++i) {
        ASSERT_TRUE(round());
    }

    EXPECT_LE(residentKiB() - memory, allowedGrowthKiB);
    EXPECT_TRUE(waitForDescriptors([descriptors](int open) { return open <= descriptors; }));
}

INSTANTIATE_TEST_SUITE_P(Servers, RealManagerTest, testing::ValuesIn(usualServerMakes()), nameOfTest);

} // namespace
