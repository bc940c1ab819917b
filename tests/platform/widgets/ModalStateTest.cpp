#include "ModalState.h"

#include "LoopSuspension.h"
#include "WaitFor.h"

#include <QMenu>
#include <QMessageBox>
#include <QWidget>

#include <gtest/gtest.h>

namespace {

TEST(ModalStateTest, ASheetDoesNotHoldTheLoop)
{
    QWidget window;
    window.show();
    QMessageBox hidden; // As after an application-modal dialog has been answered.
    hidden.setWindowModality(Qt::ApplicationModal);
    QMessageBox box(&window);
    box.open();

    EXPECT_TRUE(box.isVisible());
    EXPECT_FALSE(isMainLoopSuspended());
}

TEST(ModalStateTest, AnApplicationModalDialogHoldsTheLoopWhileItShows)
{
    QMessageBox box;
    box.setWindowModality(Qt::ApplicationModal);
    EXPECT_FALSE(isMainLoopSuspended());

    box.show();
    EXPECT_TRUE(isMainLoopSuspended());
    box.hide();

    EXPECT_FALSE(isMainLoopSuspended());
}

TEST(ModalStateTest, AMenuHoldsTheLoopWhileItIsOpen)
{
    QMenu menu;
    menu.addAction(QStringLiteral("Something"));

    menu.popup({ 10, 10 });
    EXPECT_TRUE(waitFor([] { return isMainLoopSuspended(); }));
    menu.close();

    EXPECT_TRUE(waitFor([] { return !isMainLoopSuspended(); }));
}

TEST(ModalStateTest, ACallThatHoldsTheLoopHoldsItWithoutAWindow)
{
    {
        const LoopSuspension suspension;
        EXPECT_TRUE(isMainLoopSuspended());
    }

    EXPECT_FALSE(isMainLoopSuspended());
}

} // namespace
