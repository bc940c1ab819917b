#pragma once

#include <QByteArray>
#include <QList>

class QString;

/// The names of what the zip archive at @p path holds, in order, as they stand in its directory, which is the end of
/// the file. Looked for by their mark, so that what lies between costs nothing; bytes that look like an entry by chance
/// give a name as well. Of a directory of more than zipDirectoryLimit bytes only the end is read. Nothing for other
/// files.
QList<QByteArray> namesInZip(const QString& path);

constexpr qint64 zipDirectoryLimit = qint64(16) << 20;
