#pragma once

#include <functional>

class QObject;

/// Holds the main thread's loop for as long as it lives: between a call and its answer the loop may run, so that
/// windows are painted, but nothing of the program does. No stream reports, no delayed block runs (see RunLoop), and
/// whatever else comes from outside asks whenFree(). For the main thread; one at a time.
class HeldLoop final {
public:
    HeldLoop();
    HeldLoop(const HeldLoop&) = delete;
    HeldLoop& operator=(const HeldLoop&) = delete;
    ~HeldLoop(); ///< What has waited runs from the loop, in its order.

    static bool isActive();

    /// Runs @p block at once, or while the loop is held, when it is free again, unless @p context is destroyed before.
    static void whenFree(QObject& context, std::function<void()> block);

private:
    bool m_wasHeld; ///< The run loop was held already, by a menu for instance.
};
