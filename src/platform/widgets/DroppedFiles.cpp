#include "DroppedFiles.h"

#include "FileURL.h"
#include "LocalItem.h"

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
        if (const auto item = LocalItem::at(path); item && !item->isFolder) {
            files.append(path);
        }
    }
    return files;
}
