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

bool isWanted(const QString& path, bool wantsFolders)
{
    const std::optional<LocalItem> item = LocalItem::at(path);
    return item && (wantsFolders || !item->isFolder);
}

} // namespace

bool namesLocalFiles(const QMimeData& data)
{
    const QByteArrayList uris = urisIn(data);
    return std::any_of(uris.begin(), uris.end(), [](const QByteArray& uri) { return !localPath(uri).isNull(); });
}

DroppedItems droppedItems(const QMimeData& data, bool wantsFolders)
{
    DroppedItems items;
    for (const QByteArray& uri : urisIn(data)) {
        if (const QString path = localPath(uri); isWanted(path, wantsFolders)) {
            items.files.append(path);
        } else {
            items.others.append(path.isNull() ? QUrl::fromEncoded(uri).toDisplayString() : path);
        }
    }
    return items;
}
