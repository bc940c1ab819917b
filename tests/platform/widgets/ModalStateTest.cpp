#include "ModalState.h"

#include "HeldLoop.h"
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
    QMessageBox box(&window);
    box.open();

    EXPECT_TRUE(box.isVisible());
    EXPECT_FALSE(isMainLoopHeld());
}

TEST(ModalStateTest, AnApplicationModalDialogHoldsTheLoopWhileItShows)
{
    QMessageBox box;
    box.setWindowModality(Qt::ApplicationModal);
    EXPECT_FALSE(isMainLoopHeld());

    box.show();
    EXPECT_TRUE(isMainLoopHeld());
    box.hide();

    EXPECT_FALSE(isMainLoopHeld());
}

TEST(ModalStateTest, AMenuHoldsTheLoopWhileItIsOpen)
{
    QMenu menu;
    menu.addAction(QStringLiteral("Something"));

    menu.popup({ 10, 10 });
    EXPECT_TRUE(waitFor([] { return isMainLoopHeld(); }));
    menu.close();

    EXPECT_TRUE(waitFor([] { return !isMainLoopHeld(); }));
}

TEST(ModalStateTest, ACallThatHoldsTheLoopHoldsItWithoutAWindow)
{
    {
        const HeldLoop held;
        EXPECT_TRUE(isMainLoopHeld());
    }

    EXPECT_FALSE(isMainLoopHeld());
}

} // namespace
