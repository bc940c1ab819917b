#pragma once

#include <QString>

class QUrl;

/// The path of the file that @p url names on this machine: its host is empty, "localhost" or this machine's name.
/// Null for every other URL.
QString localPath(const QUrl& url);
