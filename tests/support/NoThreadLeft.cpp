#include "NoThreadLeft.h"

#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <pthread.h>

namespace {

std::atomic<bool> isNoneLeft = false;

} // namespace

/// Comes before the system's, also for the libraries that make threads.
extern "C" __attribute__((visibility("default"))) int
pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*main)(void*), void* argument) noexcept
{
    static const auto create = reinterpret_cast<decltype(&pthread_create)>(::dlsym(RTLD_NEXT, "pthread_create"));
    return isNoneLeft ? EAGAIN : create(thread, attributes, main, argument);
}

NoThreadLeft::NoThreadLeft()
{
    isNoneLeft = true;
}

NoThreadLeft::~NoThreadLeft()
{
    isNoneLeft = false;
}
