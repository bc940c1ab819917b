#include "URLText.h"

#include "PathText.h"
#include "VisibleText.h"

#include <algorithm>
#include <tuple>

using namespace Qt::StringLiterals;

namespace {

/// Where the path of a URL lies in its text.
struct PathRange {
    qsizetype start = 0;
    qsizetype end = 0;
};

PathRange pathRange(const QString& url)
{
    const qsizetype scheme = url.indexOf("://"_L1);
    const qsizetype authority = scheme < 0 ? 0 : scheme + 3;
    const auto begin = url.cbegin();
    const auto end = std::find_if(begin + authority, url.cend(), [](QChar c) { return c == u'?' || c == u'#'; });
    return PathRange{ std::find(begin + authority, end, u'/') - begin, end - begin };
}

/// @p text in UTF-8; null when it is null or cannot be had so.
QByteArray utf8(const QString& text)
{
    // Asked first: the encoder would turn half a surrogate pair into a question mark.
    return text.isNull() || !text.isValidUtf16() ? QByteArray() : text.toUtf8();
}

QString escaped(const QByteArray& bytes, const QByteArray& kept)
{
    return bytes.isNull() ? QString() : QString::fromLatin1(bytes.toPercentEncoding(kept));
}

bool isHexDigit(QChar c)
{
    return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

bool isURLCharacter(QChar c)
{
    return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z')
        || u"!$&'()*+,-./:;=?@_~[]"_s.contains(c);
}

} // namespace

QString URLText::appendingPathComponent(const QString& url, const QString& component)
{
    return appendingPathComponent(url, component.isNull() ? ""_ba : utf8(component));
}

QString URLText::appendingPathComponent(const QString& url, const QByteArray& component)
{
    const QString text = escaped(component, "!$&'()*+,/:=@");
    if (url.isNull() || text.isNull()) {
        return QString();
    }
    const PathRange path = pathRange(url);
    const bool pathEndsInSlash = path.end > path.start && url.at(path.end - 1) == u'/';
    const bool separated = pathEndsInSlash || text.startsWith(u'/');
    return url.left(path.end) + (separated ? u""_s : u"/"_s) + text + url.mid(path.end);
}

QString URLText::addingPercentEscapes(const QString& text)
{
    return escaped(utf8(text), "!$&'()*+,/:=@;");
}

bool URLText::isURLText(const QString& text)
{
    bool fragment = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == u'%') {
            if (i + 2 >= text.size() || !isHexDigit(text.at(i + 1)) || !isHexDigit(text.at(i + 2))) {
                return false;
            }
            i += 2;
        } else if (c == u'#') {
            if (fragment) {
                return false;
            }
            fragment = true;
        } else if (!isURLCharacter(c)) {
            return false;
        }
    }
    return !text.isEmpty();
}

bool URLText::hasReadableAuthority(const QString& url)
{
    const qsizetype scheme = url.indexOf("://"_L1);
    if (scheme < 0) {
        return true;
    }
    QStringView authority = QStringView(url).sliced(scheme + 3);
    authority = authority.first(
        std::find_if(authority.begin(), authority.end(), [](QChar c) { return c == u'/' || c == u'?' || c == u'#'; })
        - authority.begin());
    QStringView host = authority.sliced(authority.lastIndexOf(u'@') + 1);
    if (host.startsWith(u'[')) {
        const qsizetype end = host.indexOf(u']');
        if (end < 0) {
            return false;
        }
        host = host.sliced(end + 1);
        if (!host.isEmpty() && !host.startsWith(u':')) {
            return false;
        }
    }
    const qsizetype colon = host.indexOf(u':');
    if (colon < 0 || colon + 1 == host.size()) {
        return true;
    }
    bool isPort = false;
    std::ignore = host.sliced(colon + 1).toUShort(&isPort);
    return isPort;
}

QString URLText::lastPathComponent(const QString& url)
{
    if (url.isNull()) {
        return QString();
    }
    const PathRange path = pathRange(url);
    // Escapes are resolved last: an escaped "/" separates nothing.
    const QString component = PathText::lastPathComponent(url.mid(path.start, path.end - path.start));
    return QString::fromUtf8(QByteArray::fromPercentEncoding(component.toUtf8()));
}

QString URLText::readable(const QString& url)
{
    const QByteArray bytes = QByteArray::fromPercentEncoding(url.toUtf8());
    QString text = QString::fromUtf8(bytes);
    const bool isSafe = bytes.isValidUtf8() && text.count(u'/') == url.count(u'/') && wholeVisibleText(text) == text;
    return isSafe ? text : url;
}
