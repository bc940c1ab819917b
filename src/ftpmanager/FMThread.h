#pragma once

#include <QtGlobal>

#include <functional>

namespace quillbox {

/// Runs a block on a thread of its own while the caller waits.
class Q_DECL_EXPORT FMThread final {
public:
    /// Runs a block on a new thread, which has a run loop of its own, and returns when the block has finished and the
    /// thread is gone, never before. When the system has no thread left, the block does not run. Safe on any thread;
    /// nothing waits for the loop of the calling thread, and there need not be an application object.
    /// @param block what is run; it throws nothing
    static void runInSeparateThread(const std::function<void()>& block);
};

} // namespace quillbox

#ifndef QUILLBOX_NO_GLOBAL_NAMES
using quillbox::FMThread;
#endif
