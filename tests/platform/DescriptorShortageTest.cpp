#include "DescriptorShortage.h"

#include "OpenDescriptors.h"
#include "WaitFor.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

TEST(DescriptorShortageTest, WhileThereIsADescriptorNothingIsWaitedFor)
{
    DescriptorShortage shortage(1min);

    EXPECT_FALSE(shortage.isToBeWaitedOut());
}

TEST(DescriptorShortageTest, AShortageIsWaitedOutUntilItIsOver)
{
    DescriptorShortage shortage(1min);
    {
        const NoDescriptorLeft none;
        EXPECT_TRUE(shortage.isToBeWaitedOut());
        EXPECT_TRUE(shortage.isToBeWaitedOut());
    }

    EXPECT_FALSE(shortage.isToBeWaitedOut());
}

TEST(DescriptorShortageTest, OneThatLastsIsWaitedOutForItsTimeAndTheNextOneAnew)
{
    DescriptorShortage shortage(50ms);
    QElapsedTimer time;
    time.start();
    const NoDescriptorLeft none;

    EXPECT_TRUE(waitFor([&] { return !shortage.isToBeWaitedOut(); }));

    EXPECT_GE(time.elapsed(), 50);
    EXPECT_TRUE(shortage.isToBeWaitedOut());
}

} // namespace
