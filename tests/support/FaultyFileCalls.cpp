#include "FaultyFileCalls.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <unistd.h>

namespace {

struct Faults {
    int interruptedReads = 0;
    int interruptedWrites = 0;
    std::optional<size_t> longestWrite;
    int closeError = 0;
    bool refusesToUnlink = false;
    bool refusesToRename = false;
};

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

int refuse()
{
    errno = EACCES;
    return -1;
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
ssize_t __wrap_read(int descriptor, void* data, size_t size);
ssize_t __wrap_write(int descriptor, const void* data, size_t size);
int __wrap_close(int descriptor);
int __wrap_unlink(const char* path);
int __wrap_rename(const char* from, const char* to);

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
    if (faults().closeError == 0) {
        return result;
    }
    errno = faults().closeError;
    return -1;
}

int __wrap_unlink(const char* path)
{
    return faults().refusesToUnlink ? refuse() : __real_unlink(path);
}

int __wrap_rename(const char* from, const char* to)
{
    return faults().refusesToRename ? refuse() : __real_rename(from, to);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)

FaultyFileCalls::~FaultyFileCalls()
{
    faults() = Faults();
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
