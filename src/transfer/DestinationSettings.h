#pragma once

#include "Destination.h"

/// What connectionSettings() say about where transfers go. Read afresh on every call, on the main thread; null stands
/// for nothing.
namespace DestinationSettings {

QString username();
QString password();
QString address();
QString ftpFolder();
/// See encryptionSetting().
FTPEncryption encryption();

/// The program's file name as the user sees it.
QString ourAppName();
/// The sub-folder that a drop icon uploads into; null under the product's own name, and with a server of its own.
QString ftpFolderFromAppName();

/// The location of @p path, which may be null, in the configured folder.
QString createFullURLFromFTPRootRelativePath(const QString& path);
/// The same with "/" at its end.
QString createFullPathFromFTPRootRelativePath(const QString& path);
/// The destination folder's location, "/" at its end; null when no usable address is set.
QString createFullDestinationPathFromAppNameAndFTPFolder();

/// Where the files of a drop icon without a server of its own go that starts the program as @p fileName, whatever icon
/// this program is; null when no usable address is set.
QString destinationOfSubFolderIcon(const QString& fileName);

/// The destination in force.
Destination destination();
/// Why that is null, where it is: the title of the alert that says so.
QString whyThereIsNoDestination();

} // namespace DestinationSettings
