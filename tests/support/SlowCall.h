#pragma once

#include <functional>
#include <future>
#include <memory>
#include <thread>
#include <utility>

/// A call that blocks until it is released, at the latest at the end of the test, and then answers true.
class SlowCall {
public:
    SlowCall() = default;
    SlowCall(const SlowCall&) = delete;
    SlowCall& operator=(const SlowCall&) = delete;
    ~SlowCall()
    {
        release();
        while (!hasEnded()) {
            std::this_thread::yield();
        }
    }

    void release()
    {
        if (!std::exchange(m_isReleased, true)) {
            m_release.set_value();
        }
    }
    bool hasEnded() const { return m_isRunning.use_count() == 1; }

    /// What is to be called, as often as one likes.
    std::function<bool()> function() const
    {
        return [released = m_released, isRunning = m_isRunning] {
            released.wait();
            return true;
        };
    }

private:
    std::promise<void> m_release;
    std::shared_future<void> m_released = m_release.get_future().share();
    std::shared_ptr<int> m_isRunning = std::make_shared<int>(); ///< Shared with all copies of the function.
    bool m_isReleased = false;
};
