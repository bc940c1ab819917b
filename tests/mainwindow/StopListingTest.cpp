#include "ListingTable.h"
#include "ViewControllerTest.h"

#include <QAction>
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

    EXPECT_TRUE(waitFor([this] { return stop().isVisible(); }));

    stop().click();
    tick();
    EXPECT_FALSE(m_controller->lc().isReceiving());
    EXPECT_EQ(text("listingStatusTextField"), u"List Stopped"_s);
    EXPECT_FALSE(stop().isVisible());
    EXPECT_EQ(table().emptyText(), u"Could not list: List Stopped\nF5 tries again"_s);
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
