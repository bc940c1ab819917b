#include "ListingTable.h"
#include "LoopSuspension.h"
#include "ViewControllerTest.h"

#include <QAction>
#include <QElapsedTimer>
#include <QTest>
#include <QToolButton>

namespace {

class StopListingTest : public ViewControllerTest {
protected:
    StopListingTest()
    {
        m_controller->listFTPDestination();
        latest(Kind::Listing).reply = u"150 Here it comes"_s;
        latest(Kind::Listing).sendOpenCompleted();
        tick();
    }

    ListingTable& table() { return control<ListingTable>("destinationListingTable"); }
    QToolButton& stop() { return control<QToolButton>("stopListingButton"); }
};

TEST_F(StopListingTest, ItIsOfferedWhenNothingHasComeForAWhile)
{
    EXPECT_FALSE(stop().isVisible());
    QElapsedTimer sinceThen;
    sinceThen.start();
    m_controller->listing().pause(); // What was before does not count.

    EXPECT_TRUE(waitFor([this] { return stop().isVisible(); }));
    EXPECT_EQ(DestinationListing::patience, std::chrono::seconds(2));
    EXPECT_GE(sinceThen.elapsed(), std::chrono::milliseconds(DestinationListing::patience).count());

    stop().click();
    tick();
    EXPECT_FALSE(m_controller->lc().isReceiving());
    EXPECT_EQ(text("listingStatusTextField"), u"List Stopped"_s);
    EXPECT_FALSE(stop().isVisible());
    EXPECT_EQ(table().emptyText(), u"Could not list: List Stopped\nF5 tries again"_s);
}

TEST_F(StopListingTest, ItIsNotOfferedForATimeInWhichNothingCouldCome)
{
    ASSERT_TRUE(waitFor([this] { return m_controller->listing().isStuck(); }));

    {
        const LoopSuspension suspension;
        tick();
    }

    EXPECT_FALSE(m_controller->listing().isStuck());
}

TEST_F(StopListingTest, ItIsNotOfferedAnyMoreWhenSomethingComes)
{
    ASSERT_TRUE(waitFor([this] { return m_controller->listing().isStuck(); }));

    latest(Kind::Listing).sendBytes("-rw-r--r-- 1 u g 5 Jan 1 2024 a\r\n");

    EXPECT_FALSE(m_controller->listing().isStuck());
}

TEST_F(StopListingTest, TheMenuAndEscapeInTheTableEndIt)
{
    QAction& action = control<QAction>("stopListingAction");
    EXPECT_TRUE(action.isEnabled());
    action.trigger();
    EXPECT_FALSE(m_controller->lc().isReceiving());
    tick();
    EXPECT_FALSE(action.isEnabled());

    m_controller->listFTPDestination();
    tick();
    QApplication::setActiveWindow(&m_controller->window());
    auto& dropArea = control<QWidget>("dragAndDropView");
    dropArea.setFocus();
    QTest::keyClick(&dropArea, Qt::Key_Escape);
    EXPECT_TRUE(m_controller->lc().isReceiving());
    table().setFocus();
    QTest::keyClick(&table(), Qt::Key_Escape);
    EXPECT_FALSE(m_controller->lc().isReceiving());
}

TEST_F(StopListingTest, ARefreshGoesOnWithAListingThatMoves)
{
    control<QAction>("refreshAction").trigger();

    EXPECT_EQ(count(Kind::Listing), 1);
    EXPECT_TRUE(m_controller->lc().isReceiving());
}

TEST_F(StopListingTest, ARefreshGivesUpAListingThatIsStuckAndBeginsAnew)
{
    ASSERT_TRUE(waitFor([this] { return stop().isVisible(); }));

    control<QAction>("refreshAction").trigger();

    EXPECT_EQ(count(Kind::Listing), 2);
    EXPECT_TRUE(m_controller->lc().isReceiving());
    tick();
    EXPECT_FALSE(stop().isVisible());
}

} // namespace
