#pragma once

#include <QString>

/// The user's Downloads folder, without "/" at its end; null when there is none.
QString downloadsDirectoryPath();

/// Where programs keep what they have done, for the user alone, without "/" at its end.
QString stateDirectoryPath();

/// Has everything use the usual folders in place of those that the environment names by a relative path: such a name
/// counts for nothing, as it would be another folder wherever the program is started. Comes before any of them is used.
void ignoreRelativeFolders();

/// The user's Documents folder, without "/" at its end; null when there is none.
QString documentsDirectoryPath();
