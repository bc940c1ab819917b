#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>

/// Runs a block on a thread of its own while the caller waits.
class FMThread final {
public:
    /// Runs @p block on a new thread, which has a run loop of its own, and returns when the block has finished and the
    /// thread is gone, never before. When the system has no thread left, the block does not run. Safe on any thread;
    /// nothing waits for the loop of the calling thread.
    static void runInSeparateThread(std::function<void()> block);

private:
    explicit FMThread(std::function<void()> block);

    void threadMain();

    std::function<void()> m_block;
    std::mutex m_mutex;
    std::condition_variable m_waitCondition;
    bool m_finished = false;
};
