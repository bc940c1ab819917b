#include "TaskThread.h"

#include "NoThreadLeft.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

namespace {

TEST(TaskThreadTest, TasksAreDoneInTheirOrderOnOneOtherThread)
{
    TaskThread thread;
    std::vector<int> done;
    std::vector<std::thread::id> threads;
    for (int number = 0; number < 100; ++number) {
        thread.post([&done, &threads, number] {
            done.push_back(number);
            threads.push_back(std::this_thread::get_id());
        });
    }
    ASSERT_TRUE(thread.finish(60s));

    ASSERT_EQ(done.size(), 100);
    for (int number = 0; number < 100; ++number) {
        EXPECT_EQ(done[static_cast<size_t>(number)], number);
        EXPECT_EQ(threads[static_cast<size_t>(number)], threads[0]);
    }
    EXPECT_NE(threads[0], std::this_thread::get_id());
}

TEST(TaskThreadTest, ATaskThatMayRestWaitsUntilAnotherOneComesOrTheEndIsWaitedFor)
{
    TaskThread thread;
    std::promise<void> done;
    std::future<void> isDone = done.get_future();
    thread.post([&done] { done.set_value(); }, 1h);
    EXPECT_EQ(isDone.wait_for(20ms), std::future_status::timeout);
    thread.post([] {});
    EXPECT_EQ(isDone.wait_for(60s), std::future_status::ready);

    std::atomic<bool> isLastDone = false;
    thread.post([&isLastDone] { isLastDone = true; }, 1h);
    EXPECT_TRUE(thread.finish(60s));
    EXPECT_TRUE(isLastDone);
}

TEST(TaskThreadTest, ATaskThatHangsIsNotWaitedForLongerThanIsSaid)
{
    std::promise<void> release;
    TaskThread thread;
    thread.post([released = release.get_future().share()] { released.wait(); });
    EXPECT_FALSE(thread.finish(20ms));
    release.set_value();
    EXPECT_TRUE(thread.finish(60s));
}

TEST(TaskThreadTest, WithoutAThreadNoTaskIsDoneBeforeThereIsOne)
{
    TaskThread thread;
    int done = 0;
    {
        const NoThreadLeft none;
        thread.post([&done] { ++done; });
        EXPECT_FALSE(thread.finish(60s));
    }

    thread.post([&done] { ++done; });

    EXPECT_TRUE(thread.finish(60s));
    EXPECT_EQ(done, 2);
}

TEST(TaskThreadTest, AllTasksAreDoneWhenItGoes)
{
    int done = 0;
    {
        TaskThread thread;
        thread.post([&done] { ++done; }, 1h);
        thread.post([&done] { ++done; }, 1h);
    }
    EXPECT_EQ(done, 2);
    EXPECT_TRUE(TaskThread().finish(1ms)); // It has never begun.
}

} // namespace
