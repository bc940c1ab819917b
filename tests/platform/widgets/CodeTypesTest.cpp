#include "CodeTypes.h"

#include "DefaultApplication.h"
#include "FileOfBytes.h"
#include "LocalPath.h"
#include "Printers.h"
#include "ZipBytes.h"

#include <QMimeDatabase>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

bool carriesCode(const QByteArray& name, const QByteArray& contents)
{
    const QTemporaryDir directory;
    const FileOfBytes file(directory.path(), name, contents);
    return DefaultApplication::carriesCode(LocalPath::fromBytes(file.path()));
}

/// What gives a file of a kind away.
enum class Told {
    ByAll, ///< Its name or its contents, each alone.
    ByName, ///< Its name alone. Nor does the desktop see in the contents more than a text, an archive or some bytes.
};
using enum Told;

/// One kind of files as it is to be known.
struct Row {
    QByteArray type;
    QByteArray endings; ///< Apart by blanks.
    QByteArray contents; ///< Of a file of the kind, or as it begins.
    Told told = ByAll;
    bool isKnownEverywhere = true; ///< The type is known to every database of types: one that is misspelt never is.
};

void PrintTo(const Row& row, std::ostream* out) // NOLINT(readability-identifier-naming): GoogleTest's name
{
    *out << row.type.constData();
}

const QByteArray oleStorage = "\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1" + QByteArray(600, 0);

