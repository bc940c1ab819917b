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

namespace {

/// Whether there is something at @p path that is no folder.
bool isFile(const QString& path)
{
    const std::optional<LocalItem> item = LocalItem::at(path);
    return item && !item->isFolder;
}

} // namespace

QStringList plainLocalFiles(const QMimeData& data)
{
    QStringList files;
    for (const QUrl& url : data.urls()) {
        if (const QString path = localPath(url); isFile(path)) {
            files.append(path);
        }
    }
    return files;
}

QStringList otherItems(const QMimeData& data, const QStringList& files)
{
    // Nothing is looked at a second time: it may have changed, and would be in both lists or in none.
    QStringList items;
    auto nextFile = files.cbegin();
    for (const QUrl& url : data.urls()) {
        const QString path = localPath(url);
        if (nextFile != files.cend() && path == *nextFile) {
            ++nextFile;
        } else {
            items.append(path.isNull() ? url.toDisplayString() : path);
        }
    }
    return items;
}
