#pragma once

#include <QStringList>

class QMimeData;

/// Whether dragged or copied data names at least one local file or folder.
bool namesLocalFiles(const QMimeData& data);

/// The absolute paths of those local files that @p data names, that exist and that are no folders, in the data's
/// order. Links are followed, folders not searched.
QStringList plainLocalFiles(const QMimeData& data);

/// What @p data names beside @p files, which plainLocalFiles() has found in it, in its order: the paths of local
/// folders and of items that are not there, and the texts of other URLs.
QStringList otherItems(const QMimeData& data, const QStringList& files);
