#include "FTPManagerStrings.h"

#include "LogRecorder.h"
#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const QString portWarning = u"FTPManager warning: there is possibly a port included in your destination url. "
                            "Define the port in FMServer.port instead."_s;

TEST(FTPManagerStringsTest, RemovesAnyScheme)
{
    EXPECT_EQ(stringWithoutProtocol(u"ftp://host/dir"_s), u"host/dir"_s);
    EXPECT_EQ(stringWithoutProtocol(u"sftp://host"_s), u"host"_s);
    EXPECT_EQ(stringWithoutProtocol(u"host/dir"_s), u"host/dir"_s);
    EXPECT_EQ(stringWithoutProtocol(u"a/ftp://host"_s), u"host"_s);
    EXPECT_EQ(stringWithoutProtocol(u"ftp://a://b"_s), u"a://b"_s);
}

TEST(FTPManagerStringsTest, WarnsOfAPortBeforeTheFirstSlashAndLeavesIt)
{
    for (const QString& destination : { u"ftp://host:2121/dir"_s, u"host:2121"_s, u":"_s }) {
        const LogRecorder log;

        const QString rest = stringWithoutProtocol(destination);

        EXPECT_EQ(log.lines(), QStringList{ portWarning });
        EXPECT_TRUE(destination.endsWith(rest));
        EXPECT_TRUE(rest.contains(u':'));
    }
}

TEST(FTPManagerStringsTest, WarnsOfNoColonInTheFolder)
{
    const LogRecorder log;

    EXPECT_EQ(stringWithoutProtocol(u"host/dir:1"_s), u"host/dir:1"_s);
    EXPECT_EQ(stringWithoutProtocol(u"ftp://host/:"_s), u"host/:"_s);
    EXPECT_EQ(stringWithoutProtocol(u"host"_s), u"host"_s);

    EXPECT_EQ(log.lines(), QStringList());
}

TEST(FTPManagerStringsTest, TheHostEndsAtTheFirstSlash)
{
    EXPECT_EQ(fmhost(u"host"_s), u"host"_s);
    EXPECT_EQ(fmhost(u"host/a/b"_s), u"host"_s);
    EXPECT_EQ(fmhost(u"ftp://host/"_s), u"host"_s);
    EXPECT_EQ(fmhost(u"ftp://Host.Example:2121/dir"_s), u"Host.Example:2121"_s);
}

TEST(FTPManagerStringsTest, TheFolderIsWhatFollowsTheFirstSlash)
{
    EXPECT_TRUE(fmdir(u"host"_s).isNull());
    EXPECT_EQ(fmdir(u"host/"_s), u""_s);
    EXPECT_FALSE(fmdir(u"host/"_s).isNull());
    EXPECT_EQ(fmdir(u"ftp://host/a/b/"_s), u"a/b/"_s);
    EXPECT_EQ(fmdir(u"host//a"_s), u"/a"_s);
}

TEST(FTPManagerStringsTest, MakesLocations)
{
    struct Row {
        QString destination;
        qint32 port;
        QString location;
    };
    for (const Row& row : {
             Row{ u"host"_s, 21, u"ftp://host"_s },
             Row{ u"host/"_s, 21, u"ftp://host"_s },
             Row{ u"ftp://host/a/b/"_s, 21, u"ftp://host/a/b/"_s },
             Row{ u"host/my dir"_s, 21, u"ftp://host/my%20dir"_s },
             Row{ u"host/50%/#1/é"_s, 21, u"ftp://host/50%25/%231/%C3%A9"_s },
             Row{ u"host/a?b;c"_s, 21, u"ftp://host/a%3Fb;c"_s },
             Row{ u"host//abs"_s, 21, u"ftp://host//abs"_s },
             Row{ u"example-host"_s, 2121, u"ftp://example-host:2121"_s },
             Row{ u"sftp://Host/dir"_s, 2121, u"ftp://Host:2121/dir"_s },
             Row{ u"ftp://host:2121/dir"_s, 21, u"ftp://host:2121/dir"_s },
             Row{ u"ftp://host:2121/dir"_s, 2121, u"ftp://host:2121:2121/dir"_s },
         }) {
        const LogRecorder log;
        EXPECT_EQ(ftpURLForPort(row.destination, row.port), row.location);
    }
}

TEST(FTPManagerStringsTest, MakesNoLocationOfWhatIsNoURL)
{
    EXPECT_TRUE(ftpURLForPort(u"my host/dir"_s, 21).isNull());
    EXPECT_TRUE(ftpURLForPort(u"höst"_s, 21).isNull());
    EXPECT_TRUE(ftpURLForPort(u"host?q/dir"_s, 2121).isNull());
    EXPECT_TRUE(ftpURLForPort(u"host#f"_s, 21).isNull());
    EXPECT_TRUE(ftpURLForPort(u"host/"_s + QChar(0xD800), 21).isNull());
}

} // namespace
