#pragma once

#include <QtGlobal>

/// Bytes of this process that are in memory.
qint64 residentMemory();

/// Bytes that a sanitizer may keep in memory for itself: what has been freed and AddressSanitizer holds back, and
/// ThreadSanitizer's books.
#if defined(__SANITIZE_ADDRESS__)
constexpr qint64 sanitizerMemory = qint64{ 320 } << 20;
#elif defined(__SANITIZE_THREAD__)
constexpr qint64 sanitizerMemory = qint64{ 1500 } << 20;
#else
constexpr qint64 sanitizerMemory = 0;
#endif

/// Bytes that the program has allocated and not freed.
qint64 allocatedMemory();
