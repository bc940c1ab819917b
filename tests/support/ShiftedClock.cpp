// A wall clock that a test can make jump: it takes the place of the C library's, which all others ask. Linked into a
// test it obeys shiftWallClock(). Preloaded into a program it obeys the file that SHIFTED_CLOCK names, whose first
// eight bytes are the shift in seconds, and which may change at any time.

#include "ShiftedClock.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

std::atomic<int64_t> ownShift = 0;
/// Set once, before there are threads; the clock may be asked before.
std::atomic<const std::atomic<int64_t>*> currentShift = &ownShift;

__attribute__((constructor)) void followFile()
{
    const char* const path = std::getenv("SHIFTED_CLOCK");
    const int file = path == nullptr ? -1 : ::open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return;
    }
    void* const bytes = ::mmap(nullptr, sizeof(int64_t), PROT_READ, MAP_SHARED, file, 0);
    ::close(file);
    if (bytes != MAP_FAILED) {
        currentShift = static_cast<const std::atomic<int64_t>*>(bytes);
    }
}

} // namespace

void shiftWallClock(std::chrono::seconds shift)
{
    ownShift = shift.count();
}

extern "C" {

__attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    const long result = ::syscall(SYS_clock_gettime, clock, time);
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) {
        time->tv_sec += currentShift.load()->load();
    }
    return static_cast<int>(result);
}

__attribute__((visibility("default"))) int gettimeofday(timeval* time, void* /*zone*/) noexcept
{
    timespec now{};
    const int result = clock_gettime(CLOCK_REALTIME, &now);
    time->tv_sec = now.tv_sec;
    time->tv_usec = now.tv_nsec / 1000;
    return result;
}

__attribute__((visibility("default"))) time_t time(time_t* answer) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (answer != nullptr) {
        *answer = now.tv_sec;
    }
    return now.tv_sec;
}
}
