#include "TreePath.h"

#include "PathText.h"

using namespace Qt::StringLiterals;

namespace TreePath {

QByteArray ofFolder(const QByteArray& parent, const QByteArray& name)
{
    return parent + mark.data() + name + '/';
}

QString relative(const QString& path)
{
    const qsizetype start = path.indexOf(mark);
    return start < 0 ? QString() : path.mid(start + mark.size());
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
    return path.endsWith(u'/') && levels(path) > 0;
}

QString plain(const QString& path)
{
    QString plain = path;
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
