#include "ViewControllerTest.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QSet>
#include <QTest>

namespace {

class MainWindowTest : public ViewControllerTest {
protected:
    QMainWindow& window() { return m_controller->window(); }

    /// The command of that text in one of the menus; null when it is in none of them.
    QAction* command(const QString& text)
    {
        for (const QAction* menu : window().menuBar()->actions()) {
            for (QAction* action : menu->menu()->actions()) {
                if (action->text().remove(u'&') == text) {
                    return action;
                }
            }
        }
        return nullptr;
    }
};

TEST_F(MainWindowTest, QuitInTheMenuClosesTheWindow)
{
    QAction* const quit = command(u"Quit"_s);
    ASSERT_NE(quit, nullptr);
    EXPECT_EQ(quit->shortcut(), QKeySequence(u"Ctrl+Q"_s));

    quit->trigger();

    EXPECT_FALSE(window().isVisible());
}

TEST_F(MainWindowTest, ManualTransfersInTheMenuShowsTheirWindowAndBringsItToTheFront)
{
    QAction* const manualTransfers = command(u"Manual Transfers…"_s);
    ASSERT_NE(manualTransfers, nullptr);
    QWidget& auxiliary = m_controller->windows().manualTransfers();
    EXPECT_FALSE(auxiliary.isVisible());

    manualTransfers->trigger();
    EXPECT_TRUE(waitFor([&auxiliary] { return auxiliary.isActiveWindow(); }));

    window().activateWindow();
    ASSERT_TRUE(waitFor([this] { return window().isActiveWindow(); }));
    manualTransfers->trigger();
    EXPECT_TRUE(waitFor([&auxiliary] { return auxiliary.isActiveWindow(); }));
}

TEST_F(MainWindowTest, TheKeyboardBeginsInTheTableAndReachesTheDropArea)
{
    showInFront(window());
    EXPECT_EQ(window().focusWidget(), &control<QWidget>("destinationListingTable"));

    QSet<const QWidget*> reached;
    while (!reached.contains(window().focusWidget())) {
        reached.insert(window().focusWidget());
        QTest::keyClick(window().focusWidget(), Qt::Key_Tab);
    }

    EXPECT_TRUE(reached.contains(&control<QWidget>("dragAndDropView")));
}

TEST_F(MainWindowTest, NothingJumpsWhenATransferBegins)
{
    const auto places = [this] {
        drainEventLoop();
        QList<QRect> found;
        for (const char* name : { "dragAndDropView", "destinationListingTable", "stopButton", "clearQueueButton" }) {
            found.append(control<QWidget>(name).geometry());
        }
        return found;
    };
    m_controller->uploadFiles(QStringList(9, makeFile(u"a"_s))); // The bar of those that wait stays to the end.
    tick();
    ASSERT_TRUE(m_controller->pc().isSending());
    ASSERT_FALSE(bar("percentProgressIndicator").isVisible()); // From the next tick on.
    const QList<QRect> before = places();

    tick();

    ASSERT_TRUE(bar("percentProgressIndicator").isVisible());
    EXPECT_EQ(places(), before);
}

} // namespace
