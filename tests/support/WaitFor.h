#pragma once

#include <chrono>
#include <functional>

/// Runs the event loop until @p condition holds; answers false when it does not within @p limit.
bool waitFor(const std::function<bool()>& condition, std::chrono::milliseconds limit = std::chrono::seconds(20));

/// Runs the event loop until nothing is left to do in it, without waiting for timers or sockets.
void drainEventLoop();
