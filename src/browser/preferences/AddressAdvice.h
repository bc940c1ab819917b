#pragma once

#include <QString>

/// Why @p address, as somebody has typed it, names no server: a sentence for that person. It quotes no more of the
/// address than a scheme or one character.
QString addressAdvice(const QString& address);

/// @p address without the "ftps://" that it begins with; null when it does not begin so.
QString addressWithoutFtps(const QString& address);
