#include "DroppedFiles.h"

#include "FileOfBytes.h"
#include "LocalPath.h"
#include "Printers.h"

#include <QDir>
#include <QFile>
#include <QMimeData>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class DroppedFilesTest : public ::testing::Test {
protected:
    QString make(const QString& name)
    {
        QFile file(m_directory.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        return file.fileName();
    }

    QTemporaryDir m_directory;
    QMimeData m_data;
};

TEST_F(DroppedFilesTest, KeepsPlainFilesInTheirOrder)
{
    const QString second = make(u"b"_s);
    const QString first = make(u"a"_s);
    m_data.setUrls({ QUrl::fromLocalFile(second), QUrl::fromLocalFile(m_directory.path()), QUrl::fromLocalFile(first),
                     QUrl::fromLocalFile(m_directory.filePath(u"missing"_s)), QUrl::fromLocalFile(second) });

    EXPECT_TRUE(namesLocalFiles(m_data));
    EXPECT_EQ(droppedItems(m_data).files, (QStringList{ second, first, second }));
}

TEST_F(DroppedFilesTest, ReadsEscapedNamesFromTheListText)
{
    const QString path = make(u"a b%41#é.txt"_s);
    m_data.setData(u"text/uri-list"_s, QUrl::fromLocalFile(path).toEncoded() + "\r\n");

    EXPECT_EQ(droppedItems(m_data).files, QStringList{ path });
}

TEST_F(DroppedFilesTest, TheListMayEndWithAZeroByteOrWithoutALineEnd)
{
    const QString path = make(u"a"_s);
    const QByteArray uri = QUrl::fromLocalFile(path).toEncoded();
    for (const QByteArray& list : { uri, uri + '\0', uri + "\r\n" + '\0', "\n" + uri + "\n\n" }) {
        m_data.setData(u"text/uri-list"_s, list);
        EXPECT_EQ(droppedItems(m_data).files, QStringList{ path });
        EXPECT_TRUE(droppedItems(m_data).others.isEmpty());
    }
}

TEST_F(DroppedFilesTest, CommentsInTheListAreNoItems)
{
    const QString path = make(u"a"_s);
    m_data.setData(u"text/uri-list"_s, "# urn:isbn:0-201-08372-8\r\n" + QUrl::fromLocalFile(path).toEncoded() + "\r\n");

    EXPECT_EQ(droppedItems(m_data).files, QStringList{ path });
    EXPECT_TRUE(droppedItems(m_data).others.isEmpty());
}

TEST_F(DroppedFilesTest, FindsFilesWhoseNamesAreNotUtf8)
{
    const FileOfBytes file(m_directory.path(), "caf\xe9.txt");
    m_data.setData(u"text/uri-list"_s, "file://" + m_directory.path().toUtf8() + "/caf%E9.txt\r\n");

    EXPECT_EQ(droppedItems(m_data).files, QStringList{ LocalPath::fromBytes(file.path()) });
}

TEST_F(DroppedFilesTest, TheMachineMayBeNamed)
{
    const QString path = make(u"a"_s);
    m_data.setData(u"text/uri-list"_s, "file://localhost" + path.toUtf8() + "\r\nfile://elsewhere.example/b\r\n");

    EXPECT_TRUE(namesLocalFiles(m_data));
    EXPECT_EQ(droppedItems(m_data).files, QStringList{ path });
}

TEST_F(DroppedFilesTest, FollowsLinks)
{
    const QString file = make(u"a"_s);
    const QString toFile = m_directory.filePath(u"to-file"_s);
    const QString toFolder = m_directory.filePath(u"to-folder"_s);
    const QString toNothing = m_directory.filePath(u"to-nothing"_s);
    QFile::link(file, toFile);
    QFile::link(m_directory.path(), toFolder);
    QFile::link(m_directory.filePath(u"missing"_s), toNothing);
    m_data.setUrls({ QUrl::fromLocalFile(toFile), QUrl::fromLocalFile(toFolder), QUrl::fromLocalFile(toNothing) });

    EXPECT_EQ(droppedItems(m_data).files, QStringList{ toFile });
}

TEST_F(DroppedFilesTest, OtherDataNamesNoFiles)
{
    EXPECT_FALSE(namesLocalFiles(m_data));
    m_data.setText(u"some text"_s);
    EXPECT_FALSE(namesLocalFiles(m_data));
    m_data.setUrls({ QUrl(u"http://host/a"_s) });
    EXPECT_FALSE(namesLocalFiles(m_data));
    EXPECT_TRUE(droppedItems(m_data).files.isEmpty());
}

TEST_F(DroppedFilesTest, EachItemIsAFileOrAnotherOne)
{
    const QString file = make(u"a"_s);
    const QString missing = m_directory.filePath(u"missing"_s);
    m_data.setUrls({ QUrl::fromLocalFile(missing), QUrl::fromLocalFile(file), QUrl::fromLocalFile(m_directory.path()),
                     QUrl::fromLocalFile(file), QUrl(u"http://host/a"_s) });

    const auto [files, others] = droppedItems(m_data);

    EXPECT_EQ(files, (QStringList{ file, file }));
    EXPECT_EQ(others, (QStringList{ missing, m_directory.path(), u"http://host/a"_s }));
}

} // namespace
