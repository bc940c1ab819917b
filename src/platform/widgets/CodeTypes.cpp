#include "CodeTypes.h"

#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array code{
    // Executables.
    CodeType{ "application/x-executable"_L1, "run elf"_L1 },
    CodeType{ "application/x-sharedlib"_L1, "dylib"_L1 },
    CodeType{ "application/x-mach-binary"_L1, "macho"_L1 },
    CodeType{ "application/x-ms-dos-executable"_L1, "exe com scr pif cpl"_L1 },
    CodeType{ "application/x-msdownload"_L1, "dll ocx xll"_L1 },
    CodeType{ "application/vnd.microsoft.portable-executable"_L1, "efi"_L1 },
    CodeType{ "application/x-java"_L1, "class"_L1 },
    CodeType{ "application/x-java-archive"_L1, "jar war ear"_L1 },
    CodeType{ "application/x-python-bytecode"_L1, "pyc"_L1 },
    CodeType{ "application/wasm"_L1, "wasm"_L1 },
    CodeType{ "application/vnd.appimage"_L1, "appimage"_L1 },
    CodeType{ "application/x-iso9660-appimage"_L1, "iso.appimage"_L1 },
    CodeType{ "application/vnd.adobe.flash.movie"_L1, "swf"_L1 },
    // Scripts.
    CodeType{ "application/x-shellscript"_L1, "sh bash zsh ksh fish command"_L1 },
    CodeType{ "application/x-csh"_L1, "csh tcsh"_L1 },
    CodeType{ "text/x-python"_L1, "py pyw pyz"_L1 },
    CodeType{ "application/x-perl"_L1, "pl"_L1 },
    CodeType{ "application/x-ruby"_L1, "rb"_L1 },
    CodeType{ "text/x-lua"_L1, "lua"_L1 },
    CodeType{ "application/x-awk"_L1, "awk"_L1 },
    CodeType{ "text/tcl"_L1, "tcl"_L1 },
    CodeType{ "application/x-php"_L1, "php phtml phar"_L1 },
    CodeType{ "text/javascript"_L1, "js"_L1 },
    CodeType{ "application/ecmascript"_L1, "es"_L1 },
    CodeType{ "application/vnd.coffeescript"_L1, "coffee"_L1 },
    CodeType{ "text/vbscript"_L1, "vbs vbe"_L1 },
    CodeType{ "application/x-bat"_L1, "bat cmd"_L1 },
    CodeType{ "application/x-powershell"_L1, "ps1 psm1 psd1 ps1xml"_L1 },
    CodeType{ "text/x-windows-script"_L1, "wsf wsh wsc sct jse"_L1 },
    CodeType{ "text/x-applescript"_L1, "applescript scpt"_L1 },
    CodeType{ "application/x-autohotkey"_L1, "ahk"_L1 },
    CodeType{ "application/x-autoit"_L1, "au3"_L1 },
    CodeType{ "text/x-emacs-lisp"_L1, "el elc"_L1 },
    CodeType{ "text/x-common-lisp"_L1, "lisp"_L1 },
    CodeType{ "text/x-scheme"_L1, "scm rkt"_L1 },
    CodeType{ "text/x-groovy"_L1, "groovy"_L1 },
    CodeType{ "text/x-kotlin-script"_L1, "kts"_L1 },
    CodeType{ "text/x-scala"_L1, "scala"_L1 },
    CodeType{ "text/x-elixir"_L1, "exs"_L1 },
    CodeType{ "text/x-erlang"_L1, "erl"_L1 },
    CodeType{ "text/x-r"_L1, "r"_L1 },
    CodeType{ "text/x-julia"_L1, "jl"_L1 },
    CodeType{ "text/x-qml"_L1, "qml"_L1 },
    CodeType{ "application/x-gdscript"_L1, "gd"_L1 },
    CodeType{ "application/x-ipynb+json"_L1, "ipynb"_L1 },
    CodeType{ "application/sql"_L1, "sql"_L1 },
    CodeType{ "text/x-makefile"_L1, "mk"_L1 },
    // Packages and installers.
    CodeType{ "application/vnd.debian.binary-package"_L1, "deb ddeb"_L1 },
    CodeType{ "application/x-rpm"_L1, "rpm"_L1 },
    CodeType{ "application/x-alpm-package"_L1, "pkg.tar.zst pkg.tar.xz"_L1 },
    CodeType{ "application/x-ipk"_L1, "ipk opk"_L1 },
    CodeType{ "application/vnd.flatpak"_L1, "flatpak"_L1 },
    CodeType{ "application/vnd.flatpak.ref"_L1, "flatpakref"_L1 },
    CodeType{ "application/vnd.flatpak.repo"_L1, "flatpakrepo"_L1 },
    CodeType{ "application/vnd.snap"_L1, "snap"_L1 },
    CodeType{ "text/x-suse-ymp"_L1, "ymp"_L1 },
    CodeType{ "application/x-msi"_L1, "msi msp mst msu"_L1 },
    CodeType{ "application/msix"_L1, "msix appx msixbundle appxbundle appinstaller"_L1 },
    CodeType{ "application/x-apple-diskimage"_L1, "dmg"_L1 },
    CodeType{ "application/x-xar"_L1, "pkg mpkg"_L1 },
    CodeType{ "application/vnd.android.package-archive"_L1, "apk aab xapk"_L1 },
    CodeType{ "application/x-ios-app"_L1, "ipa"_L1 },
    CodeType{ "application/x-xpinstall"_L1, "xpi"_L1 },
    CodeType{ "application/x-chrome-extension"_L1, "crx"_L1 },
    CodeType{ "application/vnd.openofficeorg.extension"_L1, "oxt"_L1 },
    CodeType{ "application/x-virtualbox-vbox-extpack"_L1, "vbox-extpack"_L1 },
    // Registry and HTML application files, and their relatives.
    CodeType{ "text/x-ms-regedit"_L1, "reg"_L1 },
    CodeType{ "application/hta"_L1, "hta"_L1 },
    CodeType{ "application/x-ms-application"_L1, "application appref-ms"_L1 },
    CodeType{ "application/vnd.ms-htmlhelp"_L1, "chm"_L1 },
    // Launchers.
    CodeType{ "application/x-desktop"_L1, "desktop"_L1 },
    CodeType{ "application/x-java-jnlp-file"_L1, "jnlp"_L1 },
    CodeType{ "application/x-ms-shortcut"_L1, "lnk"_L1 },
    CodeType{ "application/x-mswinurl"_L1, "url website"_L1 },
    CodeType{ "application/x-apple-webloc"_L1, "webloc"_L1 },
    // Documents that hold macros.
    CodeType{ "application/vnd.ms-word.document.macroEnabled.12"_L1, "docm"_L1 },
    CodeType{ "application/vnd.ms-word.template.macroEnabled.12"_L1, "dotm"_L1 },
    CodeType{ "application/vnd.ms-excel.sheet.macroEnabled.12"_L1, "xlsm"_L1 },
    CodeType{ "application/vnd.ms-excel.template.macroEnabled.12"_L1, "xltm"_L1 },
    CodeType{ "application/vnd.ms-excel.addin.macroEnabled.12"_L1, "xlam"_L1 },
    CodeType{ "application/vnd.ms-excel.sheet.binary.macroEnabled.12"_L1, "xlsb"_L1 },
    CodeType{ "application/vnd.ms-powerpoint.presentation.macroEnabled.12"_L1, "pptm"_L1 },
    CodeType{ "application/vnd.ms-powerpoint.slideshow.macroEnabled.12"_L1, "ppsm"_L1 },
    CodeType{ "application/vnd.ms-powerpoint.template.macroEnabled.12"_L1, "potm"_L1 },
    CodeType{ "application/vnd.ms-powerpoint.addin.macroEnabled.12"_L1, "ppam"_L1 },
    CodeType{ "application/vnd.ms-powerpoint.slide.macroEnabled.12"_L1, "sldm"_L1 },
    CodeType{ "application/vnd.ms-visio.drawing.macroEnabled.main+xml"_L1, "vsdm"_L1 },
    CodeType{ "application/vnd.ms-visio.stencil.macroEnabled.main+xml"_L1, "vssm"_L1 },
    CodeType{ "application/vnd.ms-visio.template.macroEnabled.main+xml"_L1, "vstm"_L1 },
    CodeType{ "application/vnd.ms-access"_L1, "mdb mde accdb accde"_L1 },
};

} // namespace

std::span<const CodeType> codeTypes()
{
    return code;
}
