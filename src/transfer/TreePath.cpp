#include "TreePath.h"

#include "PathText.h"

using namespace Qt::StringLiterals;

namespace TreePath {

namespace {

    constexpr QLatin1StringView unreadEnd("//");

} // namespace

QByteArray ofFolder(const QByteArray& parent, const QByteArray& name)
{
    return parent + mark.data() + name + '/';
}

QByteArray ofUnread(const QByteArray& folder)
{
    return folder + '/';
}

QString relative(const QString& path)
{
    const qsizetype start = path.indexOf(mark);
    const QString kept = start < 0 ? QString() : path.mid(start + mark.size());
    return isUnread(path) ? kept.chopped(unreadEnd.size()) : kept;
}

QString shown(const QString& path)
{
    const QString kept = relative(path);
    return kept.isNull() ? path : kept;
}

QString below(const QString& path)
{
    const QString kept = relative(path);
    return kept.isNull() ? PathText::lastPathComponent(path) : kept;
}

QString folder(const QString& path)
{
    const QString kept = relative(path);
    const qsizetype slash = kept.lastIndexOf(u'/', kept.endsWith(u'/') ? -2 : -1);
    return slash < 0 ? QString() : kept.left(slash);
}

int levels(const QString& path)
{
    return static_cast<int>(relative(path).count(u'/'));
}

bool isFolder(const QString& path)
{
    return path.endsWith(u'/') && path.contains(mark);
}

bool isUnread(const QString& path)
{
    return path.endsWith(unreadEnd) && path.contains(mark);
}

bool liesIn(const QString& path, const QString& folder)
{
    const QString kept = relative(path);
    return !kept.isNull() && kept.startsWith(folder);
}

QString plain(const QString& path)
{
    QString plain = isUnread(path) ? path.chopped(unreadEnd.size()) : path;
    while (plain.contains(mark)) {
        plain.replace(mark, u"/"_s);
    }
    return plain;
}

QString withoutLevels(const QString& path, int levels)
{
    qsizetype end = path.lastIndexOf(u'/');
    for (int level = 0; level < levels && end > 0; ++level) {
        end = path.lastIndexOf(u'/', end - 1);
    }
    return path.left(end + 1);
}

} // namespace TreePath
