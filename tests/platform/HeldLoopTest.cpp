#include "HeldLoop.h"

#include "DeliveryGate.h"
#include "RunLoop.h"
#include "WaitFor.h"

#include <QList>
#include <QObject>
#include <QTimer>

#include <gtest/gtest.h>

#include <memory>

namespace {

class HeldLoopTest : public ::testing::Test {
protected:
    /// Runs the loop until a timer set now, and so every one that was due before it, has fired.
    static void pass(int milliseconds)
    {
        bool isOver = false;
        QTimer::singleShot(milliseconds, [&isOver] { isOver = true; });
        ASSERT_TRUE(waitFor([&isOver] { return isOver; }));
    }
    std::function<void()> note(int number)
    {
        return [this, number] { m_ran.append(number); };
    }

    QObject m_context;
    QList<int> m_ran;
};

TEST_F(HeldLoopTest, StreamsAreHeldAlongWithIt)
{
    EXPECT_FALSE(HeldLoop::isActive());
    {
        const HeldLoop held;

        EXPECT_TRUE(HeldLoop::isActive());
        EXPECT_TRUE(RunLoop::current().isHeld());
        EXPECT_TRUE(DeliveryGate::ofThisThread().isClosed());
    }

    EXPECT_FALSE(HeldLoop::isActive());
    EXPECT_FALSE(DeliveryGate::ofThisThread().isClosed());
}

TEST_F(HeldLoopTest, StreamsThatAMenuHeldStayHeld)
{
    RunLoop::current().setHeld(true);
    {
        const HeldLoop held;
    }

    EXPECT_TRUE(RunLoop::current().isHeld());
    RunLoop::current().setHeld(false);
}

TEST_F(HeldLoopTest, DelayedBlocksWaitAndThenRunInTheOrderInWhichTheyWereDue)
{
    RunLoop::dispatchAfter(30, &m_context, note(3));
    RunLoop::dispatchAfter(10, &m_context, note(1));
    RunLoop::dispatchAfter(20, nullptr, note(2));
    {
        const HeldLoop held;
        pass(50);
        EXPECT_TRUE(m_ran.isEmpty());
    }
    EXPECT_TRUE(m_ran.isEmpty()); // From the loop alone.

    pass(0);

    EXPECT_EQ(m_ran, (QList<int>{ 1, 2, 3 }));
}

TEST_F(HeldLoopTest, ABlockRunsAtOnceWhileTheLoopIsFree)
{
    HeldLoop::whenFree(m_context, note(1));

    EXPECT_EQ(m_ran, QList<int>{ 1 });
}

TEST_F(HeldLoopTest, ABlockWhoseContextIsGoneNeverRuns)
{
    auto context = std::make_unique<QObject>();
    {
        const HeldLoop held;
        HeldLoop::whenFree(*context, note(1));
        HeldLoop::whenFree(m_context, note(2));
        context.reset();
    }

    pass(0);

    EXPECT_EQ(m_ran, QList<int>{ 2 });
}

TEST_F(HeldLoopTest, ABlockThatHoldsTheLoopAgainKeepsTheOthersBack)
{
    {
        const HeldLoop held;
        HeldLoop::whenFree(m_context, [this] {
            const HeldLoop heldAgain;
            pass(0);
            m_ran.append(1);
        });
        HeldLoop::whenFree(m_context, note(2));
    }

    ASSERT_TRUE(waitFor([this] { return m_ran.size() == 2; }));

    EXPECT_EQ(m_ran, (QList<int>{ 1, 2 }));
}

} // namespace
