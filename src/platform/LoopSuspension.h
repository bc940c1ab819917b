#pragma once

#include <functional>

class QObject;

/// Suspends the main thread's loop for as long as it lives: events are still handled, so that windows are painted, but
/// the program does nothing. No stream reports and no delayed block runs (see RunLoop); other input from outside goes
/// through whenResumed(). For the main thread; one at a time.
class LoopSuspension final {
public:
    LoopSuspension();
    LoopSuspension(const LoopSuspension&) = delete;
    LoopSuspension& operator=(const LoopSuspension&) = delete;
    ~LoopSuspension(); ///< Waiting blocks then run from the loop, in their order.

    static bool isActive();

    /// Runs @p block at once or, while the loop is suspended, as soon as it is resumed, unless @p context is destroyed
    /// before.
    static void whenResumed(QObject& context, std::function<void()> block);

private:
    bool m_wasSuspended; ///< The run loop was suspended already, by a menu for instance.
};
