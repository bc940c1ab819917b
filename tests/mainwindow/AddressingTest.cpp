#include "Addressing.h"

#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(AddressingTest, TheAppNameIsTheFileNameAsTheUserSeesIt)
{
    EXPECT_EQ(Addressing::appName(u"/opt/Quillbox.app"_s), u"Quillbox"_s);
    EXPECT_EQ(Addressing::appName(u"/usr/bin/Quillbox"_s), u"Quillbox"_s);
    EXPECT_EQ(Addressing::appName(u"Scans.app"_s), u"Scans"_s);
    EXPECT_EQ(Addressing::appName(u"Reports 1.2"_s), u"Reports 1.2"_s);
    EXPECT_EQ(Addressing::appName(u"Scans.v2.app"_s), u"Scans.v2"_s);
    EXPECT_EQ(Addressing::appName(u"Photos:2024.app"_s), u"Photos/2024"_s);
    EXPECT_EQ(Addressing::appName(u"/opt/.app"_s), u".app"_s);
}

TEST(AddressingTest, OnlyAForeignNameAddsAFolder)
{
    EXPECT_TRUE(Addressing::folderFromAppName(u"Quillbox"_s).isNull());
    EXPECT_TRUE(Addressing::folderFromAppName(u"Quillbox Copy"_s).isNull());
    EXPECT_TRUE(Addressing::folderFromAppName(u"Quillbox 2"_s).isNull());
    EXPECT_EQ(Addressing::folderFromAppName(u"Uploads"_s), u"Uploads"_s);
    EXPECT_EQ(Addressing::folderFromAppName(u"quillbox"_s), u"quillbox"_s);
    EXPECT_EQ(Addressing::folderFromAppName(u"My Quillbox"_s), u"My Quillbox"_s);
    EXPECT_EQ(Addressing::folderFromAppName(u"A/B"_s), u"A/B"_s);
}

TEST(AddressingTest, TheLocationIsAddressFolderAndPath)
{
    struct Row {
        QString address;
        QString folder;
        QString path;
        QString url;
        QString fullPath;
    };
    const QString nothing;
    for (const Row& row : {
             Row{ nothing, u"in"_s, nothing, nothing, nothing },
             Row{ u""_s, u"in"_s, nothing, nothing, nothing },
             Row{ u"192.0.2.7"_s, nothing, nothing, u"ftp://192.0.2.7"_s, u"ftp://192.0.2.7/"_s },
             Row{ u"192.0.2.7"_s, u""_s, nothing, u"ftp://192.0.2.7/"_s, u"ftp://192.0.2.7/"_s },
             Row{ u"192.0.2.7"_s, u"incoming"_s, u"Scans"_s, u"ftp://192.0.2.7/incoming/Scans"_s,
                  u"ftp://192.0.2.7/incoming/Scans/"_s },
             Row{ u"host"_s, nothing, u"Scans"_s, u"ftp://host/Scans"_s, u"ftp://host/Scans/"_s },
             Row{ u"host"_s, u"a/b"_s, nothing, u"ftp://host/a/b"_s, u"ftp://host/a/b/"_s },
             Row{ u"host"_s, u"a b"_s, nothing, u"ftp://host/a%20b"_s, u"ftp://host/a%20b/"_s },
             Row{ u"host"_s, u"é%41#?"_s, nothing, u"ftp://host/%C3%A9%2541%23%3F"_s,
                  u"ftp://host/%C3%A9%2541%23%3F/"_s },
             Row{ u"host"_s, u"/abs"_s, nothing, u"ftp://host/abs"_s, u"ftp://host/abs/"_s },
             Row{ u"host"_s, u"//abs"_s, nothing, u"ftp://host//abs"_s, u"ftp://host//abs/"_s },
             Row{ u"host"_s, nothing, u"file.txt"_s, u"ftp://host/file.txt"_s, u"ftp://host/file.txt/"_s },
             Row{ u"Host.Example"_s, nothing, nothing, u"ftp://Host.Example"_s, u"ftp://Host.Example/"_s },
             Row{ u"host:2121"_s, u"in"_s, nothing, u"ftp://host:2121/in"_s, u"ftp://host:2121/in/"_s },
             Row{ u"[::1]:2121"_s, nothing, nothing, u"ftp://[::1]:2121"_s, u"ftp://[::1]:2121/"_s },
             Row{ u"ftp://host"_s, nothing, nothing, nothing, nothing },
             Row{ u"host/in"_s, nothing, nothing, nothing, nothing },
             Row{ u" host"_s, nothing, nothing, nothing, nothing },
             Row{ u"host"_s, QString(QChar(0xD800)), nothing, nothing, nothing },
         }) {
        SCOPED_TRACE(QStringList({ row.address, row.folder, row.path }).join(u' ').toStdString());
        const QString url = Addressing::fullURL(row.address, row.folder, row.path);
        const QString fullPath = Addressing::fullPath(row.address, row.folder, row.path);

        EXPECT_EQ(url, row.url);
        EXPECT_EQ(url.isNull(), row.url.isNull());
        EXPECT_EQ(fullPath, row.fullPath);
        EXPECT_EQ(fullPath.isNull(), row.fullPath.isNull());
    }
}

} // namespace
