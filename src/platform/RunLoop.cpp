#include "RunLoop.h"

#include "DeliveryGate.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThreadStorage>
#include <QTimer>

#include <utility>

RunLoop& RunLoop::current()
{
    static QThreadStorage<RunLoop*> loops;
    if (!loops.hasLocalData()) {
        loops.setLocalData(new RunLoop);
    }
    return *loops.localData();
}

void RunLoop::run()
{
    QEventLoop loop;
    m_loop = &loop;
    if (!m_stopRequested) {
        loop.exec();
    }
    m_loop = nullptr;
    m_stopRequested = false;
}

void RunLoop::stop()
{
    // Queued to the loop's own thread, where it cannot come between the test and the start of run().
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_stopRequested = true;
            if (m_loop != nullptr) {
                m_loop->quit();
            }
        },
        Qt::AutoConnection);
}

void RunLoop::setHeld(bool held)
{
    if (m_held != held) {
        m_held = held;
        DeliveryGate::ofThisThread().setClosed(held);
    }
}

void RunLoop::dispatchAfter(int delayMs, QObject* context, std::function<void()> block)
{
    QTimer::singleShot(delayMs, context != nullptr ? context : QCoreApplication::instance(), std::move(block));
}
