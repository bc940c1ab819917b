#pragma once

class QString;

/// The desktop's service that opens files with the applications that are meant for them. For the main thread.
namespace DefaultApplication {

/// Whether the local file at @p path is a program, a script or a launcher, by its name or its contents. To open one may
/// mean to run it.
bool isProgram(const QString& path);

/// Has the desktop open the local file at @p path. False when it declines, and always for a program.
bool open(const QString& path);

} // namespace DefaultApplication
