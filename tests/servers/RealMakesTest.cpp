// What every make of server must do with us, unencrypted and, where it can, encrypted: the others in this folder look
// more closely at three of them.

#include "FTPManager.h"
#include "RealServerStreams.h"

#include <QDir>
#include <QFile>
#include <QSet>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

struct Make {
    ServerMake make;
    FTPEncryption encryption = FTPEncryption::None;
};

void PrintTo(const Make& make, std::ostream* out) // NOLINT(readability-identifier-naming): GoogleTest's name
{
    *out << nameOf(make.make).toStdString() << (make.encryption == FTPEncryption::Required ? ", encrypted" : "");
}

class RealMakesTest : public testing::TestWithParam<Make>, protected RealServerStreams {
protected:
    RealMakesTest()
        : RealServerStreams(GetParam().make, GetParam().encryption)
    {
    }

    struct Item {
        QString name;
        qsizetype size;
    };
    /// Names that have gone wrong somewhere: in locations, in command lines, in listings.
    static QList<Item> awkwardItems()
    {
        return { { u"two blanks  in it.txt"_s, 1 },
                 { u"double \" and single ' quotes"_s, 2 },
                 { u"\"quoted\""_s, 100 },
                 { u"%41"_s, 32'767 },
                 { u"50% off #1"_s, 32'768 },
                 { u"file;type=a"_s, 32'769 },
                 { u"why?.txt"_s, 0 },
                 { u"-rf"_s, 65'536 },
                 { u"a*b[c]{d}\\e"_s, 1000 },
                 { u"~home"_s, 1000 },
                 { u".hidden"_s, 1000 },
                 { u"trailing dot."_s, 1000 },
                 { u"a:b|c<d>e&f"_s, 1000 },
                 { u"Gr\u00F6\u00DFe \u00E9t\u00E9.txt"_s, 1000 },
                 { u"e\u0301 decomposed"_s, 1000 },
                 { u"\u4E2D\u6587\u6587\u4EF6"_s, 1000 },
                 { u"\U0001F600.txt"_s, 1000 },
                 { QString(200, u'n'), 1000 },
                 { u"large"_s, 8'000'000 } };
    }

    /// They differ by name.
    static QByteArray bytesOf(const Item& item)
    {
        return bytesOfSize(item.size, static_cast<quint32>(qHash(item.name, 1)) | 1U);
    }
    /// Whether the server's rules forbid @p name.
    static bool isRefused(const QString& name)
    {
        return GetParam().make == ServerMake::PureFtpd && name.contains(u'\\');
    }
    /// What the server calls a file that was sent as @p name.
    static QString nameOnDisk(const QString& name)
    {
        // It takes the bytes of a name for characters.
        return GetParam().make == ServerMake::Twisted ? QString::fromLatin1(name.toUtf8()) : name;
    }
    /// What the library is to know of the folder @p folder, to be careful there.
    std::shared_ptr<FMServer> record(const QString& folder = {}) const
    {
        auto record = FMServer::serverWithDestination(u"127.0.0.1/"_s + folder, m_server->userName(), m_password);
        record->setPort(m_server->port());
        record->setEncryption(m_encryption);
        record->setTrustedFingerprints(m_trusted);
        record->setCareful(true);
        return record;
    }
    QSet<QString> namesOnDisk() const
    {
        const QStringList names
            = QDir(m_server->root()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
        return QSet<QString>(names.begin(), names.end());
    }
};

TEST_P(RealMakesTest, WhatIsSaidToHaveArrivedIsOnTheServersDisk)
{
    QSet<QString> expected;
    for (const Item& item : awkwardItems()) {
        SCOPED_TRACE(item.name.toStdString());
        const QByteArray bytes = bytesOf(item);
        if (isRefused(item.name)) {
            EXPECT_EQ(upload(item.name, bytes), u"FTP 553"_s);
            continue;
        }
        expected.insert(nameOnDisk(item.name));

        EXPECT_EQ(upload(item.name, bytes), u"end"_s);
        EXPECT_TRUE(serverHolds(nameOnDisk(item.name), bytes));
        EXPECT_EQ(download(item.name), u"end"_s);
        EXPECT_TRUE(m_recorder.data == bytes);
    }
    EXPECT_EQ(namesOnDisk(), expected);
}

TEST_P(RealMakesTest, TheListingHasTheNamesAndSizes)
{
    for (const Item& item : awkwardItems()) {
        QFile file(m_server->path(item.name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytesOf(item));
    }

    EXPECT_EQ(list(u""_s), u"end"_s);

    QStringList missing;
    for (const Item& item : awkwardItems()) {
        const bool isHidden = item.name.startsWith(u'.'); // Some servers list such files, some do not.
        if (!isHidden && !m_recorder.data.contains(item.name.toUtf8())) {
            missing.append(item.name);
        }
    }
    EXPECT_EQ(missing, QStringList());
    EXPECT_TRUE(m_recorder.data.contains("8000000"));
}

TEST_P(RealMakesTest, AFolderIsCreatedAndTakesFiles)
{
    EXPECT_EQ(createFolder(u"new folder"_s), u"created"_s);
    EXPECT_TRUE(QFileInfo(m_server->path(u"new folder"_s)).isDir());

    EXPECT_EQ(upload(u"new folder/file"_s, "bytes"), u"end"_s);

    EXPECT_TRUE(serverHolds(u"new folder/file"_s, "bytes"));
    EXPECT_TRUE(list(u"new folder/"_s) == u"end"_s && m_recorder.data.contains("file"));
    EXPECT_NE(createFolder(u"new folder"_s), u"created"_s);
    EXPECT_NE(upload(u"no such folder/file"_s, "bytes"), u"end"_s);
}

TEST_P(RealMakesTest, WhatIsEmptyIsReadLikeAllElse)
{
    ASSERT_TRUE(QDir(m_server->root()).mkdir(u"empty"_s));
    EXPECT_EQ(upload(u"full.txt"_s, "bytes"), u"end"_s);
    EXPECT_EQ(upload(u"empty.txt"_s, ""), u"end"_s);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(download(u"full.txt"_s), u"end"_s);
        EXPECT_EQ(download(u"empty.txt"_s), u"end"_s);
        EXPECT_EQ(m_recorder.data, "");
        EXPECT_EQ(list(u""_s), u"end"_s);
        EXPECT_EQ(list(u"empty/"_s), u"end"_s);
        EXPECT_FALSE(m_recorder.data.contains("txt"));
    }
}

TEST_P(RealMakesTest, AWrongPasswordIsRefusedInWordsForIt)
{
    m_password = u"wrong"_s;

    EXPECT_EQ(upload(u"file"_s, "bytes"), u"FTP 530"_s);

    const QString reply = m_recorder.lastReply();
    EXPECT_TRUE(reply.contains(u"incorrect"_s) || reply.contains(u"fail"_s, Qt::CaseInsensitive))
        << reply.toStdString();
}

TEST_P(RealMakesTest, ACarefulLoginTestTellsAWrongPassword)
{
    EXPECT_TRUE(FTPManager().checkLogin(record().get()));

    m_password = u"wrong"_s;
    FTPManager manager;
    EXPECT_FALSE(manager.checkLogin(record().get()));

    EXPECT_EQ(manager.lastFailure().kind, FMFailure::Kind::LoginRefused);
    EXPECT_EQ(manager.lastFailure().code, 530);
}

TEST_P(RealMakesTest, ACarefulDeletionDeletesNothingInAnotherFolderThanItsOwn)
{
    EXPECT_EQ(createFolder(u"in"_s), u"created"_s); // By the server's account, so that it may delete from it.
    EXPECT_EQ(upload(u"file.txt"_s, "bytes"), u"end"_s);
    EXPECT_EQ(upload(u"in/file.txt"_s, "bytes"), u"end"_s);
    FTPManager manager;

    EXPECT_FALSE(manager.deleteFileNamed(u"file.txt"_s, record(u"missing"_s).get()));
    EXPECT_FALSE(manager.isUndecided());
    EXPECT_EQ(manager.lastFailure().kind, FMFailure::Kind::FolderRefused);
    EXPECT_TRUE(QFile::exists(m_server->path(u"file.txt"_s)));

    EXPECT_TRUE(manager.deleteFileNamed(u"file.txt"_s, record(u"in"_s).get()));
    EXPECT_FALSE(QFile::exists(m_server->path(u"in/file.txt"_s)));
    EXPECT_TRUE(QFile::exists(m_server->path(u"file.txt"_s)));
}

std::string nameOfTest(const testing::TestParamInfo<Make>& tested)
{
    return nameOf(tested.param.make).remove(u'-').toStdString()
        + (tested.param.encryption == FTPEncryption::Required ? "Encrypted" : "");
}

INSTANTIATE_TEST_SUITE_P(
    Servers, RealMakesTest,
    testing::Values(Make{ ServerMake::Vsftpd }, Make{ ServerMake::Vsftpd, FTPEncryption::Required },
                    Make{ ServerMake::Proftpd }, Make{ ServerMake::Proftpd, FTPEncryption::Required },
                    Make{ ServerMake::Pyftpdlib }, Make{ ServerMake::Pyftpdlib, FTPEncryption::Required },
                    Make{ ServerMake::PureFtpd }, Make{ ServerMake::Inetutils }, Make{ ServerMake::Netkit },
                    Make{ ServerMake::Twisted }),
    nameOfTest);

} // namespace
