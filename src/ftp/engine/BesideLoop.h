#pragma once

#include <functional>

class QObject;

/// Runs @p work on a thread of its own. Nothing waits for it, and it may outlive the program's end. False where the
/// system has no thread left; then it does not run.
bool runBeside(std::function<void()> work);

/// Likewise, and then @p done on the calling thread's loop, unless @p context is destroyed before. Where the system has
/// no thread left, @p done follows without the work.
void runBesideLoop(std::function<void()> work, QObject* context, const std::function<void()>& done);
