#pragma once

#include <QtGlobal>

/// Bytes of this process that are in memory.
qint64 residentMemory();

/// How many bytes are in memory for each that the program uses: ThreadSanitizer keeps books.
#ifdef __SANITIZE_THREAD__
constexpr int residentBytesPerByte = 4;
#else
constexpr int residentBytesPerByte = 1;
#endif

/// Bytes that the program has allocated and not freed.
qint64 allocatedMemory();
