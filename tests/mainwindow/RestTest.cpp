#include "CheckRows.h"
#include "ListingTable.h"
#include "Metronome.h"
#include "PreferencesController.h"
#include "ViewControllerTest.h"

#include <QAction>
#include <QMenu>

#include <functional>

using namespace std::chrono_literals;

namespace {

/// A window in which nothing goes on, so that its pump rests.
class RestTest : public ViewControllerTest {
protected:
    RestTest()
    {
        clock().setPatience(50ms);
        waitUntilResting();
    }

    PumpClock& clock() const { return *m_controller->pump().findChild<PumpClock*>(); }
    std::chrono::milliseconds interval() const { return clock().findChild<QTimer*>()->intervalAsDuration(); }
    void waitUntilResting()
    {
        ASSERT_TRUE(waitFor([this] { return interval() > PumpClock::interval; }));
    }
    void listOneItem()
    {
        ListingEntry entry;
        entry.name = u"a"_s;
        m_controller->addListEntries({ entry });
    }
    QAction& deleteAction() { return control<QAction>("deleteAction"); }
};

TEST_F(RestTest, WhatIsAddedToTheQueueStartsWithinATick)
{
    const Metronome fifths(200ms);

    m_controller->uploadFiles({ makeFile(u"a"_s) });

    EXPECT_EQ(interval(), 10ms);
    EXPECT_TRUE(waitFor([this] { return count(Kind::Upload) == 1; }));
    EXPECT_LE(fifths.beats(), 1);
}

TEST_F(RestTest, TheClockShowsEachSecond)
{
    for (int i = 0; i < 2; ++i) {
        const QString date = text("dateStringTextField");
        EXPECT_TRUE(waitFor([&] { return text("dateStringTextField") != date; }));
    }
    EXPECT_GT(interval(), 10ms);
}

TEST_F(RestTest, SettingsThatSomebodyElseHasChangedAreSeenWithinASecond)
{
    QFile settings(UserDefaults::standard().filePath());
    ASSERT_TRUE(settings.open(QIODevice::ReadWrite));
    QByteArray text = settings.readAll();
    ASSERT_TRUE(text.contains("\"in\""));
    settings.seek(0);
    settings.write(text.replace("\"in\"", "\"by\""));
    settings.close();
    const Metronome halfSeconds(500ms);

    EXPECT_TRUE(waitFor([this] { return m_controller->listing().destination().location == u"ftp://host/by/"_s; }));

    EXPECT_LE(halfSeconds.beats(), 3);
}

TEST_F(RestTest, AWindowThatIsHiddenRestsLonger)
{
    m_controller->window().hide();
    waitUntilResting();
    EXPECT_EQ(interval(), 10s);
    clock().setPatience(1min);

    m_controller->window().show();
    EXPECT_TRUE(waitFor([this] { return interval() == 10ms; }));
}

TEST_F(RestTest, AMenuThatOpensIsNoticedAndItsEndEndsTheWaiting)
{
    QMenu menu;
    menu.addAction(u"Something"_s);
    menu.popup({ 10, 10 });
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    const Metronome tenths(100ms);
    ASSERT_TRUE(waitFor([&tenths] { return tenths.beats() >= 5; }));
    EXPECT_EQ(count(Kind::Upload), 0);
    EXPECT_EQ(interval(), 10ms);

    menu.close();

    EXPECT_TRUE(waitFor([this] { return count(Kind::Upload) == 1; }));
}

TEST_F(RestTest, WhileAConnectionIsTestedItDoesNotRest)
{
    m_controller->windows().showPreferences();
    auto* const panel = m_controller->windows().preferences().view();
    waitUntilResting();

    panel->findChild<QPushButton*>(u"testButton"_s)->click();

    EXPECT_EQ(interval(), 10ms);
    EXPECT_FALSE(waitFor([this] { return interval() > PumpClock::interval; }, 300ms));
    panel->close();
    waitUntilResting();
}

/// Something that happens at rest, who tells the pump of it, and what comes of it with the next tick.
struct Waker {
    const char* name;
    std::function<QObject&()> sender;
    std::function<void()> act;
    std::function<bool()> isSeen;
};

TEST_F(RestTest, WhoeverChangesSomethingWakesThePumpAndIfItForgetsThatCostsASecond)
{
    listOneItem();
    waitUntilResting();
    auto& table = control<ListingTable>("destinationListingTable");
    const std::vector<Waker> wakers{
        { "selection", [&]() -> QObject& { return table; }, [&] { table.selectRow(table.selectedRow() == 0 ? -1 : 0); },
          [&] { return deleteAction().isEnabled() == (table.selectedRow() == 0); } },
        { "status", [&]() -> QObject& { return m_controller->indicators(); },
          [&] { m_controller->updateStatus(text("statusTextField") + u"!"_s); },
          [&] { return text("statusTextField").endsWith(u'!'); } },
        { "listing", [&]() -> QObject& { return m_controller->listing(); },
          [&] { m_controller->listing().setDue(true); }, [&] { return m_controller->lc().isReceiving(); } },
        { "queue", [&]() -> QObject& { return m_controller->queue(); },
          [&] {
              for (QObject* other : { static_cast<QObject*>(&m_controller->history()),
                                      static_cast<QObject*>(&m_controller->indicators()) }) {
                  QObject::disconnect(other, nullptr, &m_controller->pump(), nullptr);
              }
              m_controller->uploadFiles({ makeFile(u"a"_s) });
          },
          [&] { return m_controller->pc().isSending(); } },
    };
    for (const Waker& waker : wakers) {
        SCOPED_TRACE(waker.name);
        for (const bool tells : { true, false }) {
            if (!tells) {
                QObject::disconnect(&waker.sender(), nullptr, &m_controller->pump(), nullptr);
            }
            waitUntilResting();
            const Metronome halfSeconds(500ms);

            waker.act();

            EXPECT_EQ(interval() == PumpClock::interval, tells);
            EXPECT_TRUE(waitFor(waker.isSeen));
            EXPECT_LE(halfSeconds.beats(), 3);
            if (m_controller->lc().isReceiving()) {
                latest(Kind::Listing).sendOpenCompleted();
                latest(Kind::Listing).sendEnd();
            }
            if (m_controller->pc().isSending()) {
                m_controller->stopButtonAction();
            }
        }
    }
}

} // namespace
