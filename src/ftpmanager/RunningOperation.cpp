#include "RunningOperation.h"

#include "RunLoop.h"

#include <QTcpSocket>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>

namespace {

/// How long the end of the program waits for operations to end.
constexpr std::chrono::seconds endGrace{ 2 };

struct Operations {
    std::mutex mutex;
    std::condition_variable ended;
    std::set<RunLoop*> loops;
    bool isProgramEnding = false;
};

Operations& operations()
{
    static auto& all = *new Operations; // Also for threads that are there until the very end.
    return all;
}

/// Its static object is destroyed before those of Qt that sockets need, since these are made first.
class ProgramEnd {
public:
    ProgramEnd() { QTcpSocket().setSocketDescriptor(-1); }
    ProgramEnd(const ProgramEnd&) = delete;
    ProgramEnd& operator=(const ProgramEnd&) = delete;
    ~ProgramEnd()
    {
        std::unique_lock lock(operations().mutex);
        operations().isProgramEnding = true;
        for (RunLoop* const loop : operations().loops) {
            loop->stop();
        }
        operations().ended.wait_for(lock, endGrace, [] { return operations().loops.empty(); });
    }
};

} // namespace

namespace quillbox {

RunningOperation::RunningOperation()
{
    prepareForTheEnd();
    const std::lock_guard lock(operations().mutex);
    if (!operations().isProgramEnding) {
        m_loop = &RunLoop::current();
        operations().loops.insert(m_loop);
    }
}

RunningOperation::~RunningOperation()
{
    const std::lock_guard lock(operations().mutex);
    if (operations().loops.erase(m_loop) > 0) {
        operations().ended.notify_all();
    }
}

void RunningOperation::prepareForTheEnd()
{
    static const ProgramEnd end;
}

} // namespace quillbox