/// In the order of the list.
const std::vector<Row> rows{
    { "application/x-executable", "elf",
      "\x7f"
      "ELF\2\1\1\0\0\0\0\0\0\0\0\0\2\0\x3e\0"_ba },
    { "application/x-sharedlib", "dylib",
      "\x7f"
      "ELF\2\1\1\0\0\0\0\0\0\0\0\0\3\0\x3e\0"_ba },
    { "application/x-mach-binary", "macho", "\xcf\xfa\xed\xfe\7\0\0\1"_ba, ByName, false },
    { "application/x-ms-dos-executable", "exe com scr pif cpl nexe", "MZ\x90\0\3"_ba },
    { "application/x-msdownload", "dll ocx xll", "MZ\x90\0\3"_ba, ByAll, false },
    { "application/vnd.microsoft.portable-executable", "efi", "MZ\x90\0\3"_ba, ByAll, false },
    { "application/x-java", "class", "\xca\xfe\xba\xbe\0\0\0\x34"_ba },
    { "application/x-class-file", "dex luac beam", "dex\n035\0"_ba, ByName },
    { "application/x-java-archive", "jar war ear", zipOf({ "META-INF/MANIFEST.MF", "a.class" }), ByName },
    { "application/x-java-pack200", "pack", "\xca\xfe\xd0\x0d"_ba },
    { "application/x-python-bytecode", "pyc", "\x99N\r\n"_ba },
    { "application/wasm", "wasm", "\0asm\1\0\0\0"_ba, ByName, false },
    { "application/vnd.appimage", "appimage",
      "\x7f"
      "ELF\2\1\1\0AI\2\0\0\0\0\0\2\0\x3e\0"_ba },
    { "application/x-iso9660-appimage", "iso.appimage",
      "\x7f"
      "ELF\2\1\1\0AI\1\0\0\0\0\0\2\0\x3e\0"_ba },
    { "application/vnd.adobe.flash.movie", "swf", "FWS\x06"_ba },
    { "application/x-shellscript", "sh bash zsh ksh fish nu command cgi run ebuild", "#!/bin/sh\n"_ba },
    { "application/x-csh", "csh tcsh", "#!/bin/csh\n"_ba },
    { "text/x-python", "py pyw pyz pyzw pyd pex rpy rpyc whl egg fcmacro", "#!/usr/bin/python3\n"_ba },
    { "application/x-perl", "pl plx", "#!/usr/bin/perl\n"_ba },
    { "application/x-ruby", "rb rbw gem", "#!/usr/bin/ruby\n"_ba },
    { "text/x-lua", "lua", "#!/usr/bin/lua\n"_ba },
    { "application/x-awk", "awk", "#!/usr/bin/awk -f\n"_ba },
    { "text/tcl", "tcl tk itcl wish", "#!/usr/bin/tclsh\n"_ba },
    { "application/x-php", "php php7 phtml phar", "<?php echo 1;"_ba },
    { "text/javascript", "js cjs jsx tsx", "#!/usr/bin/env node\n"_ba },
    { "application/ecmascript", "es", "#!/usr/bin/env deno\n"_ba },
    { "application/vnd.coffeescript", "coffee", "#!/usr/bin/env coffee\n"_ba },
    { "text/vbscript", "vbs vbe vb bas vbscript", "MsgBox 1"_ba, ByName },
    { "application/x-bat", "bat cmd", "@echo off\r\n"_ba, ByName, false },
    { "application/x-powershell", "ps1 psm1 psd1 ps1xml psc1 cdxml", "Write-Host 1"_ba, ByName, false },
    { "text/x-windows-script", "wsf wsh wsc ws sct jse", "<job><script language=\"VBScript\">"_ba, ByName, false },
    { "text/x-applescript", "applescript scpt scptd", "FasdUAS 1.101.10"_ba, ByName, false },
    { "application/x-autohotkey", "ahk", "MsgBox, 1"_ba, ByName, false },
    { "application/x-autoit", "au3 a3x", "MsgBox(0, 1, 2)"_ba, ByName, false },
    { "text/x-emacs-lisp", "el elc", "#!/usr/bin/emacs --script\n"_ba },
    { "text/x-common-lisp", "lisp lsp", "#!/usr/bin/sbcl --script\n"_ba },
    { "text/x-clojure", "clj", "#!/usr/bin/env clojure\n"_ba, ByAll, false },
    { "text/x-scheme", "scm rkt", "#!/usr/bin/guile\n"_ba },
    { "text/x-groovy", "groovy bsh", "#!/usr/bin/env groovy\n"_ba },
    { "text/x-kotlin-script", "kts", "#!/usr/bin/env kotlin\n"_ba, ByAll, false },
    { "text/x-scala", "scala", "#!/usr/bin/env scala\n"_ba },
    { "text/x-elixir", "exs", "#!/usr/bin/env elixir\n"_ba },
    { "text/x-erlang", "erl", "#!/usr/bin/env escript\n"_ba },
    { "text/x-r", "r", "#!/usr/bin/Rscript\n"_ba, ByAll, false },
    { "text/x-julia", "jl", "#!/usr/bin/env julia\n"_ba, ByAll, false },
    { "text/x-octave-script", "m", "#!/usr/bin/octave\n"_ba, ByAll, false },
    { "text/x-raku", "raku p6", "#!/usr/bin/env raku\n"_ba, ByAll, false },
    { "text/x-rexx", "rexx rex", "#!/usr/bin/rexx\n"_ba, ByAll, false },
    { "text/x-csharp-script", "csx fsx", "#!/usr/bin/env dotnet-script\n"_ba, ByAll, false },
    { "text/x-nim", "nim nims", "#!/usr/bin/env nim r\n"_ba, ByAll, false },
    { "text/x-crystal", "cr", "#!/usr/bin/env crystal\n"_ba },
    { "text/x-dart", "dart", "#!/usr/bin/env dart\n"_ba },
    { "text/x-prolog", "prolog", "#!/usr/bin/swipl\n"_ba, ByAll, false },
    { "text/x-sed", "sed", "#!/bin/sed -f\n"_ba, ByAll, false },
    { "text/x-expect", "exp", "#!/usr/bin/expect\n"_ba, ByAll, false },
    { "text/x-vim", "vim", "!ls\n"_ba, ByName, false },
    { "application/x-gnuplot", "gp gnuplot", "#!/usr/bin/gnuplot\n"_ba },
    { "application/x-asp", "asp aspx jsp", "<% Response.Write 1 %>"_ba, ByName },
    { "text/x-dcl", "dcl", "$ DIR\n"_ba, ByName },
    { "application/sieve", "siv sieve", "require \"fileinto\";"_ba, ByName },
    { "text/vnd.wap.wmlscript", "wmls", "extern function a() {}"_ba, ByName },
    { "text/vnd.senx.warpscript", "mc2", "1 2 +"_ba, ByName },
    { "text/x-qml", "qml", "import QtQuick 2.0\nItem {}\n"_ba },
    { "application/x-gdscript", "gd", "extends Node\n"_ba, ByName },
    { "application/x-ipynb+json", "ipynb", "{\"cells\": []}"_ba },
    { "application/mathematica", "nb", "(************** Content-type: application/mathematica **************"_ba },
    { "application/sql", "sql", "SELECT 1;"_ba, ByName },
    { "text/x-makefile", "mk", "#!/usr/bin/make -f\n"_ba },
    { "text/x-cmake", "cmake", "execute_process(COMMAND ls)"_ba, ByName },
    { "application/x-m4", "m4", "syscmd(`ls')"_ba, ByName },
    { "text/x-meson", "meson", "run_command('ls')"_ba, ByName },
    { "text/x-nix", "nix", "#!/usr/bin/env nix-shell\n"_ba, ByAll, false },
    { "application/vnd.debian.binary-package", "deb ddeb udeb click", "!<arch>\ndebian-binary   "_ba },
    { "application/x-rpm", "rpm", "\xed\xab\xee\xdb\3\0"_ba },
    { "application/x-alpm-package", "pkg.tar.zst pkg.tar.xz pkg.tar.gz", "\x28\xb5\x2f\xfd"_ba, ByName, false },
    { "application/x-ipk", "ipk opk", "\x1f\x8b\x08"_ba, ByName, false },
    { "application/x-xbps", "xbps", "\x28\xb5\x2f\xfd"_ba, ByName, false },
    { "application/x-eopkg", "eopkg pisi", zipOf({ "metadata.xml", "files.xml" }), ByName, false },
    { "application/x-slp", "slp", "slp package"_ba, ByName },
    { "application/vnd.flatpak", "flatpak", "flatpak\0\1\0\x89\xe5"_ba },
    { "application/vnd.flatpak.ref", "flatpakref", "[Flatpak Ref]\nName=a\n"_ba },
    { "application/vnd.flatpak.repo", "flatpakrepo", "[Flatpak Repo]\nUrl=a\n"_ba },
    { "application/vnd.snap", "snap", "hsqs\1\0\0\0"_ba, ByName },
    { "application/x-shar", "shar", "#!/bin/sh\n"_ba },
    { "text/x-suse-ymp", "ymp", "<metapackage>"_ba, ByName, false },
    { "application/x-msi", "msi msm msp mst msu diagcab", oleStorage },
    { "application/msix", "msix appx msixbundle appxbundle appinstaller vsix nupkg", zipOf({ "AppxManifest.xml" }),
      ByName, false },
    { "application/x-apple-diskimage", "dmg", "x\1\x73\x0d\x62\x62\x60"_ba, ByName },
    { "application/x-xar", "pkg mpkg", "xar!\0\x1c"_ba },
    { "application/vnd.android.package-archive", "apk aab xapk apkm apks",
      zipOf({ "AndroidManifest.xml", "classes.dex" }), ByName },
    { "application/x-ios-app", "ipa", zipOf({ "Payload/a.app/Info.plist" }), ByName, false },
    { "application/vnd.symbian.install", "sis", "\0\0\0\0\0\0\0\0\x19\4\0\x10"_ba },
    { "x-epoc/x-sisx-app", "sisx", "\x7a\x1a\x20\x10"_ba },
    { "text/vnd.sun.j2me.app-descriptor", "jad", "MIDlet-Name: a\n"_ba },
    { "application/x-silverlight-app", "xap", zipOf({ "AppManifest.xaml" }), ByName, false },
    { "application/vnd.adobe.air-application-installer-package+zip", "air", zipOf({ "META-INF/AIR/application.xml" }),
      ByName, false },
    { "application/widget", "wgt", zipOf({ "config.xml" }), ByName, false },
    { "application/x-plasma", "plasmoid kwinscript", zipOf({ "metadata.desktop" }), ByName, false },
    { "application/x-love-game", "love", zipOf({ "main.lua" }), ByName, false },
    { "application/x-windows-themepack", "themepack deskthemepack gadget", "MSCF\0\0\0\0"_ba, ByName },
    { "application/x-xpinstall", "xpi", zipOf({ "manifest.json" }), ByName },
    { "application/x-chrome-extension", "crx", "Cr24\3\0\0\0"_ba, ByName, false },
    { "application/vnd.openofficeorg.extension", "oxt", zipOf({ "description.xml" }), ByName },
    { "application/x-virtualbox-vbox-extpack", "vbox-extpack", "\x1f\x8b\x08"_ba, ByName, false },
    { "text/x-ms-regedit", "reg rgs", "Windows Registry Editor Version 5.00\r\n"_ba },
    { "application/x-setupscript", "inf ins isp iss nsi", "[Version]\r\nSignature=$CHICAGO$\r\n"_ba, ByName, false },
    { "application/hta", "hta", "<html><hta:application>"_ba, ByName, false },
    { "application/x-ms-application", "application appref-ms vsto xbap", "<?xml version=\"1.0\"?><asmv1:assembly>"_ba,
      ByName, false },
    { "application/vnd.ms-htmlhelp", "chm", "ITSF\3\0\0\0"_ba, ByName },
    { "application/winhlp", "hlp", "\x3f\x5f\3\0"_ba },
    { "application/vnd.mozilla.xul+xml", "xul",
      "<?xml version=\"1.0\"?><window xmlns=\"http://www.mozilla.org/keymaster/gatekeeper/there.is.only.xul\">"_ba,
      ByName },
    { "application/x-desktop", "desktop", "[Desktop Entry]\nExec=rm\n"_ba },
    { "application/x-nautilus-link", "kdelnk", "<nautilus_object nautilus_link=\"a\">"_ba },
    { "text/x-systemd-unit", "service", "[Unit]\n[Service]\nExecStart=rm\n"_ba },
    { "application/x-java-jnlp-file", "jnlp", "<?xml version=\"1.0\"?>\n<jnlp spec=\"1.0+\">"_ba },
    { "application/x-ms-shortcut", "lnk scf shb shs settingcontent-ms msc library-ms search-ms searchconnector-ms wsb",
      "L\0\0\0\1\x14\2\0"_ba, ByName, false },
    { "application/x-mswinurl", "url website", "[InternetShortcut]\nURL=x\n"_ba },
    { "application/x-apple-webloc", "webloc inetloc fileloc ftploc workflow terminal tool", "bplist00\xd1\1\2SURL"_ba,
      ByName, false },
    { "application/x-ole-storage", "pub vsd vss vsw mpp", oleStorage },
    { "application/msword", "doc dot wiz wbk wll otm", oleStorage },
    { "application/vnd.ms-excel", "xls xla xlt xlw xlm xlk iqy oqy dqy rqy", oleStorage },
    { "application/vnd.ms-powerpoint", "ppt pps ppa", oleStorage },
    { "text/spreadsheet", "slk", "ID;PWXL;N;E\n"_ba },
    { "application/vnd.oasis.opendocument.text-flat-xml", "fodt",
      "<?xml version=\"1.0\"?><office:document office:mimetype=\"application/vnd.oasis.opendocument.text\"><office:scripts>"_ba,
      ByName },
    { "application/vnd.oasis.opendocument.spreadsheet-flat-xml", "fods",
      "<?xml version=\"1.0\"?><office:document office:mimetype=\"application/vnd.oasis.opendocument.spreadsheet\"><office:scripts>"_ba,
      ByName },
    { "application/vnd.oasis.opendocument.presentation-flat-xml", "fodp",
      "<?xml version=\"1.0\"?><office:document office:mimetype=\"application/vnd.oasis.opendocument.presentation\"><office:scripts>"_ba,
      ByName },
    { "application/vnd.oasis.opendocument.graphics-flat-xml", "fodg",
      "<?xml version=\"1.0\"?><office:document office:mimetype=\"application/vnd.oasis.opendocument.graphics\"><office:scripts>"_ba,
      ByName },
    { "application/vnd.ms-word.document.macroEnabled.12", "docm",
      zipOf({ "[Content_Types].xml", "word/vbaProject.bin" }) },
    { "application/vnd.ms-word.template.macroEnabled.12", "dotm",
      zipOf({ "[Content_Types].xml", "word/vbaProject.bin" }) },
    { "application/vnd.ms-excel.sheet.macroEnabled.12", "xlsm", zipOf({ "[Content_Types].xml", "xl/vbaProject.bin" }) },
    { "application/vnd.ms-excel.template.macroEnabled.12", "xltm",
      zipOf({ "[Content_Types].xml", "xl/vbaProject.bin" }) },
    { "application/vnd.ms-excel.addin.macroEnabled.12", "xlam", zipOf({ "[Content_Types].xml", "xl/vbaProject.bin" }) },
    { "application/vnd.ms-excel.sheet.binary.macroEnabled.12", "xlsb",
      zipOf({ "[Content_Types].xml", "xl/vbaProject.bin" }) },
    { "application/vnd.ms-powerpoint.presentation.macroEnabled.12", "pptm",
      zipOf({ "[Content_Types].xml", "ppt/vbaProject.bin" }) },
    { "application/vnd.ms-powerpoint.slideshow.macroEnabled.12", "ppsm",
      zipOf({ "[Content_Types].xml", "ppt/vbaProject.bin" }) },
    { "application/vnd.ms-powerpoint.template.macroEnabled.12", "potm",
      zipOf({ "[Content_Types].xml", "ppt/vbaProject.bin" }) },
    { "application/vnd.ms-powerpoint.addin.macroEnabled.12", "ppam",
      zipOf({ "[Content_Types].xml", "ppt/vbaProject.bin" }) },
    { "application/vnd.ms-powerpoint.slide.macroEnabled.12", "sldm",
      zipOf({ "[Content_Types].xml", "ppt/vbaProject.bin" }) },
    { "application/vnd.ms-visio.drawing.macroEnabled.main+xml", "vsdm",
      zipOf({ "[Content_Types].xml", "visio/vbaProject.bin" }) },
    { "application/vnd.ms-visio.stencil.macroEnabled.main+xml", "vssm",
      zipOf({ "[Content_Types].xml", "visio/vbaProject.bin" }) },
    { "application/vnd.ms-visio.template.macroEnabled.main+xml", "vstm",
      zipOf({ "[Content_Types].xml", "visio/vbaProject.bin" }) },
    { "application/vnd.ms-access", "mdb mde mda mdw ade adp accdb accde accda accdr accdt accdu",
      "\0\1\0\0Standard Jet DB\0"_ba },
};

