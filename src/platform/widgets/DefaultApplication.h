#pragma once

class QString;

/// The desktop's service that opens files with the applications that are meant for them. For the main thread.
namespace DefaultApplication {

/// Whether the local file at @p path runs or carries code (CodeTypes.h), by its name or its contents.
bool carriesCode(const QString& path);

enum class Result {
    Opened,
    NotOpened, ///< The desktop has declined.
    FolderShown, ///< The file carries code.
    FolderNotShown, ///< The same, and the desktop has declined.
};

/// Has the desktop open the local file at @p path, or show its folder when the file carries code.
Result open(const QString& path);

} // namespace DefaultApplication
