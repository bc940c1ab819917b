#include "WorkerCall.h"

#include "PostedCall.h"

#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

struct WorkerCall::Shared {
    std::mutex mutex;
    WorkerCall* caller = nullptr; ///< Null when nobody waits any more.
    std::optional<bool> answer;

    void setAnswer(bool value)
    {
        const std::lock_guard lock(mutex);
        answer = value;
        if (caller != nullptr) {
            postCall(caller, [caller = caller] { emit caller->answered(); });
        }
    }
};

WorkerCall::WorkerCall(std::function<bool()> call)
    : m_shared(std::make_shared<Shared>())
{
    m_shared->caller = this;
    try {
        std::thread([shared = m_shared, call = std::move(call)] { shared->setAnswer(call()); }).detach();
    } catch (const std::system_error&) {
        m_shared->setAnswer(false);
    }
}

WorkerCall::~WorkerCall()
{
    const std::lock_guard lock(m_shared->mutex);
    m_shared->caller = nullptr;
}

std::optional<bool> WorkerCall::answer() const
{
    const std::lock_guard lock(m_shared->mutex);
    return m_shared->answer;
}
