#pragma once

#include <QLocale>
#include <QString>

/// A byte count as a file manager shows it: decimal multiples of 1000, whole numbers up to KB, one decimal place for
/// MB, two from GB on, no zeros at the end ("Zero KB", "1 byte", "12 KB", "123.5 MB", "1.23 GB"). The number is
/// written as @p locale does, the unit in English.
QString byteCountText(qint64 bytes, const QLocale& locale = QLocale());