TEST(CodeTypesTest, TheListIsTheseRows)
{
    const auto list = codeTypes();
    ASSERT_EQ(list.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(QString(list[i].type).toLatin1(), rows[i].type);
        EXPECT_EQ(QString(list[i].endings).toLatin1(), rows[i].endings) << rows[i].type.constData();
    }
}

TEST(CodeTypesTest, NoTypeIsListedTwice)
{
    QByteArrayList types;
    for (const Row& row : rows) {
        types.append(row.type);
    }
    std::sort(types.begin(), types.end());
    EXPECT_EQ(std::adjacent_find(types.begin(), types.end()), types.end());
}

class CodeTypeTest : public testing::TestWithParam<Row> { };

TEST_P(CodeTypeTest, IsNotOpenedByItsName)
{
    for (const QByteArray& ending : GetParam().endings.split(' ')) {
        EXPECT_TRUE(carriesCode("a." + ending, "text")) << ending.constData();
        EXPECT_TRUE(carriesCode("A.PDF." + ending.toUpper(), "")) << ending.constData();
        EXPECT_TRUE(carriesCode("a." + ending, GetParam().contents)) << ending.constData();
    }
    // By their type, those that only the database of this machine knows.
    for (QString ending : QMimeDatabase().mimeTypeForName(QString::fromLatin1(GetParam().type)).suffixes()) {
        EXPECT_TRUE(carriesCode("a." + ending.replace(u"[0-9]"_s, u"1"_s).toUtf8(), "text")) << ending.toStdString();
    }
}

