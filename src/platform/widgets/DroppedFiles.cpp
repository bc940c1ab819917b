#include "DroppedFiles.h"

#include "FileURL.h"
#include "LocalItem.h"

#include <QMimeData>
#include <QUrl>

#include <algorithm>

namespace {

/// Whether there is something at @p path that is no folder.
bool isFile(const QString& path)
{
    const std::optional<LocalItem> item = LocalItem::at(path);
    return item && !item->isFolder;
}

} // namespace

bool namesLocalFiles(const QMimeData& data)
{
    const QList<QUrl> urls = data.urls();
    return std::any_of(urls.begin(), urls.end(), [](const QUrl& url) { return !localPath(url).isNull(); });
}

DroppedItems droppedItems(const QMimeData& data)
{
    DroppedItems items;
    for (const QUrl& url : data.urls()) {
        if (const QString path = localPath(url); isFile(path)) {
            items.files.append(path);
        } else {
            items.others.append(path.isNull() ? url.toDisplayString() : path);
        }
    }
    return items;
}
