#pragma once

#include <QString>

class QFontMetrics;

/// @p path as it fits into @p width: of one that is too long the folders lose their middle, and the name does only
/// where it has no room without them.
QString elidedPath(const QString& path, const QFontMetrics& metrics, int width);
