// A timer of 10 ms without any toolkit, which does nothing: what waking up costs on this machine. Runs until it is
// killed.

#include <cstdint>
#include <poll.h>
#include <sys/timerfd.h>
#include <unistd.h>

int main()
{
    constexpr timespec interval{ 0, 10'000'000 };
    constexpr itimerspec always{ interval, interval };
    const int timer = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
    if (timer < 0 || ::timerfd_settime(timer, 0, &always, nullptr) != 0) {
        return 1;
    }
    for (;;) {
        pollfd state{ timer, POLLIN, 0 };
        std::uint64_t ticks = 0;
        if (::poll(&state, 1, -1) != 1 || ::read(timer, &ticks, sizeof ticks) != sizeof ticks) {
            return 1;
        }
    }
}
