#include "InputBlocker.h"

#include "Printers.h"
#include "WaitFor.h"

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QDropEvent>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPushButton>
#include <QShortcut>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>

#include <gtest/gtest.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// Writes down the drags that it takes part in.
class DropArea final : public QWidget {
public:
    DropArea() { setAcceptDrops(true); }

    QStringList events;

protected:
    void dragEnterEvent(QDragEnterEvent* event) override
    {
        events.append(u"enter"_s);
        event->acceptProposedAction();
    }
    void dragLeaveEvent(QDragLeaveEvent* /*event*/) override { events.append(u"leave"_s); }
    void dropEvent(QDropEvent* event) override
    {
        events.append(u"drop"_s);
        event->acceptProposedAction();
    }
};

class InputBlockerTest : public ::testing::Test {
protected:
    InputBlockerTest()
        : m_menu(*m_window.menuBar()->addMenu(u"Menu"_s))
        , m_action(*m_menu.addAction(u"Act"_s))
    {
        auto* const central = new QWidget;
        auto* const layout = new QVBoxLayout(central);
        for (QWidget* const control : { static_cast<QWidget*>(&m_button), static_cast<QWidget*>(&m_field),
                                        static_cast<QWidget*>(&m_box), static_cast<QWidget*>(&m_dropArea) }) {
            layout->addWidget(control);
        }
        m_window.setCentralWidget(central);
        new QShortcut(QKeySequence(Qt::Key_F6), &m_window, [this] { m_done.append(u"shortcut"_s); });
        QObject::connect(&m_button, &QPushButton::clicked, &m_window, [this] { m_done.append(u"button"_s); });
        QObject::connect(&m_box, &QCheckBox::toggled, &m_window, [this] { m_done.append(u"box"_s); });
        QObject::connect(&m_action, &QAction::triggered, &m_window, [this] { m_done.append(u"action"_s); });
        m_window.show();
        m_window.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&m_window));
        m_field.setFocus();
    }
    ~InputBlockerTest() override
    {
        for (QWidget* const control : { static_cast<QWidget*>(&m_button), static_cast<QWidget*>(&m_field),
                                        static_cast<QWidget*>(&m_box), static_cast<QWidget*>(&m_dropArea) }) {
            control->setParent(nullptr);
        }
    }

    void useMouseAndKeys()
    {
        QTest::mouseClick(&m_button, Qt::LeftButton);
        QTest::mouseClick(m_window.windowHandle(), Qt::LeftButton, {}, m_box.mapTo(&m_window, QPoint(8, 8)));
        QTest::keyClicks(&m_field, u"x"_s);
        QTest::keyClick(&m_window, Qt::Key_F6);
    }
    static void choose(QObject& control, const QString& action)
    {
        QAccessible::queryAccessibleInterface(&control)->actionInterface()->doAction(action);
    }

    QMainWindow m_window;
    QMenu& m_menu;
    QAction& m_action;
    QPushButton m_button;
    QLineEdit m_field;
    QCheckBox m_box;
    DropArea m_dropArea;
    QDialog m_free{ &m_window };
    QStringList m_done;
};

TEST_F(InputBlockerTest, MouseKeysAndShortcutsAreDropped)
{
    {
        const InputBlocker blocker(m_free);
        useMouseAndKeys();
    }
    drainEventLoop();
    EXPECT_EQ(m_done, QStringList());
    EXPECT_EQ(m_field.text(), QString());

    useMouseAndKeys();

    EXPECT_EQ(m_done, (QStringList{ u"button"_s, u"box"_s, u"shortcut"_s }));
    EXPECT_EQ(m_field.text(), u"x"_s);
}

TEST_F(InputBlockerTest, TheFreeWindowTakesInput)
{
    auto* const button = new QPushButton(&m_free);
    auto* const box = new QCheckBox(&m_free);
    QObject::connect(button, &QPushButton::clicked, &m_free, &QDialog::reject);
    m_free.show();
    const InputBlocker blocker(m_free);

    choose(*box, QAccessibleActionInterface::toggleAction());
    EXPECT_TRUE(box->isChecked());
    QTest::mouseClick(m_free.windowHandle(), Qt::LeftButton, {}, button->geometry().center());

    EXPECT_TRUE(m_free.isHidden());
}

TEST_F(InputBlockerTest, WindowsCannotBeClosed)
{
    {
        const InputBlocker blocker(m_free);
        EXPECT_FALSE(m_window.close());
        m_window.windowHandle()->close(); // As the window manager asks.
        EXPECT_TRUE(m_window.isVisible());
    }

    EXPECT_TRUE(m_window.close());
}

TEST_F(InputBlockerTest, ADropIsRefusedAndTheDragHearsThatItIsOver)
{
    QMimeData data;
    QDragEnterEvent enter({ 5, 5 }, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&m_dropArea, &enter);
    const InputBlocker blocker(m_free);

    QDropEvent drop({ 5, 5 }, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&m_dropArea, &drop);
    QDragEnterEvent another({ 5, 5 }, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&m_dropArea, &another);

    EXPECT_FALSE(drop.isAccepted());
    EXPECT_FALSE(another.isAccepted());
    EXPECT_EQ(m_dropArea.events, (QStringList{ u"enter"_s, u"leave"_s }));
}

TEST_F(InputBlockerTest, WhatAScreenReaderChoosesComesToNothing)
{
    bool isOver = false;
    {
        const InputBlocker blocker(m_free);
        QAccessible::queryAccessibleInterface(&m_menu)->child(0)->actionInterface()->doAction(
            QAccessibleActionInterface::pressAction());
        choose(m_box, QAccessibleActionInterface::toggleAction());
        choose(m_button, QAccessibleActionInterface::pressAction());
        QTimer::singleShot(300, &m_window, [&isOver] { isOver = true; });
        ASSERT_TRUE(waitFor([&isOver] { return isOver; }));
        EXPECT_EQ(m_done, QStringList());
    }

    EXPECT_FALSE(m_button.isDown());
    choose(m_button, QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(waitFor([this] { return !m_done.isEmpty(); }));
    EXPECT_EQ(m_done, QStringList{ u"button"_s });
    EXPECT_FALSE(m_box.isChecked());
}

TEST_F(InputBlockerTest, MenusClose)
{
    m_menu.popup({ 10, 10 });
    ASSERT_EQ(QApplication::activePopupWidget(), &m_menu);
    const InputBlocker blocker(m_free);
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);

    m_menu.popup({ 10, 10 }); // As a screen reader can.

    EXPECT_TRUE(waitFor([] { return QApplication::activePopupWidget() == nullptr; }));
}

TEST_F(InputBlockerTest, AfterwardsAllCanBeDoneThatCouldBeDoneBefore)
{
    QAction* const disabled = m_menu.addAction(u"Not now"_s);
    disabled->setEnabled(false);
    const auto states = [this, disabled] {
        return QList<bool>{ m_action.isEnabled(), disabled->isEnabled(), m_menu.menuAction()->isEnabled(),
                            m_box.isEnabled(), m_button.isEnabled() };
    };
    {
        const InputBlocker blocker(m_free);
        EXPECT_EQ(states(), (QList<bool>{ false, false, true, false, true }));
    }

    EXPECT_EQ(states(), (QList<bool>{ true, false, true, true, true }));
}

} // namespace
