#pragma once

class QString;

/// The desktop's service that opens files with the applications that are meant for them. For the main thread.
namespace DefaultApplication {

/// Whether the local file at @p path runs or carries code (CodeTypes.h), by its name or its contents.
bool carriesCode(const QString& path);

/// Has the desktop open the local file at @p path. False when it declines, and always for a file that carries code.
bool open(const QString& path);

/// Has the desktop show the folder of the local file at @p path. False when it declines.
bool showFolder(const QString& path);

} // namespace DefaultApplication
