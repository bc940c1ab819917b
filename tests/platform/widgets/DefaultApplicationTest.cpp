#include "DefaultApplication.h"

#include "FileOfBytes.h"
#include "LocalPath.h"
#include "OpenedUrls.h"
#include "Printers.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

using Result = DefaultApplication::Result;

struct Case {
    QString name;
    QByteArray contents;
};

bool carriesCode(const Case& item)
{
    const QTemporaryDir directory;
    QFile file(directory.filePath(item.name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(item.contents);
    file.close();
    return DefaultApplication::carriesCode(file.fileName());
}

TEST(DefaultApplicationTest, WhatDescendsFromAListedTypeCarriesCode)
{
    for (const QString& name : { u"a.gradle"_s, u"a.sage"_s, u"a.mab"_s, u"a.theme"_s, u"a.src.rpm"_s, u"a.so.1"_s }) {
        EXPECT_TRUE(carriesCode({ name, "text" })) << name.toStdString();
    }
}

TEST(DefaultApplicationTest, CodeIsKnownByItsContents)
{
    for (const QByteArray& contents :
         { "#!/bin/sh\necho\n"_ba, "#!/usr/bin/python3\n"_ba, "<?php echo 1;"_ba, "[Desktop Entry]\nExec=rm\n"_ba,
           "[InternetShortcut]\nURL=x\n"_ba, "Windows Registry Editor Version 5.00\r\n"_ba, "\xed\xab\xee\xdb\3\0"_ba,
           "!<arch>\ndebian-binary   "_ba,
           "\x7f"
           "ELF\2\1\1\0\0\0\0\0\0\0\0\0\2\0\x3e\0"_ba,
           "MZ\x90\0"_ba }) {
        EXPECT_TRUE(carriesCode({ u"picture.png"_s, contents })) << contents.constData();
        EXPECT_TRUE(carriesCode({ u"noname"_s, contents })) << contents.constData();
    }
}

TEST(DefaultApplicationTest, ScriptsOfEveryInterpreterAreKnownByTheirFirstLine)
{
    EXPECT_TRUE(carriesCode({ u"noname"_s, "#!/opt/own/interpreter\n" }));
    EXPECT_TRUE(carriesCode({ u"a.txt"_s, "#! /usr/bin/env nobodyknows\n" }));
    EXPECT_FALSE(carriesCode({ u"speech"_s, "#!AMR\n" }));
    EXPECT_FALSE(carriesCode({ u"news"_s, "#! rnews 12\n" }));
}

TEST(DefaultApplicationTest, DocumentsPicturesSoundFilmTextArchivesAndUnknownKindsCarryNone)
{
    for (const Case& item : { Case{ u"a.txt"_s, "text" },
                              Case{ u"a.png"_s, "\x89PNG\r\n\x1a\n" },
                              Case{ u"a.pdf"_s, "%PDF-1.4" },
                              Case{ u"a.html"_s, "<html>" },
                              Case{ u"noname"_s, "" },
                              Case{ u"a.zip"_s, "PK\3\4" },
                              Case{ u"a.docx"_s, "PK\3\4" },
                              Case{ u"a.xlsx"_s, "PK\3\4" },
                              Case{ u"a.odt"_s, "PK\3\4" },
                              Case{ u"a.json"_s, "{}" },
                              Case{ u"a.geojson"_s, "{}" },
                              Case{ u"a.tex"_s, "% A text\n" },
                              Case{ u"a.md"_s, "# Title\n" },
                              Case{ u"a.csv"_s, "a,b\n" },
                              Case{ u"a.xml"_s, "<?xml version=\"1.0\"?>" },
                              Case{ u"a.svg"_s, "<svg>" },
                              Case{ u"a.mp3"_s, "ID3\3" },
                              Case{ u"a.mod"_s, "song" },
                              Case{ u"a.mp4"_s,
                                    "\0\0\0\x18"
                                    "ftypmp42" },
                              Case{ u"a.tar.gz"_s, "\x1f\x8b\x08" },
                              Case{ u"a.iso"_s, "disk" },
                              Case{ u"a.ps"_s, "%!PS" },
                              Case{ u"a.eml"_s, "From: me\n" },
                              Case{ u"a.ics"_s, "BEGIN:VCALENDAR\n" },
                              Case{ u"a.log"_s, "log\n" },
                              Case{ u"bash"_s, "text" },
                              Case{ u"a.unknown"_s, "\1\2\3" } }) {
        EXPECT_FALSE(carriesCode(item)) << item.name.toStdString();
    }
}

TEST(DefaultApplicationTest, DocumentsAreOpenedAndOfCodeTheFolderIsShown)
{
    const QTemporaryDir directory;
    const OpenedUrls opened(u"file"_s);
    const QString document = directory.filePath(u"a.txt"_s);
    const QString program = directory.filePath(u"a.sh"_s);
    for (const QString& path : { document, program }) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("text");
    }

    EXPECT_EQ(DefaultApplication::open(document), Result::Opened);
    EXPECT_EQ(DefaultApplication::open(program), Result::FolderShown);

    EXPECT_EQ(opened.localPaths(), (QStringList{ document, directory.path() + u'/' }));
}

TEST(DefaultApplicationTest, WhatIsInAFileCountsAlsoWhereItsNameIsNotUtf8)
{
    const QTemporaryDir directory;
    const OpenedUrls opened(u"file"_s);
    const FileOfBytes document(directory.path(), "caf\xe9.txt", "text");
    const FileOfBytes program(directory.path(), "\xe9.png", "#!/bin/sh\necho\n");

    EXPECT_EQ(DefaultApplication::open(LocalPath::fromBytes(document.path())), Result::Opened);
    EXPECT_EQ(DefaultApplication::open(LocalPath::fromBytes(program.path())), Result::FolderShown);

    const QString folder = u"file://"_s + directory.path() + u'/';
    EXPECT_EQ(opened.urls(), (QList<QUrl>{ QUrl(folder + u"caf%E9.txt"_s), QUrl(folder) }));
}

} // namespace
