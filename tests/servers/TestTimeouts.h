#pragma once

#include "FTPTimeouts.h"

#include <chrono>

/// The usual time limits, but for the one behind a QUIT: to a server that ends a session as soon as it has closed it.
inline FTPTimeouts usualTimeouts()
{
    FTPTimeouts timeouts;
    timeouts.quitGrace = std::chrono::milliseconds(1);
    return timeouts;
}

/// Time limits that a test of silence can wait for.
inline FTPTimeouts shortTimeouts()
{
    using namespace std::chrono_literals;
    FTPTimeouts timeouts = usualTimeouts();
    timeouts.connect = 150ms;
    timeouts.reply = 150ms;
    timeouts.careful = 150ms;
    timeouts.stalledData = 150ms;
    timeouts.confirmation = 150ms;
    timeouts.reason = 300ms;
    timeouts.acceptance = 50ms;
    return timeouts;
}
