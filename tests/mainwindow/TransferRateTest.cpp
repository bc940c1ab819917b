#include "TransferRate.h"

#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

TEST(TransferRateTest, NothingIsToldBeforeTwoLooks)
{
    TransferRate rate;
    EXPECT_TRUE(rate.speedText().isNull());
    rate.add(1s, 1000);
    EXPECT_TRUE(rate.speedText().isNull());
    EXPECT_TRUE(rate.timeLeftText(10).isNull());
    rate.add(1s, 2000);
    EXPECT_FALSE(rate.bytesPerSecond());
}

TEST(TransferRateTest, SpeedAndTimeLeftFollowFromWhatMoved)
{
    TransferRate rate;
    rate.add(1s, 0);
    rate.add(3s, 4'000'000);

    EXPECT_EQ(rate.bytesPerSecond(), 2'000'000);
    EXPECT_EQ(rate.speedText(), u"2 MB/s"_s);
    EXPECT_EQ(rate.timeLeftText(10), u"19 s left"_s);
    EXPECT_TRUE(rate.timeLeftText(0).isNull());
    EXPECT_TRUE(rate.timeLeftText(100).isNull());
}

TEST(TransferRateTest, OnlyTheLastSecondsCount)
{
    TransferRate rate;
    rate.add(0s, 0);
    for (int second = 1; second <= 20; ++second) {
        rate.add(std::chrono::seconds(second), second <= 10 ? 0U : static_cast<quint64>(second - 10) * 1000U);
    }

    EXPECT_EQ(rate.bytesPerSecond(), 1000);
}

TEST(TransferRateTest, AnotherTransferStartsOver)
{
    TransferRate rate;
    rate.add(1s, 0);
    rate.add(2s, 1'000'000);

    rate.add(3s, 5);
    EXPECT_FALSE(rate.bytesPerSecond());
    rate.add(4s, 1005);
    EXPECT_EQ(rate.bytesPerSecond(), 1000);
}

TEST(TransferRateTest, AStandstillHasNoEnd)
{
    TransferRate rate;
    rate.add(1s, 1000);
    rate.add(2s, 1000);

    EXPECT_EQ(rate.speedText(), u"Zero KB/s"_s);
    EXPECT_TRUE(rate.timeLeftText(50).isNull());
}

} // namespace
