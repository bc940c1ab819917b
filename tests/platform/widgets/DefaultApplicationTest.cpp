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

struct Case {
    QString name;
    QByteArray contents;
};

bool isProgram(const Case& item)
{
    const QTemporaryDir directory;
    QFile file(directory.filePath(item.name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(item.contents);
    file.close();
    return DefaultApplication::isProgram(file.fileName());
}

TEST(DefaultApplicationTest, ProgramsScriptsAndLaunchersAreKnownByTheirNames)
{
    for (const QString& name :
         { u"a.desktop"_s, u"a.sh"_s, u"a.py"_s, u"a.pl"_s, u"a.exe"_s, u"a.AppImage"_s, u"a.jar"_s, u"A.DESKTOP"_s }) {
        EXPECT_TRUE(isProgram({ name, "text" })) << name.toStdString();
    }
}

TEST(DefaultApplicationTest, ProgramsScriptsAndLaunchersAreKnownByTheirContents)
{
    for (const QByteArray& contents : { "#!/bin/sh\necho\n"_ba, "[Desktop Entry]\nExec=rm\n"_ba,
                                        "\x7f"
                                        "ELF\2\1\1\0\0\0\0\0\0\0\0\0\2\0\x3e\0"_ba,
                                        "MZ\x90\0"_ba }) {
        EXPECT_TRUE(isProgram({ u"picture.png"_s, contents })) << contents.constData();
        EXPECT_TRUE(isProgram({ u"noname"_s, contents })) << contents.constData();
    }
}

TEST(DefaultApplicationTest, DocumentsAreNoPrograms)
{
    for (const Case& item :
         { Case{ u"a.txt"_s, "text" }, Case{ u"a.png"_s, "\x89PNG\r\n\x1a\n" }, Case{ u"a.pdf"_s, "%PDF-1.4" },
           Case{ u"a.html"_s, "<html>" }, Case{ u"noname"_s, "" }, Case{ u"a.zip"_s, "PK\3\4" } }) {
        EXPECT_FALSE(isProgram(item)) << item.name.toStdString();
    }
}

TEST(DefaultApplicationTest, DocumentsAreOpenedAndProgramsAreNot)
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

    EXPECT_TRUE(DefaultApplication::open(document));
    EXPECT_FALSE(DefaultApplication::open(program));

    EXPECT_EQ(opened.localPaths(), QStringList{ document });
}

TEST(DefaultApplicationTest, WhatIsInAFileCountsAlsoWhereItsNameIsNotUtf8)
{
    const QTemporaryDir directory;
    const OpenedUrls opened(u"file"_s);
    const FileOfBytes document(directory.path(), "caf\xe9.txt", "text");
    const FileOfBytes program(directory.path(), "\xe9.png", "#!/bin/sh\necho\n");

    EXPECT_TRUE(DefaultApplication::open(LocalPath::fromBytes(document.path())));
    EXPECT_FALSE(DefaultApplication::open(LocalPath::fromBytes(program.path())));

    EXPECT_EQ(opened.urls(), QList<QUrl>{ QUrl(u"file://"_s + directory.path() + u"/caf%E9.txt"_s) });
}

} // namespace
