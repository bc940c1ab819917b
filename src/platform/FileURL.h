#pragma once

#include <QString>

class QUrl;

/// The path (LocalPath) of the file that @p url names on this machine: its host is empty, "localhost" or this machine's
/// name. Null for every other URL.
QString localPath(const QUrl& url);

/// The URI, fully escaped, of the file at the absolute path @p path.
QString fileURI(const QString& path);
