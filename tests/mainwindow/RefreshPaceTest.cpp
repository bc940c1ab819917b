#include "RefreshPace.h"

#include <gtest/gtest.h>

namespace {

class RefreshPaceTest : public ::testing::Test {
protected:
    /// A file goes up in @p duration milliseconds; answers whether the folder is to be listed then.
    bool upload(qint64 duration = 1, bool doOthersWait = true)
    {
        m_pace.uploadStarts();
        m_now += duration;
        return m_pace.isDueAfterUpload(doOthersWait);
    }
    void uploadTen()
    {
        for (int i = 0; i < 10; ++i) {
            EXPECT_TRUE(upload());
            list(1);
        }
    }
    void list(qint64 duration)
    {
        m_pace.listingBegan();
        m_now += duration;
        m_pace.listingEnded();
    }

    qint64 m_now = 1000;
    RefreshPace m_pace{ [this] { return m_now; } };
};

TEST_F(RefreshPaceTest, EachOfTheFirstTenFilesIsFollowedByAListingAndTheEleventhWaits)
{
    uploadTen();

    EXPECT_FALSE(upload());
}

TEST_F(RefreshPaceTest, TheFirstTenDoSoAlsoWhileAListingRuns)
{
    m_pace.listingBegan();
    for (int i = 0; i < 10; ++i) {
        EXPECT_TRUE(upload());
    }
}

TEST_F(RefreshPaceTest, TheLastFileIsAlwaysFollowedByAListing)
{
    uploadTen();
    m_pace.listingBegan();

    EXPECT_TRUE(upload(1, false));
}

TEST_F(RefreshPaceTest, TheNextListingBeginsAQuarterOfASecondAfterAShortOne)
{
    uploadTen();

    EXPECT_FALSE(upload(249));
    EXPECT_TRUE(upload(1));
}

TEST_F(RefreshPaceTest, ALongListingIsFollowedByUploadsAloneForFourTimesAsLong)
{
    uploadTen();
    list(1000);

    EXPECT_FALSE(upload(1999));
    EXPECT_FALSE(upload(1999));
    EXPECT_TRUE(upload(2));
}

TEST_F(RefreshPaceTest, NoneBeginsWhileAnotherRuns)
{
    uploadTen();
    m_pace.listingBegan();

    EXPECT_FALSE(upload(1500));
    m_pace.listingEnded();
}

TEST_F(RefreshPaceTest, ARefreshThatWasPutOffIsDueWhenItsTimeHasComeAndUntilAListingBegins)
{
    EXPECT_FALSE(m_pace.isRefreshDue());
    uploadTen();
    EXPECT_FALSE(upload());
    EXPECT_FALSE(m_pace.isRefreshDue());

    m_now += 250;
    EXPECT_TRUE(m_pace.isRefreshDue());
    list(1);

    m_now += 250;
    EXPECT_FALSE(m_pace.isRefreshDue());
}

TEST_F(RefreshPaceTest, AfterAPauseOfTwoSecondsTheRunBeginsAnew)
{
    uploadTen();
    list(1998); // And one before.
    EXPECT_FALSE(upload());

    list(2000);

    EXPECT_TRUE(upload());
}

} // namespace
