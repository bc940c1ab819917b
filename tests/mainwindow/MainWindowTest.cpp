#include "ViewControllerTest.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>

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
    QWidget& auxiliary = m_controller->auxiliaryWindow();
    EXPECT_FALSE(auxiliary.isVisible());

    manualTransfers->trigger();
    EXPECT_TRUE(waitFor([&auxiliary] { return auxiliary.isActiveWindow(); }));

    window().activateWindow();
    ASSERT_TRUE(waitFor([this] { return window().isActiveWindow(); }));
    manualTransfers->trigger();
    EXPECT_TRUE(waitFor([&auxiliary] { return auxiliary.isActiveWindow(); }));
}

} // namespace
