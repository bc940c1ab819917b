#include "DesktopEntry.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

constexpr QLatin1String ownMark("X-Quillbox-Copy");

/// @p word of a command line: quoted for it, and then as a value.
QString asWord(QString word)
{
    for (const QChar special : { u'\\', u'"', u'`', u'$' }) {
        word.replace(special, QString(u'\\') + special);
    }
    word.replace(u'%', u"%%"_s);
    return DesktopEntry::value(u'"' + word + u'"');
}

/// The text that @p value stands for.
QString textOf(const QString& value)
{
    QString text;
    for (qsizetype i = 0; i < value.size(); ++i) {
        const bool isEscaped = value[i] == u'\\' && i + 1 < value.size();
        i += isEscaped ? 1 : 0;
        text += isEscaped && value[i] == u's' ? u' ' : value[i];
    }
    return text;
}

QByteArrayList linesOf(const QString& path)
{
    QFile file(path);
    const QFileInfo info(path);
    if (path.isEmpty() || info.isSymLink() || !info.isFile() || !file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return file.readAll().split('\n');
}

} // namespace

namespace DesktopEntry {

QString value(QString text)
{
    text.replace(u'\\', u"\\\\"_s);
    text.replace(u'\n', u"\\n"_s);
    if (text.startsWith(u' ')) {
        text.replace(0, 1, u"\\s"_s);
    }
    if (text.endsWith(u' ')) {
        text.replace(text.size() - 1, 1, u"\\s"_s);
    }
    return text;
}

QString commandLine(const QStringList& words)
{
    // By way of a shell, as the first word must not hold "=", and some desktops look for a program whose name has "%%"
    // in it when "%" was meant.
    QString line = u"/bin/sh -c "_s + asWord(u"exec \"$0\" \"$@\""_s);
    for (const QString& word : words) {
        line += u' ' + asWord(word);
    }
    return line + u" %F"_s;
}

QString ownLine(const QString& fileName)
{
    return ownMark + u'=' + value(fileName);
}

bool isOurs(const QString& path, const QString& fileName)
{
    return linesOf(path).contains(ownLine(fileName).toUtf8());
}

QString read(const QString& path, QLatin1String key)
{
    const QByteArray beginning = QByteArray(key.data(), key.size()) + '=';
    for (const QByteArray& line : linesOf(path)) {
        if (line.startsWith(beginning)) {
            return textOf(QString::fromUtf8(line.mid(beginning.size())));
        }
    }
    return {};
}

} // namespace DesktopEntry
