#pragma once

#include <chrono>
#include <functional>

/// Runs the event loop until @p condition holds; answers false when it does not within @p limit. What is expected to
/// hold is waited for without a limit of one's own: others may keep the machine busy.
bool waitFor(const std::function<bool()>& condition, std::chrono::milliseconds limit = std::chrono::minutes(2));

/// Runs the event loop until nothing is left to do in it, without waiting for timers or sockets.
void drainEventLoop();
