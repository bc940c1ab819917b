#pragma once

#include <QString>

/// The user's Downloads folder, without "/" at its end; null when there is none.
QString downloadsDirectoryPath();

/// Where programs keep what they have done, for the user alone, without "/" at its end.
QString stateDirectoryPath();

/// The user's Documents folder, without "/" at its end; null when there is none.
QString documentsDirectoryPath();
