#include "FMThread.h"

#include <system_error>
#include <thread>
#include <utility>

FMThread::FMThread(std::function<void()> block)
    : m_block(std::move(block))
{
}

void FMThread::runInSeparateThread(std::function<void()> block)
{
    FMThread self(std::move(block));
    std::thread thread;
    try {
        thread = std::thread(&FMThread::threadMain, &self);
    } catch (const std::system_error&) {
        return;
    }
    std::unique_lock lock(self.m_mutex);
    self.m_waitCondition.wait(lock, [&self] { return self.m_finished; });
    lock.unlock();
    // The thread still puts away what belongs to it, its connections among them. They shall not outlive the call.
    thread.join();
}

void FMThread::threadMain()
{
    m_block();
    // Notified under the lock: the waiting caller owns this object and may destroy it as soon as it sees the flag.
    const std::lock_guard lock(m_mutex);
    m_finished = true;
    m_waitCondition.notify_all();
}
