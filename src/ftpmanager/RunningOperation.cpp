#include "RunningOperation.h"

#include "FTPEngine.h"
#include "RunLoop.h"

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
    int running = 0;
    bool isProgramEnding = false;
};

Operations& operations()
{
    static auto& all = *new Operations; // Also for threads that are there until the very end.
    return all;
}

/// Its static object is destroyed before what operations need, since that is made first.
class ProgramEnd {
public:
    ProgramEnd() { FTPEngine::prepareForTheEnd(); }
    ProgramEnd(const ProgramEnd&) = delete;
    ProgramEnd& operator=(const ProgramEnd&) = delete;
    ~ProgramEnd()
    {
        std::unique_lock lock(operations().mutex);
        operations().isProgramEnding = true;
        for (RunLoop* const loop : operations().loops) {
            loop->stop();
        }
        operations().ended.wait_for(lock, endGrace, [] { return operations().running == 0; });
    }
};

} // namespace

namespace quillbox {

RunningOperation::RunningOperation()
{
    prepareForTheEnd();
    const std::lock_guard lock(operations().mutex);
    m_mayBegin = !operations().isProgramEnding;
    operations().running += m_mayBegin ? 1 : 0;
}

RunningOperation::~RunningOperation()
{
    const std::lock_guard lock(operations().mutex);
    operations().running -= m_mayBegin ? 1 : 0;
    operations().ended.notify_all();
}

void RunningOperation::setLoop(RunLoop* loop)
{
    const std::lock_guard lock(operations().mutex);
    operations().loops.erase(m_loop);
    m_loop = loop;
    if (loop != nullptr) {
        operations().loops.insert(loop);
        if (operations().isProgramEnding) {
            loop->stop();
        }
    }
}

void RunningOperation::prepareForTheEnd()
{
    static const ProgramEnd end;
}

} // namespace quillbox
