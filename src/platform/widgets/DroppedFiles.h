#pragma once

#include <QStringList>

class QMimeData;

/// Whether dragged or copied data names at least one local file or folder.
bool namesLocalFiles(const QMimeData& data);

/// The absolute paths of those local files that @p data names, that exist and that are no folders, in the data's
/// order. Links are followed, folders not searched.
QStringList plainLocalFiles(const QMimeData& data);
