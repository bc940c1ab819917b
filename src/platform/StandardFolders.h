#pragma once

#include <QString>

/// The user's Downloads folder, without "/" at its end; null when there is none.
QString downloadsDirectoryPath();

/// The user's Documents folder, without "/" at its end; null when there is none.
QString documentsDirectoryPath();
