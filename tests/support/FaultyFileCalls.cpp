#include "FaultyFileCalls.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <optional>
#include <string_view>
#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

struct Faults {
    int interruptedReads = 0;
    int interruptedWrites = 0;
    std::optional<size_t> longestWrite;
    int closeError = 0;
    bool refusesToUnlink = false;
    bool refusesToRename = false;
    int openError = 0;
    int creationError = 0;
    bool refusesToChangeGroup = false;
    int synchronizationError = 0;
    int lockError = 0;
};

/// So many reads of databases until one fails, which are in threads; 0 for none, negative when it has failed.
std::atomic<int> databaseReads = 0;

/// Whether those wait who open a path that ends like that.
std::atomic<bool> isOpeningHeld = false;
std::string_view heldEnd;

/// What comes instead of the end of a folder, which is read in threads; 0 for that end.
std::atomic<int> folderError = 0;

Faults& faults()
{
    static Faults current;
    return current;
}

/// Whether one of @p remaining interruptions comes now.
bool interrupts(int& remaining)
{
    if (remaining == 0) {
        return false;
    }
    --remaining;
    errno = EINTR;
    return true;
}

int fail(int error)
{
    errno = error;
    return -1;
}

int refuse()
{
    return fail(EACCES);
}

} // namespace

// The linker leads the calls to __wrap_NAME and those of __real_NAME to the system: its names, not ours.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
extern "C" {

ssize_t __real_read(int descriptor, void* data, size_t size);
ssize_t __real_write(int descriptor, const void* data, size_t size);
int __real_close(int descriptor);
int __real_unlink(const char* path);
int __real_rename(const char* from, const char* to);
int __real_open(const char* path, int flags, ...);
int __real_fchown(int descriptor, uid_t owner, gid_t group);
int __real_fdatasync(int descriptor);
int __real_flock(int descriptor, int operation);
int __real_fcntl(int descriptor, int command, ...);
dirent* __real_readdir(DIR* folder);
ssize_t __wrap_read(int descriptor, void* data, size_t size);
ssize_t __wrap_write(int descriptor, const void* data, size_t size);
int __wrap_close(int descriptor);
int __wrap_unlink(const char* path);
int __wrap_rename(const char* from, const char* to);
int __wrap_open(const char* path, int flags, ...);
int __wrap_fchown(int descriptor, uid_t owner, gid_t group);
int __wrap_fdatasync(int descriptor);
int __wrap_flock(int descriptor, int operation);
int __wrap_fcntl(int descriptor, int command, ...);
dirent* __wrap_readdir(DIR* folder);

ssize_t __wrap_read(int descriptor, void* data, size_t size)
{
    return interrupts(faults().interruptedReads) ? -1 : __real_read(descriptor, data, size);
}

ssize_t __wrap_write(int descriptor, const void* data, size_t size)
{
    if (interrupts(faults().interruptedWrites)) {
        return -1;
    }
    return __real_write(descriptor, data, std::min(size, faults().longestWrite.value_or(size)));
}

int __wrap_close(int descriptor)
{
    const int result = __real_close(descriptor);
    return faults().closeError == 0 ? result : fail(faults().closeError);
}

int __wrap_unlink(const char* path)
{
    return faults().refusesToUnlink ? refuse() : __real_unlink(path);
}

int __wrap_rename(const char* from, const char* to)
{
    return faults().refusesToRename ? refuse() : __real_rename(from, to);
}

int __wrap_open(const char* path, int flags, ...)
{
    if (isOpeningHeld && std::string_view(path).ends_with(heldEnd)) {
        isOpeningHeld.wait(true);
    }
    if ((flags & O_EXCL) != 0 && faults().creationError != 0) {
        return fail(faults().creationError);
    }
    if ((flags & (O_CREAT | O_TMPFILE)) == 0 && faults().openError != 0) {
        return fail(faults().openError);
    }
    mode_t mode = 0;
    if ((flags & (O_CREAT | O_TMPFILE)) != 0) {
        va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    return __real_open(path, flags, mode);
}

int __wrap_fchown(int descriptor, uid_t owner, gid_t group)
{
    return faults().refusesToChangeGroup ? refuse() : __real_fchown(descriptor, owner, group);
}

int __wrap_fdatasync(int descriptor)
{
    return faults().synchronizationError == 0 ? __real_fdatasync(descriptor) : fail(faults().synchronizationError);
}

int __wrap_flock(int descriptor, int operation)
{
    return faults().lockError == 0 ? __real_flock(descriptor, operation) : fail(faults().lockError);
}

int __wrap_fcntl(int descriptor, int command, ...)
{
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    const bool locks = command == F_OFD_SETLK || command == F_OFD_GETLK;
    return locks && faults().lockError != 0 ? fail(faults().lockError) : __real_fcntl(descriptor, command, argument);
}

dirent* __wrap_readdir(DIR* folder)
{
    dirent* const entry = __real_readdir(folder);
    if (entry == nullptr && folderError != 0) {
        errno = folderError;
    }
    return entry;
}

/// Takes the place of the C library's, which the library of the database calls.
__attribute__((visibility("default"))) ssize_t pread64(int descriptor, void* data, size_t size, off64_t place)
{
    if (databaseReads > 0 && --databaseReads == 0) {
        databaseReads = -1;
        return fail(ESTALE);
    }
    return syscall(SYS_pread64, descriptor, data, size, place);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)

FaultyFileCalls::~FaultyFileCalls()
{
    faults() = Faults();
    databaseReads = 0;
    folderError = 0;
    isOpeningHeld = false;
    isOpeningHeld.notify_all();
}

void FaultyFileCalls::interruptReads(int count)
{
    faults().interruptedReads = count;
}

void FaultyFileCalls::interruptWrites(int count)
{
    faults().interruptedWrites = count;
}

void FaultyFileCalls::limitWrites(size_t size)
{
    faults().longestWrite = size;
}

void FaultyFileCalls::failToClose(int error)
{
    faults().closeError = error;
}

void FaultyFileCalls::refuseToUnlink()
{
    faults().refusesToUnlink = true;
}

void FaultyFileCalls::refuseToRename()
{
    faults().refusesToRename = true;
}

void FaultyFileCalls::failToOpen(int error)
{
    faults().openError = error;
}

void FaultyFileCalls::holdOpening(const char* end)
{
    heldEnd = end;
    isOpeningHeld = true;
}

void FaultyFileCalls::failToReadFolders(int error)
{
    folderError = error;
}

void FaultyFileCalls::failToCreate(int error)
{
    faults().creationError = error;
}

void FaultyFileCalls::refuseToChangeGroup()
{
    faults().refusesToChangeGroup = true;
}

void FaultyFileCalls::failToSynchronize(int error)
{
    faults().synchronizationError = error;
}

void FaultyFileCalls::failToLock(int error)
{
    faults().lockError = error;
}

void FaultyFileCalls::failToReadDatabase(int number)
{
    databaseReads = number;
}

bool FaultyFileCalls::hasFailedToReadDatabase()
{
    return databaseReads < 0;
}
