#include "IconFiles.h"

#include "DesktopEntry.h"

using namespace Qt::StringLiterals;

namespace {

constexpr QLatin1String colourKey("X-Quillbox-Colour");
constexpr QLatin1String lettersKey("X-Quillbox-Letters");

QString line(QLatin1String key, const QString& text)
{
    return text.isNull() ? QString() : key + u'=' + DesktopEntry::value(text) + u'\n';
}

QString line(const char* key, const QString& text)
{
    return line(QLatin1String(key), text);
}

QString uploadTo(const QString& name)
{
    return u"Upload to "_s + name;
}

} // namespace

QByteArray IconFiles::launcher(const Content& content)
{
    // There is no MimeType, as in the product's own launcher: opening a file must never upload it.
    QString text = u"[Desktop Entry]\nType=Application\nVersion=1.4\n"_s;
    text += line("Name", content.name);
    text += content.hasOwnServer ? u"Comment=Put files into a folder of an FTP server\n"_s
                                 : u"Comment=Put files into this folder of your FTP server\n"_s;
    text += line("TryExec", content.command.first());
    text += u"Exec="_s + DesktopEntry::commandLine(content.command) + u'\n';
    text += line("Icon", content.image);
    text += u"Terminal=false\nCategories=Network;FileTransfer;Qt;\nStartupNotify=false\n"_s;
    // By this the desktop knows the windows of the program's file. Not by the name that is the class of all windows,
    // which the product's own launcher claims.
    text += line("StartupWMClass", content.fileName == u"quillbox"_s ? QString() : content.fileName);
    text += line(colourKey, content.picture.colour) + line(lettersKey, content.picture.letters);
    return (text + DesktopEntry::ownLine(content.fileName) + u'\n').toUtf8();
}

QByteArray IconFiles::sendTo(const Content& content)
{
    QString text = u"[Desktop Entry]\nType=Application\nVersion=1.0\n"_s;
    // Thunar takes an underscore for the mark of the next letter.
    text += line("Name", uploadTo(content.name).replace(u'_', u"__"_s)) + line("TryExec", content.command.first());
    text += u"Exec="_s + DesktopEntry::commandLine(content.command) + u'\n';
    text += line("Icon", content.image);
    return (text + DesktopEntry::ownLine(content.fileName) + u'\n').toUtf8();
}

QByteArray IconFiles::serviceMenu(const Content& content)
{
    QString text = u"[Desktop Entry]\nType=Service\nX-KDE-ServiceTypes=KonqPopupMenu/Plugin\nX-KDE-Protocols=file\n"
                   "MimeType=all/allfiles;inode/directory;\nActions=upload;\n"_s;
    text += DesktopEntry::ownLine(content.fileName) + u"\n\n[Desktop Action upload]\n"_s;
    text += line("Name", uploadTo(content.name)) + line("Icon", content.image);
    text += u"Exec="_s + DesktopEntry::commandLine(content.command) + u'\n';
    return text.toUtf8();
}

IconPicture IconFiles::pictureOf(const QString& launcher)
{
    return { .colour = DesktopEntry::read(launcher, colourKey), .letters = DesktopEntry::read(launcher, lettersKey) };
}
