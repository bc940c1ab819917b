#include "DroppedFiles.h"

#include "FileURL.h"
#include "LocalItem.h"

#include <QMimeData>
#include <QUrl>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The URIs that @p data lists. Lines that begin with "#" are comments (RFC 2483, section 5).
QByteArrayList urisIn(const QMimeData& data)
{
    QByteArray list = data.data(u"text/uri-list"_s);
    if (list.endsWith('\0')) {
        list.chop(1); // Some sources end it so.
    }
    QByteArrayList uris;
    for (const QByteArray& line : list.split('\n')) {
        if (const QByteArray uri = line.trimmed(); !uri.isEmpty() && !uri.startsWith('#')) {
            uris.append(uri);
        }
    }
    return uris;
}

/// Whether there is something at @p path that is no folder.
bool isFile(const QString& path)
{
    const std::optional<LocalItem> item = LocalItem::at(path);
    return item && !item->isFolder;
}

} // namespace

bool namesLocalFiles(const QMimeData& data)
{
    const QByteArrayList uris = urisIn(data);
    return std::any_of(uris.begin(), uris.end(), [](const QByteArray& uri) { return !localPath(uri).isNull(); });
}

DroppedItems droppedItems(const QMimeData& data)
{
    DroppedItems items;
    for (const QByteArray& uri : urisIn(data)) {
        if (const QString path = localPath(uri); isFile(path)) {
            items.files.append(path);
        } else {
            items.others.append(path.isNull() ? QUrl::fromEncoded(uri).toDisplayString() : path);
        }
    }
    return items;
}
