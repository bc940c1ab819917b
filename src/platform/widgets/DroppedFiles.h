#pragma once

#include "PathList.h"

class QMimeData;

/// Whether dragged or copied data names at least one local file or folder.
bool namesLocalFiles(const QMimeData& data);

/// What dragged or copied data names, in its order.
struct DroppedItems {
    /// The absolute paths of local files that exist, and of folders only where they are wanted. Links are followed.
    PathList files;
    QStringList
        others; ///< The paths of other local items and of those that are not there, and the texts of other URLs.
};

/// Looks once at each item that @p data names; folders are not searched.
DroppedItems droppedItems(const QMimeData& data, bool wantsFolders = false);