TEST_P(CodeTypeTest, IsNotOpenedByItsContentsWhereTheyTell)
{
    EXPECT_EQ(carriesCode("report.docx", GetParam().contents), GetParam().told == ByAll);
}

TEST_P(CodeTypeTest, HasATypeThatIsKnownWhereverItIsSaidToBe)
{
    EXPECT_TRUE(QMimeDatabase().mimeTypeForName(QString::fromLatin1(GetParam().type)).isValid()
                || !GetParam().isKnownEverywhere);
}

INSTANTIATE_TEST_SUITE_P(List, CodeTypeTest, testing::ValuesIn(rows), [](const auto& row) {
    std::string name = row.param.type.toStdString();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
});

TEST(CodeTypesTest, DocumentsThatHoldMacrosAreNotOpenedWhateverTheirNameSays)
{
    for (const QByteArray& part : { "word/vbaProject.bin"_ba, "vbaProject.bin"_ba, "xl/macrosheets/sheet1.xml"_ba,
                                    "Basic/Standard/Module1.xml"_ba, "Scripts/python/a.py"_ba }) {
        const QByteArray contents = zipOf({ "mimetype", part, "content.xml" });
        for (const QByteArray& name : { "a.docx"_ba, "a.odt"_ba, "a.ods"_ba, "a.sxw"_ba, "a.rtf"_ba }) {
            EXPECT_TRUE(carriesCode(name, contents)) << name.constData() << ' ' << part.constData();
        }
        // These are archives, whatever they hold.
        EXPECT_FALSE(carriesCode("a.zip", contents)) << part.constData();
        EXPECT_FALSE(carriesCode("noname", contents)) << part.constData();
    }
    EXPECT_EQ(macroParts().size(), 4U);
}

TEST(CodeTypesTest, DocumentsWithoutMacrosAreOpened)
{
    const QByteArray contents = zipOf({ "mimetype", "META-INF/manifest.xml", "Configurations2/", "content.xml",
                                        "Pictures/Basic/a.png", "my-vbaProject.bin", "word/document.xml" });
    for (const QByteArray& name : { "a.docx"_ba, "a.odt"_ba, "a.ods"_ba, "a.epub"_ba }) {
        EXPECT_FALSE(carriesCode(name, contents)) << name.constData();
    }
}

} // namespace
