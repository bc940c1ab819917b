#include "BesideLoop.h"

#include <QObject>

#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace {

/// Who waits for the work; null when he is gone.
struct Waiting {
    std::mutex mutex;
    QObject* context;
};

} // namespace

void runBesideLoop(std::function<void()> work, QObject* context, const std::function<void()>& done)
{
    const auto waiting = std::make_shared<Waiting>();
    waiting->context = context;
    QObject::connect(context, &QObject::destroyed, [waiting] {
        const std::lock_guard lock(waiting->mutex);
        waiting->context = nullptr;
    });
    const auto report = [waiting, done] {
        const std::lock_guard lock(waiting->mutex);
        if (waiting->context == nullptr) {
            return;
        }
        const auto call = [waiting, done] {
            // Behind the lock, what the work has done shows in this thread.
            std::unique_lock(waiting->mutex).unlock();
            done();
        };
        QMetaObject::invokeMethod(waiting->context, call, Qt::QueuedConnection);
    };
    try {
        std::thread([work = std::move(work), report] {
            work();
            report();
        }).detach();
    } catch (const std::system_error&) {
        report();
    }
}
