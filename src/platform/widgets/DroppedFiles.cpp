#include "DroppedFiles.h"

#include "FileURL.h"

#include <QFileInfo>
#include <QMimeData>
#include <QUrl>

#include <algorithm>

bool namesLocalFiles(const QMimeData& data)
{
    const QList<QUrl> urls = data.urls();
    return std::any_of(urls.begin(), urls.end(), [](const QUrl& url) { return !localPath(url).isNull(); });
}

QStringList plainLocalFiles(const QMimeData& data)
{
    QStringList files;
    for (const QUrl& url : data.urls()) {
        const QString path = localPath(url);
        const QFileInfo item(path);
        if (!path.isNull() && item.exists() && !item.isDir()) {
            files.append(path);
        }
    }
    return files;
}
