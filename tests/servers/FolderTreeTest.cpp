// A dropped folder and what a real server has of it afterwards, on its own disk.

#include "EngineStreams.h"
#include "Printers.h"
#include "RealServer.h"
#include "WaitFor.h"
#include "WindowFixture.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QMap>
#include <QSet>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

struct OneRealServer {
    RealServer m_server;
};

class FolderTreeTest : public testing::TestWithParam<ServerMake>,
                       protected OneRealServer,
                       protected EngineStreams,
                       protected WindowFixture {
protected:
    FolderTreeTest()
        : OneRealServer{ RealServer(GetParam()) }
        , WindowFixture(m_streams, m_connections,
                        { { u"Address"_s, u"127.0.0.1:%1"_s.arg(m_server.port()) },
                          { u"Username"_s, m_server.userName() },
                          { u"Password"_s, m_server.password() },
                          { u"FTPFolder"_s, u"in"_s },
                          { u"DroppedFolders"_s, u"uploaded"_s } })
    {
        EXPECT_TRUE(QDir().mkpath(m_server.path(u"in"_s)));
        m_controller->window().show();
    }

    /// Names that have gone wrong somewhere, of files and folders alike.
    static QStringList awkwardNames()
    {
        return { u"two blanks  in it"_s,
                 u"double \" and single ' quotes"_s,
                 u"%41"_s,
                 u"50% off #1"_s,
                 u"name;type=a"_s,
                 u"why?"_s,
                 u"-rf"_s,
                 u"b[c]{d}\\e"_s,
                 u"~home"_s,
                 u".hidden"_s,
                 u"trailing dot."_s,
                 u"a:b|c<d>e&f"_s,
                 u"Gr\u00F6\u00DFe"_s,
                 u"e\u0301 decomposed"_s,
                 u"\u4E2D\u6587"_s,
                 u"\U0001F600"_s,
                 QString(200, u'n') };
    }
    static void write(const QString& path, const QByteArray& bytes)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
        ASSERT_EQ(file.write(bytes), bytes.size());
    }
    /// What is below @p folder: the bytes of files, and a null text for folders.
    static QMap<QString, QByteArray> below(const QString& folder)
    {
        QMap<QString, QByteArray> tree;
        const QDir base(folder);
        for (QDirIterator each(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                               QDirIterator::Subdirectories);
             each.hasNext();) {
            const QString path = each.next();
            QFile file(path);
            const bool isFile = each.fileInfo().isFile() && file.open(QIODevice::ReadOnly);
            tree.insert(base.relativeFilePath(path), isFile ? file.readAll() : QByteArray());
        }
        return tree;
    }
};
INSTANTIATE_TEST_SUITE_P(Servers, FolderTreeTest, testing::ValuesIn(usualServerMakes()),
                         [](const auto& each) { return nameOf(each.param).toStdString(); });

TEST_P(FolderTreeTest, TheServerHasTheWholeTreeAndMadeNothingElse)
{
    constexpr int filesInFolder = 2;
    const QString top = m_directory.filePath(u"Photos"_s);
    QStringList folders{ top };
    for (const QString& name : awkwardNames()) {
        folders.append({ top + u'/' + name, top + u"/deep/er/"_s + name });
    }
    for (const QString& folder : folders) {
        ASSERT_TRUE(QDir().mkpath(folder + u"/empty"_s));
        for (int i = 0; i < filesInFolder; ++i) {
            write(folder + u"/file "_s + QString::number(i), folder.toUtf8() + QByteArray::number(i));
        }
    }
    for (const QString& name : awkwardNames()) {
        write(top + u"/deep/"_s + name, name.toUtf8());
    }

    m_controller->uploadFiles({ top });
    ASSERT_TRUE(waitFor([this] { return !m_controller->history().isQueueUnderWay(); }, std::chrono::minutes(1)));

    const QMap<QString, QByteArray> sent = below(m_directory.path());
    const QMap<QString, QByteArray> arrived = below(m_server.path(u"in"_s));
    const auto keysOf = [](const QMap<QString, QByteArray>& tree) {
        const QStringList keys = tree.keys();
        return QSet<QString>(keys.begin(), keys.end());
    };
    EXPECT_EQ((keysOf(sent) - keysOf(arrived)).values(), QStringList());
    EXPECT_EQ((keysOf(arrived) - keysOf(sent)).values(), QStringList());
    EXPECT_TRUE(arrived == sent);
    EXPECT_EQ(m_controller->history().queueTally().failed, 0);
    EXPECT_TRUE(waitUntilIdle());
}

} // namespace
