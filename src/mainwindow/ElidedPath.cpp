#include "ElidedPath.h"

#include <QFontMetrics>

QString elidedPath(const QString& path, const QFontMetrics& metrics, int width)
{
    if (metrics.horizontalAdvance(path) <= width) {
        return path;
    }
    const qsizetype slash = path.lastIndexOf(u'/');
    const QString name = path.mid(slash + 1);
    const int roomForFolders = width - metrics.horizontalAdvance(u'/' + name);
    const QString folders = metrics.elidedText(path.left(slash), Qt::ElideMiddle, roomForFolders);
    return slash < 0 || folders.isEmpty() ? metrics.elidedText(name, Qt::ElideMiddle, width) : folders + u'/' + name;
}
