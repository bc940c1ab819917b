#pragma once

#include "Destination.h"

/// The settings that say where transfers go. Read afresh on every call, on the main thread; null stands for nothing.
namespace DestinationSettings {

QString username();
QString password();
QString address();
QString ftpFolder();
/// See encryptionSetting().
FTPEncryption encryption();

/// The program's file name as the user sees it.
QString ourAppName();
/// The sub-folder that a drop icon uploads into; null under the product's own name.
QString ftpFolderFromAppName();

/// The location of @p path, which may be null, in the configured folder.
QString createFullURLFromFTPRootRelativePath(const QString& path);
/// The same with "/" at its end.
QString createFullPathFromFTPRootRelativePath(const QString& path);
/// The destination folder's location, "/" at its end; null when no usable address is set.
QString createFullDestinationPathFromAppNameAndFTPFolder();

/// The destination in force.
Destination destination();

} // namespace DestinationSettings
