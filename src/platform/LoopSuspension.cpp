#include "LoopSuspension.h"

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

bool isLoopSuspended = false;

QList<WaitingBlock>& waitingBlocks()
{
    static QList<WaitingBlock> blocks;
    return blocks;
}

} // namespace

LoopSuspension::LoopSuspension()
    : m_wasSuspended(RunLoop::current().isSuspended())
{
    Q_ASSERT(!isLoopSuspended);
    isLoopSuspended = true;
    RunLoop::current().setSuspended(true);
}

LoopSuspension::~LoopSuspension()
{
    isLoopSuspended = false;
    RunLoop::current().setSuspended(m_wasSuspended);
    for (const WaitingBlock& block : std::exchange(waitingBlocks(), {})) {
        if (QObject* const context = block.context) {
            // Asked again then: one of the blocks may suspend the loop again.
            QMetaObject::invokeMethod(
                context, [context, run = block.run] { whenResumed(*context, run); }, Qt::QueuedConnection);
        }
    }
}

bool LoopSuspension::isActive()
{
    return isLoopSuspended;
}

void LoopSuspension::whenResumed(QObject& context, std::function<void()> block)
{
    if (isLoopSuspended) {
        waitingBlocks().append({ &context, std::move(block) });
    } else {
        block();
    }
}
