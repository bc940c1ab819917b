#pragma once

#include <QString>

/// @p bytes as a file size.
QString stringForFileSize(quint64 bytes);

/// @p value and @p unit with a blank between them: a whole number when the value is within 0.1 of one, otherwise with
/// one decimal place ("2 MB" for 2.05, "2.5 MB").
QString stringForNumber(double value, const QString& unit);
