#include "BesideLoop.h"

#include <QObject>

#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace {

/// How somebody who waits hears that the work is done. The thread must not touch him, who may be gone, nor post
/// anything of ours: it has an object destroyed that belongs to the loop.
struct Bell {
    std::mutex mutex;
    QObject* object = new QObject; ///< Its end is the ring; null once it was rung, or when nobody waits any more.

    void ring()
    {
        const std::lock_guard lock(mutex);
        if (object != nullptr) {
            std::exchange(object, nullptr)->deleteLater();
        }
    }
    void silence()
    {
        const std::lock_guard lock(mutex);
        delete std::exchange(object, nullptr);
    }
};

} // namespace

bool runBeside(std::function<void()> work)
{
    try {
        std::thread(std::move(work)).detach();
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

void runBesideLoop(std::function<void()> work, QObject* context, const std::function<void()>& done)
{
    const auto bell = std::make_shared<Bell>();
    QObject::connect(context, &QObject::destroyed, [bell] { bell->silence(); });
    QObject::connect(
        bell->object, &QObject::destroyed, context,
        [bell, done] {
            // Behind the lock, what the work has done shows in this thread.
            std::unique_lock(bell->mutex).unlock();
            done();
        },
        Qt::QueuedConnection);
    const bool runs = runBeside([work = std::move(work), bell] {
        work();
        bell->ring();
    });
    if (!runs) {
        bell->ring();
    }
}
