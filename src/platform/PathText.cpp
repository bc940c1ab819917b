#include "PathText.h"

#include "VisibleText.h"

#include <QTextBoundaryFinder>

#include <climits>

using namespace Qt::StringLiterals;

namespace {

/// The length of @p path without the slashes at its end; the first slash stays.
qsizetype lengthWithoutTrailingSlashes(const QString& path)
{
    qsizetype length = path.size();
    while (length > 1 && path.at(length - 1) == u'/') {
        --length;
    }
    return length;
}

/// As many of the first characters of @p text as take at most @p bytes in UTF-8. A letter and its accents are one.
QString firstCharacters(const QString& text, qsizetype bytes)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype end = 0;
    while (finder.toNextBoundary() > end) {
        bytes -= QStringView(text).sliced(end, finder.position() - end).toUtf8().size();
        if (bytes < 0) {
            break;
        }
        end = finder.position();
    }
    return text.left(end);
}

} // namespace

QString PathText::lastPathComponent(const QString& path)
{
    const qsizetype end = lengthWithoutTrailingSlashes(path);
    if (end <= 1) {
        return path.left(end);
    }
    const qsizetype start = path.lastIndexOf(u'/', end - 1) + 1;
    return path.mid(start, end - start);
}

QString PathText::deletingPathExtension(const QString& path)
{
    const QString trimmed = path.left(lengthWithoutTrailingSlashes(path));
    const qsizetype componentStart = trimmed.lastIndexOf(u'/') + 1;
    const qsizetype dot = trimmed.lastIndexOf(u'.');
    return dot > componentStart ? trimmed.left(dot) : trimmed;
}

QString PathText::appendingPathComponent(const QString& path, const QString& component)
{
    if (path.isEmpty()) {
        return path.isNull() ? path : component;
    }
    if (component.isEmpty()) {
        return path;
    }
    QString joined = path.left(lengthWithoutTrailingSlashes(path));
    if (!joined.endsWith(u'/')) {
        joined += u'/';
    }
    qsizetype start = 0;
    while (start < component.size() && component.at(start) == u'/') {
        ++start;
    }
    joined += QStringView(component).sliced(start);
    joined.truncate(lengthWithoutTrailingSlashes(joined));
    return joined;
}

bool PathText::isFileName(const QString& name)
{
    return !name.isEmpty() && name != "."_L1 && name != ".."_L1 && !name.contains(u'/') && !name.contains(QChar::Null);
}

QString PathText::localFileName(const QString& name, qsizetype reservedBytes)
{
    return shortenedFileName(wholeVisibleText(name), NAME_MAX - reservedBytes);
}

QString PathText::shortenedFileName(const QString& name, qsizetype bytes)
{
    if (name.toUtf8().size() <= bytes) {
        return name;
    }
    const QString extension = name.sliced(deletingPathExtension(name).size());
    const qsizetype extensionBytes = extension.toUtf8().size();
    if (extensionBytes > bytes / 2) {
        return firstCharacters(name, bytes);
    }
    return firstCharacters(name.chopped(extension.size()), bytes - extensionBytes) + extension;
}
