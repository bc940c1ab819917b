#include "ListingTable.h"
#include "ViewControllerTest.h"

namespace {

using ViewControllerListingTest = ViewControllerTest;

const QByteArray entryLine = "-rw-r--r--   1 user group       12 Nov 20  2025 one.txt\r\n";

TEST_F(ViewControllerListingTest, TheListingLogsInAsTheUser)
{
    m_controller->listFTPDestination();

    EXPECT_EQ(latest(Kind::Listing).calls.mid(0, 2), login);
}

TEST_F(ViewControllerListingTest, IdleTicksLeaveTheListOfARunningListingAloneWhileAnotherIsWanted)
{
    m_controller->listFTPDestination();
    latest(Kind::Listing).sendOpenCompleted();
    m_controller->listFTPDestination();
    latest(Kind::Listing).sendBytes(entryLine + entryLine);
    ASSERT_EQ(m_controller->listEntries().size(), 2);

    tick();
    tick();

    EXPECT_TRUE(m_controller->lc().isReceiving());
    EXPECT_EQ(m_controller->listEntries().size(), 2);
    EXPECT_EQ(count(Kind::Listing), 1);

    latest(Kind::Listing).sendEnd();
    tick();

    EXPECT_EQ(count(Kind::Listing), 2);
    EXPECT_TRUE(m_controller->listEntries().isEmpty());
}

TEST_F(ViewControllerListingTest, ARefreshThatFailsOnItsFirstRowsKeepsTheSelectionAmongThem)
{
    auto& table = control<ListingTable>("destinationListingTable");
    ListingEntry first;
    first.name = u"a"_s;
    ListingEntry second;
    second.name = u"b"_s;
    m_controller->addListEntries({ first, second });
    table.selectRow(1);
    m_controller->listFTPDestination();

    m_controller->lc().stopReceiveWithStatus(u"Listing parse failed"_s); // What has come follows.
    m_controller->addListEntries({ first, second });

    EXPECT_EQ(table.selectedRow(), 1);
}

TEST_F(ViewControllerListingTest, AListingThatBreaksOffSaysSoAtItsRows)
{
    QLabel& label = control<QLabel>("brokenListingLabel");
    m_controller->listFTPDestination();
    latest(Kind::Listing).sendOpenCompleted();
    latest(Kind::Listing).sendBytes(entryLine);
    tick();
    EXPECT_FALSE(label.isVisible());

    latest(Kind::Listing).reply = u"426 Too slow"_s;
    latest(Kind::Listing).sendRefusal(426);
    tick();
    EXPECT_TRUE(label.isVisible());
    EXPECT_EQ(label.text(), u"Could not list the rest: 426 Too slow – F5 tries again"_s);

    m_controller->listFTPDestination();
    tick();
    EXPECT_FALSE(label.isVisible());
    latest(Kind::Listing).sendRefusal(550);
    tick();
    EXPECT_FALSE(label.isVisible()); // The empty table says it.
}

TEST_F(ViewControllerListingTest, AListingThatTheServerHasCutSaysSoAtItsRowsAndNothingOfFilesThatItDoesNotHold)
{
    m_streams.next.shortfall = u"226-Output truncated to 1 matches"_s;
    m_controller->uploadFiles({ makeFile(u"one.txt"_s), makeFile(u"two.txt"_s) });
    for (int file = 0; file < 2; ++file) {
        tick();
        finishUpload();
    }
    for (; latest(Kind::Listing).isOpen(); tick()) {
        latest(Kind::Listing).sendOpenCompleted();
        latest(Kind::Listing).sendBytes(entryLine);
        latest(Kind::Listing).sendEnd();
    }

    EXPECT_EQ(text("listingStatusTextField"), u"Listing succeeded"_s);
    EXPECT_EQ(text("brokenListingLabel"),
              u"Could not list the rest: 226-Output truncated to 1 matches – F5 tries again"_s);
    EXPECT_EQ(m_controller->history().queueTally(), (FileTally{ .confirmed = 1, .otherSize = 1 }));
    EXPECT_TRUE(m_controller->history().hasUncheckedFiles());
}

TEST_F(ViewControllerListingTest, AfterARefreshAlsoOneThatFailsTheKeyboardGoesOnFromWhereAnItemHasGone)
{
    const auto list = [this](const QByteArrayList& names, bool isWhole = true) {
        m_controller->listFTPDestination();
        latest(Kind::Listing).sendOpenCompleted();
        for (const QByteArray& name : names) {
            latest(Kind::Listing).sendBytes(QByteArray(entryLine).replace("one.txt", name));
        }
        tick();
        isWhole ? latest(Kind::Listing).sendEnd() : latest(Kind::Listing).sendRefusal(426);
        tick();
    };
    auto& table = control<ListingTable>("destinationListingTable");
    for (const bool isWhole : { true, false }) {
        list({ "a", "b", "c" });
        table.selectRow(1);

        list({ "a", "c" }, isWhole);

        EXPECT_TRUE(waitFor([&table] { return table.currentIndex().row() == 1; }));
        EXPECT_EQ(table.selectedRow(), -1);
    }
}

} // namespace
