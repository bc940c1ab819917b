#pragma once

#include <QtGlobal>

/// Bytes of this process that are in memory.
qint64 residentMemory();

/// Bytes that the program has allocated and not freed.
qint64 allocatedMemory();
