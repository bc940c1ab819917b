#include "RunLoop.h"

#include "DeliveryGate.h"
#include "LoopSuspension.h"
#include "PostedCall.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThreadStorage>
#include <QTimer>

#include <utility>

namespace {

/// @p target owns the timer: it ends with it, and can be asked what it waits for.
void runAfter(int delayMs, QObject& target, const std::function<void()>& block)
{
    auto* const timer = new QTimer(&target);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    QObject::connect(timer, &QTimer::timeout, timer, &QObject::deleteLater);
    QObject::connect(timer, &QTimer::timeout, &target, block);
    timer->start(delayMs);
}

} // namespace

RunLoop& RunLoop::current()
{
    static auto& loops = *new QThreadStorage<RunLoop*>; // Also for what ends with the process.
    if (!loops.hasLocalData()) {
        loops.setLocalData(new RunLoop);
    }
    return *loops.localData();
}

void RunLoop::run()
{
    QEventLoop loop;
    {
        const std::lock_guard lock(m_mutex);
        if (std::exchange(m_stopRequested, false)) {
            return;
        }
        m_loop = &loop;
    }
    // An event loop forgets that it was told to quit when that came before it ran. So it asks once more from inside.
    QMetaObject::invokeMethod(this, &RunLoop::quitIfStopped, Qt::QueuedConnection);
    loop.exec();
    const std::lock_guard lock(m_mutex);
    m_loop = nullptr;
    m_stopRequested = false;
}

void RunLoop::stop()
{
    // All under one lock: the thread may end, and this loop with it, as soon as it can see the request.
    const std::lock_guard lock(m_mutex);
    m_stopRequested = true;
    if (m_loop != nullptr) {
        m_loop->quit();
    }
}

void RunLoop::quitIfStopped()
{
    const std::lock_guard lock(m_mutex);
    if (m_stopRequested && m_loop != nullptr) {
        m_loop->quit();
    }
}

void RunLoop::setSuspended(bool suspended)
{
    if (m_suspended != suspended) {
        m_suspended = suspended;
        DeliveryGate::ofThisThread().setClosed(suspended);
    }
}

void RunLoop::dispatchAfter(int delayMs, QObject* context, std::function<void()> block)
{
    QObject* const target = context != nullptr ? context : QCoreApplication::instance();
    const auto runWhenResumed = [target, block = std::move(block)] { LoopSuspension::whenResumed(*target, block); };
    // On the target's thread, since the calling one may have no event loop of its own to start a timer on.
    postCall(
        target, [delayMs, target, runWhenResumed] { runAfter(delayMs, *target, runWhenResumed); }, Qt::AutoConnection);
}
