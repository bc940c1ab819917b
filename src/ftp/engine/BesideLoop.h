#pragma once

#include <functional>

class QObject;

/// Runs @p work on a thread of its own, and then @p done on the calling thread's loop, unless @p context is destroyed
/// before. Nothing waits for the work, which may outlive the loop and the program's end. Where the system has no thread
/// left, @p done follows without the work.
void runBesideLoop(std::function<void()> work, QObject* context, const std::function<void()>& done);
