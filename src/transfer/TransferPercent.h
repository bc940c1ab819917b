#pragma once

#include <QtGlobal>

/// @p done of @p size bytes in percent. Reckoned in single precision from the start, so that the same counts give the
/// same number everywhere.
inline float transferPercent(qint64 done, qint64 size)
{
    return static_cast<float>(done) / static_cast<float>(size) * 100.0F;
}
