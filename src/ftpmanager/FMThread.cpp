#include "FMThread.h"

#include "FTPEngine.h"

#include <QtCore/private/qthread_p.h>

#include <condition_variable>
#include <latch>
#include <mutex>
#include <sys/eventfd.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

/// A block that runs elsewhere, and somebody who waits for its end.
class WaitedBlock {
public:
    explicit WaitedBlock(const std::function<void()>& block)
        : m_block(block)
    {
    }

    void threadMain()
    {
        m_begun.count_down();
        m_block();
        FTPEngine::leaveThread();
        // Notified under the lock: the waiting caller destroys this as soon as it sees the flag.
        const std::lock_guard lock(m_mutex);
        m_finished = true;
        m_waitCondition.notify_all();
    }

    void waitForBegin() const { m_begun.wait(); }

    void wait()
    {
        std::unique_lock lock(m_mutex);
        m_waitCondition.wait(lock, [this] { return m_finished; });
    }

private:
    const std::function<void()>& m_block;
    std::latch m_begun{ 1 };
    std::mutex m_mutex;
    std::condition_variable m_waitCondition;
    bool m_finished = false;
};

/// A thread whose loop delivers events in a program without an application object, too; Qt has it for its own use.
/// On any other thread sockets and timers would be silent there.
class LoopThread final : public QDaemonThread {
public:
    explicit LoopThread(WaitedBlock& block)
        : m_block(block)
    {
    }

private:
    void run() override { m_block.threadMain(); }

    WaitedBlock& m_block;
};

/// Held from the question whether there is a descriptor for a loop until the loop has it.
std::mutex loopMaking;

/// Whether the system has a descriptor for a loop. Without one Qt would end the program.
bool canMakeLoop()
{
    const int descriptor = ::eventfd(0, EFD_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    ::close(descriptor);
    return true;
}

/// A conversation over a control connection needs no loop, and finds out by itself what is missing.
void runWithoutLoop(WaitedBlock& block)
{
    try {
        std::thread thread(&WaitedBlock::threadMain, &block);
        block.wait();
        thread.join();
    } catch (const std::system_error&) { // NOLINT(bugprone-empty-catch): the block does not run.
    }
}

} // namespace

namespace quillbox {

void FMThread::runInSeparateThread(const std::function<void()>& block)
{
    WaitedBlock waited(block);
    std::unique_lock lock(loopMaking);
    if (!canMakeLoop()) {
        lock.unlock();
        runWithoutLoop(waited);
        return;
    }
    LoopThread thread(waited);
    thread.start();
    if (thread.isRunning() || thread.isFinished()) { // Neither, where the system has no thread left.
        waited.waitForBegin();
        lock.unlock();
        waited.wait();
    }
    // The thread still puts away what belongs to it, its connections among them. They shall not outlive the call.
    thread.wait();
}

} // namespace quillbox
