#include "HeldLoop.h"

#include "RunLoop.h"

#include <QList>
#include <QObject>
#include <QPointer>

#include <utility>

namespace {

struct WaitingBlock {
    QPointer<QObject> context;
    std::function<void()> run;
};

bool isLoopHeld = false;

QList<WaitingBlock>& waitingBlocks()
{
    static QList<WaitingBlock> blocks;
    return blocks;
}

} // namespace

HeldLoop::HeldLoop()
    : m_wasHeld(RunLoop::current().isHeld())
{
    Q_ASSERT(!isLoopHeld);
    isLoopHeld = true;
    RunLoop::current().setHeld(true);
}

HeldLoop::~HeldLoop()
{
    isLoopHeld = false;
    RunLoop::current().setHeld(m_wasHeld);
    for (const WaitingBlock& block : std::exchange(waitingBlocks(), {})) {
        if (QObject* const context = block.context) {
            // Asked again then: one of them may hold the loop anew.
            QMetaObject::invokeMethod(
                context, [context, run = block.run] { whenFree(*context, run); }, Qt::QueuedConnection);
        }
    }
}

bool HeldLoop::isActive()
{
    return isLoopHeld;
}

void HeldLoop::whenFree(QObject& context, std::function<void()> block)
{
    if (isLoopHeld) {
        waitingBlocks().append({ &context, std::move(block) });
    } else {
        block();
    }
}
