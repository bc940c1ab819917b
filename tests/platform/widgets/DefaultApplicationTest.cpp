#include "DefaultApplication.h"

#include "CodeTypes.h"
#include "FileOfBytes.h"
#include "LocalPath.h"
#include "OpenedUrls.h"
#include "Printers.h"

#include <QFile>
#include <QMimeDatabase>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>

using namespace Qt::StringLiterals;

namespace {

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

/// A kind of files, and the endings that its names have.
struct CodeSample {
    QLatin1StringView type;
    QLatin1StringView endings;
};

// One line for each of the list.
constexpr std::array codeSamples{
    CodeSample{ "application/x-executable"_L1, "run elf"_L1 },
    CodeSample{ "application/x-sharedlib"_L1, "dylib"_L1 },
    CodeSample{ "application/x-mach-binary"_L1, "macho"_L1 },
    CodeSample{ "application/x-ms-dos-executable"_L1, "exe com scr pif cpl"_L1 },
    CodeSample{ "application/x-msdownload"_L1, "dll ocx xll"_L1 },
    CodeSample{ "application/vnd.microsoft.portable-executable"_L1, "efi"_L1 },
    CodeSample{ "application/x-java"_L1, "class"_L1 },
    CodeSample{ "application/x-java-archive"_L1, "jar war ear"_L1 },
    CodeSample{ "application/x-python-bytecode"_L1, "pyc"_L1 },
    CodeSample{ "application/wasm"_L1, "wasm"_L1 },
    CodeSample{ "application/vnd.appimage"_L1, "appimage"_L1 },
    CodeSample{ "application/x-iso9660-appimage"_L1, "iso.appimage"_L1 },
    CodeSample{ "application/vnd.adobe.flash.movie"_L1, "swf"_L1 },
    CodeSample{ "application/x-shellscript"_L1, "sh bash zsh ksh fish command"_L1 },
    CodeSample{ "application/x-csh"_L1, "csh tcsh"_L1 },
    CodeSample{ "text/x-python"_L1, "py pyw pyz"_L1 },
    CodeSample{ "application/x-perl"_L1, "pl"_L1 },
    CodeSample{ "application/x-ruby"_L1, "rb"_L1 },
    CodeSample{ "text/x-lua"_L1, "lua"_L1 },
    CodeSample{ "application/x-awk"_L1, "awk"_L1 },
    CodeSample{ "text/tcl"_L1, "tcl"_L1 },
    CodeSample{ "application/x-php"_L1, "php phtml phar"_L1 },
    CodeSample{ "text/javascript"_L1, "js"_L1 },
    CodeSample{ "application/ecmascript"_L1, "es"_L1 },
    CodeSample{ "application/vnd.coffeescript"_L1, "coffee"_L1 },
    CodeSample{ "text/vbscript"_L1, "vbs vbe"_L1 },
    CodeSample{ "application/x-bat"_L1, "bat cmd"_L1 },
    CodeSample{ "application/x-powershell"_L1, "ps1 psm1 psd1 ps1xml"_L1 },
    CodeSample{ "text/x-windows-script"_L1, "wsf wsh wsc sct jse"_L1 },
    CodeSample{ "text/x-applescript"_L1, "applescript scpt"_L1 },
    CodeSample{ "application/x-autohotkey"_L1, "ahk"_L1 },
    CodeSample{ "application/x-autoit"_L1, "au3"_L1 },
    CodeSample{ "text/x-emacs-lisp"_L1, "el elc"_L1 },
    CodeSample{ "text/x-common-lisp"_L1, "lisp"_L1 },
    CodeSample{ "text/x-scheme"_L1, "scm rkt"_L1 },
    CodeSample{ "text/x-groovy"_L1, "groovy"_L1 },
    CodeSample{ "text/x-kotlin-script"_L1, "kts"_L1 },
    CodeSample{ "text/x-scala"_L1, "scala"_L1 },
    CodeSample{ "text/x-elixir"_L1, "exs"_L1 },
    CodeSample{ "text/x-erlang"_L1, "erl"_L1 },
    CodeSample{ "text/x-r"_L1, "r"_L1 },
    CodeSample{ "text/x-julia"_L1, "jl"_L1 },
    CodeSample{ "text/x-qml"_L1, "qml"_L1 },
    CodeSample{ "application/x-gdscript"_L1, "gd"_L1 },
    CodeSample{ "application/x-ipynb+json"_L1, "ipynb"_L1 },
    CodeSample{ "application/sql"_L1, "sql"_L1 },
    CodeSample{ "text/x-makefile"_L1, "mk"_L1 },
    CodeSample{ "application/vnd.debian.binary-package"_L1, "deb ddeb"_L1 },
    CodeSample{ "application/x-rpm"_L1, "rpm"_L1 },
    CodeSample{ "application/x-alpm-package"_L1, "pkg.tar.zst pkg.tar.xz"_L1 },
    CodeSample{ "application/x-ipk"_L1, "ipk opk"_L1 },
    CodeSample{ "application/vnd.flatpak"_L1, "flatpak"_L1 },
    CodeSample{ "application/vnd.flatpak.ref"_L1, "flatpakref"_L1 },
    CodeSample{ "application/vnd.flatpak.repo"_L1, "flatpakrepo"_L1 },
    CodeSample{ "application/vnd.snap"_L1, "snap"_L1 },
    CodeSample{ "text/x-suse-ymp"_L1, "ymp"_L1 },
    CodeSample{ "application/x-msi"_L1, "msi msp mst msu"_L1 },
    CodeSample{ "application/msix"_L1, "msix appx msixbundle appxbundle appinstaller"_L1 },
    CodeSample{ "application/x-apple-diskimage"_L1, "dmg"_L1 },
    CodeSample{ "application/x-xar"_L1, "pkg mpkg"_L1 },
    CodeSample{ "application/vnd.android.package-archive"_L1, "apk aab xapk"_L1 },
    CodeSample{ "application/x-ios-app"_L1, "ipa"_L1 },
    CodeSample{ "application/x-xpinstall"_L1, "xpi"_L1 },
    CodeSample{ "application/x-chrome-extension"_L1, "crx"_L1 },
    CodeSample{ "application/vnd.openofficeorg.extension"_L1, "oxt"_L1 },
    CodeSample{ "application/x-virtualbox-vbox-extpack"_L1, "vbox-extpack"_L1 },
    CodeSample{ "text/x-ms-regedit"_L1, "reg"_L1 },
    CodeSample{ "application/hta"_L1, "hta"_L1 },
    CodeSample{ "application/x-ms-application"_L1, "application appref-ms"_L1 },
    CodeSample{ "application/vnd.ms-htmlhelp"_L1, "chm"_L1 },
    CodeSample{ "application/x-desktop"_L1, "desktop"_L1 },
    CodeSample{ "application/x-java-jnlp-file"_L1, "jnlp"_L1 },
    CodeSample{ "application/x-ms-shortcut"_L1, "lnk"_L1 },
    CodeSample{ "application/x-mswinurl"_L1, "url website"_L1 },
    CodeSample{ "application/x-apple-webloc"_L1, "webloc"_L1 },
    CodeSample{ "application/vnd.ms-word.document.macroEnabled.12"_L1, "docm"_L1 },
    CodeSample{ "application/vnd.ms-word.template.macroEnabled.12"_L1, "dotm"_L1 },
    CodeSample{ "application/vnd.ms-excel.sheet.macroEnabled.12"_L1, "xlsm"_L1 },
    CodeSample{ "application/vnd.ms-excel.template.macroEnabled.12"_L1, "xltm"_L1 },
    CodeSample{ "application/vnd.ms-excel.addin.macroEnabled.12"_L1, "xlam"_L1 },
    CodeSample{ "application/vnd.ms-excel.sheet.binary.macroEnabled.12"_L1, "xlsb"_L1 },
    CodeSample{ "application/vnd.ms-powerpoint.presentation.macroEnabled.12"_L1, "pptm"_L1 },
    CodeSample{ "application/vnd.ms-powerpoint.slideshow.macroEnabled.12"_L1, "ppsm"_L1 },
    CodeSample{ "application/vnd.ms-powerpoint.template.macroEnabled.12"_L1, "potm"_L1 },
    CodeSample{ "application/vnd.ms-powerpoint.addin.macroEnabled.12"_L1, "ppam"_L1 },
    CodeSample{ "application/vnd.ms-powerpoint.slide.macroEnabled.12"_L1, "sldm"_L1 },
    CodeSample{ "application/vnd.ms-visio.drawing.macroEnabled.main+xml"_L1, "vsdm"_L1 },
    CodeSample{ "application/vnd.ms-visio.stencil.macroEnabled.main+xml"_L1, "vssm"_L1 },
    CodeSample{ "application/vnd.ms-visio.template.macroEnabled.main+xml"_L1, "vstm"_L1 },
    CodeSample{ "application/vnd.ms-access"_L1, "mdb mde accdb accde"_L1 },
};

class CodeTypeTest : public testing::TestWithParam<CodeSample> { };

TEST_P(CodeTypeTest, IsNotOpened)
{
    for (const QString& ending : QString(GetParam().endings).split(u' ')) {
        EXPECT_TRUE(carriesCode({ u"a."_s + ending, "text" })) << ending.toStdString();
        EXPECT_TRUE(carriesCode({ u"A.PDF."_s + ending.toUpper(), "" })) << ending.toStdString();
    }
    // Also those that the database of this machine knows.
    for (QString ending : QMimeDatabase().mimeTypeForName(GetParam().type).suffixes()) {
        EXPECT_TRUE(carriesCode({ u"a."_s + ending.replace(u"[0-9]"_s, u"1"_s), "text" })) << ending.toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(List, CodeTypeTest, testing::ValuesIn(codeSamples), [](const auto& line) {
    std::string name = line.param.type.data();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
});

TEST(DefaultApplicationTest, EachLineOfTheListHasItsTest)
{
    QStringList listed;
    for (const CodeType& code : codeTypes()) {
        listed.append(code.type + u": "_s + code.endings);
    }
    QStringList tested;
    for (const CodeSample& sample : codeSamples) {
        tested.append(sample.type + u": "_s + sample.endings);
    }

    EXPECT_EQ(listed, tested);
    EXPECT_EQ(listed.removeDuplicates(), 0);
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
                              Case{ u"a.doc"_s, "\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1" },
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

    EXPECT_TRUE(DefaultApplication::open(document));
    EXPECT_FALSE(DefaultApplication::open(program));
    EXPECT_TRUE(DefaultApplication::showFolder(program));

    EXPECT_EQ(opened.localPaths(), (QStringList{ document, directory.path() + u'/' }));
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
