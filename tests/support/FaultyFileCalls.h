#pragma once

#include <cstddef>

/// While one lives, chosen calls of the system behind files fail in the code under test, as they do on full disks,
/// with quotas and on network drives. Only in programs that link file_call_support.
class FaultyFileCalls {
public:
    FaultyFileCalls() = default;
    FaultyFileCalls(const FaultyFileCalls&) = delete;
    FaultyFileCalls& operator=(const FaultyFileCalls&) = delete;
    ~FaultyFileCalls(); ///< All calls work again.

    /// How many of the next reads or writes are interrupted before the first byte.
    static void interruptReads(int count);
    static void interruptWrites(int count);
    /// From here on a write takes at most @p size bytes, without an error.
    static void limitWrites(std::size_t size);
    /// From here on closing frees the descriptor and fails with @p error.
    static void failToClose(int error);
    /// From here on nothing can be removed, or nothing can be renamed, for want of permission.
    static void refuseToUnlink();
    static void refuseToRename();
    /// From here on no file that is there can be opened, with @p error.
    static void failToOpen(int error);
    /// From here on whoever opens what has that end of its path waits, in any thread, as long as this lives.
    static void holdOpening(const char* end);
    /// From here on no folder can be read to its end, in any thread: instead of that comes @p error.
    static void failToReadFolders(int error);
    /// From here on making a file that must not be there yet fails with @p error.
    static void failToCreate(int error);
    /// From here on no file can be given to another group, for want of permission.
    static void refuseToChangeGroup();
    /// From here on waiting for the disk to have a file's data fails with @p error.
    static void failToSynchronize(int error);
    /// From here on no file can be locked, nor asked for its locks, with @p error.
    static void failToLock(int error);
    /// The read number @p number of the system's database fails, from 1 on, as on a network drive that has gone.
    static void failToReadDatabase(int number);
    /// Whether it has.
    static bool hasFailedToReadDatabase();
};
