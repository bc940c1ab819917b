#pragma once

#include <QtGlobal>

/// Bytes of this process that are in memory.
qint64 residentMemory();

/// The same, when what is free has been given back to the system.
qint64 residentMemoryInUse();
