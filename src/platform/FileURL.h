#pragma once

#include <QByteArray>
#include <QString>

class QUrl;

/// The path (LocalPath) of the file that @p url names on this machine: its host is empty, "localhost" or this machine's
/// name. Null for every other URL.
QString localPath(const QUrl& url);
/// The same of a URI as it stands in a list of many. Most take a tenth of the time.
QString localPath(const QByteArray& uri);
/// The bytes of that path (LocalPath).
QByteArray localPathBytes(const QByteArray& uri);

/// The URI, fully escaped, of the file at the absolute path @p path.
QString fileURI(const QString& path);
