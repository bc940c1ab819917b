#include "FaultyFileCalls.h"

#include <cerrno>
#include <unistd.h>

namespace {

struct Faults {
    int interruptedWrites = 0;
    bool writesTakeNothing = false;
    int closeError = 0;
};

Faults& faults()
{
    static Faults current;
    return current;
}

} // namespace

// The linker leads the calls to __wrap_NAME and those of __real_NAME to the system: its names, not ours.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
extern "C" {

ssize_t __real_write(int descriptor, const void* data, size_t size);
int __real_close(int descriptor);
ssize_t __wrap_write(int descriptor, const void* data, size_t size);
int __wrap_close(int descriptor);

ssize_t __wrap_write(int descriptor, const void* data, size_t size)
{
    if (faults().interruptedWrites > 0) {
        --faults().interruptedWrites;
        errno = EINTR;
        return -1;
    }
    return faults().writesTakeNothing ? 0 : __real_write(descriptor, data, size);
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
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)

FaultyFileCalls::~FaultyFileCalls()
{
    faults() = Faults();
}

void FaultyFileCalls::interruptWrites(int count)
{
    faults().interruptedWrites = count;
}

void FaultyFileCalls::letWritesTakeNothing()
{
    faults().writesTakeNothing = true;
}

void FaultyFileCalls::failToClose(int error)
{
    faults().closeError = error;
}
