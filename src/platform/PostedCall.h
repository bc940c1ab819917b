#pragma once

#include <QMetaObject>
#include <QObject>

#include <utility>

#ifdef __SANITIZE_THREAD__
#include <mutex>
#endif

/// Runs @p call on @p target's thread: from its loop, or with AutoConnection at once when that is the calling thread.
/// A target that is destroyed before drops it. ThreadSanitizer sees that the call begins after it was posted, which a
/// Qt that is not built for it keeps from it.
template <typename Call> void postCall(QObject* target, Call call, Qt::ConnectionType type = Qt::QueuedConnection)
{
#ifdef __SANITIZE_THREAD__
    static std::recursive_mutex posting; // Recursive for calls at once.
    const std::lock_guard lock(posting);
    QMetaObject::invokeMethod(
        target,
        [call = std::move(call)] {
            posting.lock();
            posting.unlock();
            call();
        },
        type);
#else
    QMetaObject::invokeMethod(target, std::move(call), type);
#endif
}
