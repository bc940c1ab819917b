#include "RunningOperation.h"

#include "FTPEngine.h"
#include "FTPManagerLog.h"

#include <QtCore/private/qabstracteventdispatcher_p.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <pthread.h>
#include <utility>

namespace {

/// How long the end of the program waits for operations to end.
constexpr std::chrono::seconds endGrace{ 2 };

struct Operations {
    std::mutex mutex;
    std::condition_variable ended;
    std::map<const quillbox::RunningOperation*, std::function<void()>> running; ///< And how each is ended.
    bool isProgramEnding = false;
};

Operations& operations()
{
    static auto& all = *new Operations; // Also for threads that are there until the very end.
    return all;
}

void lock()
{
    operations().mutex.lock();
}

void unlock()
{
    operations().mutex.unlock();
}

/// A child of the process has none of the threads, and shares the connections.
void forget()
{
    operations().running.clear();
    unlock();
}

void endOperations()
{
    std::unique_lock lock(operations().mutex);
    if (std::exchange(operations().isProgramEnding, true)) {
        return;
    }
    for (const auto& [operation, end] : operations().running) {
        if (end != nullptr) {
            end();
        }
    }
    operations().ended.wait_for(lock, endGrace, [] { return operations().running.empty(); });
}

/// Its static object is destroyed after those that were made later.
struct ProgramEnd {
    ProgramEnd() = default;
    ProgramEnd(const ProgramEnd&) = delete;
    ProgramEnd& operator=(const ProgramEnd&) = delete;
    ~ProgramEnd() { endOperations(); }
};

/// What operations need is made first, and so it is destroyed after this.
struct Needs : ProgramEnd {
    Needs()
    {
        FTPEngine::prepareForTheEnd();
        static_cast<void>(ftpManagerLog());
        static_cast<void>(qFormatLogMessage(QtWarningMsg, {}, {}));
        QAbstractEventDispatcherPrivate::releaseTimerId(QAbstractEventDispatcherPrivate::allocateTimerId());
        ::pthread_atfork(lock, unlock, forget);
    }
};

} // namespace

namespace quillbox {

RunningOperation::RunningOperation()
{
    prepareForTheEnd();
    const std::lock_guard lock(operations().mutex);
    m_mayBegin = !operations().isProgramEnding;
    if (m_mayBegin) {
        operations().running[this] = nullptr;
    }
}

RunningOperation::~RunningOperation()
{
    const std::lock_guard lock(operations().mutex);
    operations().running.erase(this);
    operations().ended.notify_all();
}

void RunningOperation::setEnd(std::function<void()> end)
{
    const std::lock_guard lock(operations().mutex);
    if (end != nullptr && operations().isProgramEnding) {
        end();
    }
    operations().running[this] = std::move(end);
}

void RunningOperation::prepareForTheEnd()
{
    makeNeeds();
    static const ProgramEnd end;
}

void RunningOperation::makeNeeds()
{
    static const Needs needs;
}

} // namespace quillbox
