#include "TaskThread.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <utility>

struct TaskThread::Shared {
    struct Posted {
        Task task;
        std::chrono::steady_clock::time_point due;
    };

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Posted> tasks; ///< The one that is being done included.
    bool isHurried = false; ///< Somebody waits for the end.
    bool isEnding = false;
};

TaskThread::TaskThread()
    : m_shared(std::make_shared<Shared>())
{
}

TaskThread::~TaskThread()
{
    {
        const std::lock_guard lock(m_shared->mutex);
        m_shared->isEnding = true;
        m_shared->isHurried = true;
    }
    m_shared->changed.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void TaskThread::post(Task task, std::chrono::milliseconds rest)
{
    const std::lock_guard lock(m_shared->mutex);
    m_shared->tasks.push_back({ std::move(task), std::chrono::steady_clock::now() + rest });
    m_shared->changed.notify_all();
    if (m_thread.joinable()) {
        return;
    }
    try {
        m_thread = std::thread([shared = m_shared] { run(*shared); });
    } catch (const std::system_error&) { // The next task may find the system with a thread to spare.
    }
}

bool TaskThread::finish(std::chrono::milliseconds limit)
{
    std::unique_lock lock(m_shared->mutex);
    if (!m_thread.joinable()) {
        return m_shared->tasks.empty();
    }
    m_shared->isHurried = true;
    m_shared->changed.notify_all();
    const bool isDone = m_shared->changed.wait_for(lock, limit, [this] { return m_shared->tasks.empty(); });
    m_shared->isHurried = false;
    return isDone;
}

void TaskThread::run(Shared& shared)
{
    std::unique_lock lock(shared.mutex);
    while (true) {
        shared.changed.wait(lock, [&shared] { return !shared.tasks.empty() || shared.isEnding; });
        if (shared.tasks.empty()) {
            return;
        }
        shared.changed.wait_until(lock, shared.tasks.front().due,
                                  [&shared] { return shared.tasks.size() > 1 || shared.isHurried; });
        Task task = std::move(shared.tasks.front().task);
        lock.unlock();
        task();
        task = nullptr; // What it owns goes here, outside the lock.
        lock.lock();
        shared.tasks.pop_front();
        shared.changed.notify_all();
    }
}
