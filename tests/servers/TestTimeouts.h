#pragma once

#include "FTPTimeouts.h"

#include <chrono>

/// The usual time limits, but for that of a farewell: to a server that counts out at once who has left.
inline FTPTimeouts usualTimeouts()
{
    FTPTimeouts timeouts;
    timeouts.farewell = std::chrono::milliseconds(1);
    return timeouts;
}

/// Time limits that a test of silence can wait for.
inline FTPTimeouts shortTimeouts()
{
    using namespace std::chrono_literals;
    FTPTimeouts timeouts = usualTimeouts();
    timeouts.connect = 150ms;
    timeouts.reply = 150ms;
    timeouts.stalledData = 150ms;
    timeouts.confirmation = 150ms;
    timeouts.reason = 300ms;
    timeouts.acceptance = 50ms;
    return timeouts;
}
