#include "DroppedFiles.h"

#include <QFileInfo>
#include <QMimeData>
#include <QUrl>

#include <algorithm>

bool namesLocalFiles(const QMimeData& data)
{
    const QList<QUrl> urls = data.urls();
    return std::any_of(urls.begin(), urls.end(), [](const QUrl& url) { return url.isLocalFile(); });
}

QStringList plainLocalFiles(const QMimeData& data)
{
    QStringList files;
    for (const QUrl& url : data.urls()) {
        if (url.isLocalFile()) {
            const QString path = url.toLocalFile();
            const QFileInfo item(path);
            if (item.exists() && !item.isDir()) {
                files.append(path);
            }
        }
    }
    return files;
}
