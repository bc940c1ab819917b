#pragma once

#include "PathList.h"

class QMimeData;

/// Whether dragged or copied data names at least one local file or folder.
bool namesLocalFiles(const QMimeData& data);

/// What dragged or copied data names, in its order.
struct DroppedItems {
    PathList files; ///< The absolute paths of local files that exist and that are no folders. Links are followed.
    QStringList others; ///< The paths of local folders and of items that are not there, and the texts of other URLs.
};

/// Looks once at each item that @p data names; folders are not searched.
DroppedItems droppedItems(const QMimeData& data);
