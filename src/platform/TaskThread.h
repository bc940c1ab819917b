#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

/// A thread that does one task after the other, in the order in which they were posted, and sleeps in between. It
/// begins with the first task. Belongs to the thread that makes it; any may post.
class TaskThread {
public:
    using Task = std::function<void()>;

    TaskThread();
    TaskThread(const TaskThread&) = delete;
    TaskThread& operator=(const TaskThread&) = delete;
    /// Waits until all tasks are done.
    ~TaskThread();

    /// Has @p task done, which owns all that it uses. Before it begins, it waits @p rest for more to come, as long as
    /// nothing else is to be done.
    void post(Task task, std::chrono::milliseconds rest = {});
    /// Waits until all tasks are done; false when they are not within @p limit.
    bool finish(std::chrono::milliseconds limit);

private:
    struct Shared;

    static void run(Shared& shared);

    std::shared_ptr<Shared> m_shared; ///< With the thread.
    std::thread m_thread;
};
