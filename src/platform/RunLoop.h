#pragma once

#include <QObject>

#include <functional>
#include <mutex>

/// The run loop of a thread, on top of Qt's event loop: streams report from it, and delayed blocks run on it.
class RunLoop final : public QObject {
    Q_OBJECT

public:
    /// The calling thread's loop, made on first use. It lives as long as the thread.
    static RunLoop& current();

    /// Runs until stop(). Not used on the main thread, whose loop the application runs.
    void run();
    /// Ends the present or the next run(). Safe from any thread.
    void stop();

    /// Whether the loop has left its default mode: while it is suspended, no stream of this thread reports anything and
    /// the watchdogs are suspended. Set by the thread itself.
    bool isSuspended() const { return m_suspended; }
    void setSuspended(bool suspended);

    /// Runs @p block on the main thread's loop after @p delayMs milliseconds, and not while the loop is suspended (see
    /// LoopSuspension), unless @p context, an object of the main thread's, is destroyed before. Safe from any thread. A
    /// null context means the life of the application. Until then @p context, or the application, has a single-shot
    /// QTimer for it among its children.
    static void dispatchAfter(int delayMs, QObject* context, std::function<void()> block);

private:
    RunLoop() = default;

    void quitIfStopped();

    bool m_suspended = false;

    std::mutex m_mutex; ///< Guards what stop() reaches from other threads.
    bool m_stopRequested = false;
    class QEventLoop* m_loop = nullptr; ///< Set while run() runs.
};
