#include "FocusKeeping.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>

#include <gtest/gtest.h>

namespace {

class FocusKeepingTest : public ::testing::Test {
protected:
    FocusKeepingTest()
    {
        auto* const layout = new QHBoxLayout(&m_window);
        layout->addWidget(&m_control);
        layout->addWidget(&m_other);
        layout->addWidget(&m_refuge);
        m_window.show();
        QApplication::setActiveWindow(&m_window);
        m_control.setFocus();
    }
    void setEnabled(bool isEnabled) { setEnabledKeepingFocus(m_control, isEnabled, m_refuge); }

    QWidget m_window;
    QPushButton m_control{ &m_window };
    QPushButton m_other{ &m_window };
    QLineEdit m_refuge{ &m_window };
};

TEST_F(FocusKeepingTest, AControlThatIsDisabledForAMomentHasItsFocusBack)
{
    ASSERT_TRUE(m_control.hasFocus());

    setEnabled(false);
    EXPECT_TRUE(m_refuge.hasFocus());
    EXPECT_FALSE(m_control.isEnabled());
    setEnabled(true);

    EXPECT_TRUE(m_control.hasFocus());
}

TEST_F(FocusKeepingTest, InAWindowThatIsNotActiveTheKeyboardIsPassedOnForLater)
{
    QWidget inFront;
    inFront.show();
    QApplication::setActiveWindow(&inFront);
    ASSERT_FALSE(m_control.hasFocus());

    setEnabled(false);
    EXPECT_EQ(m_window.focusWidget(), &m_refuge);
    setEnabled(true);
    EXPECT_EQ(m_window.focusWidget(), &m_control);
    setVisibleKeepingFocus(m_control, false, m_refuge);
    EXPECT_EQ(m_window.focusWidget(), &m_refuge);
}

TEST_F(FocusKeepingTest, WhatIsHiddenLeavesTheKeyboardToTheRefugeForGood)
{
    setVisibleKeepingFocus(m_control, false, m_refuge);
    EXPECT_TRUE(m_refuge.hasFocus());
    EXPECT_FALSE(m_control.isVisible());

    setVisibleKeepingFocus(m_control, true, m_refuge);
    EXPECT_TRUE(m_refuge.hasFocus());
    EXPECT_TRUE(m_control.isVisible());
}

TEST_F(FocusKeepingTest, WhatIsHiddenWithItsPartsLeavesTheKeyboardOfAPart)
{
    QWidget line(&m_window);
    QPushButton part(&line);
    line.show();
    part.setFocus();

    setVisibleKeepingFocus(m_other, false, m_refuge);
    EXPECT_TRUE(part.hasFocus());
    setVisibleKeepingFocus(line, false, m_refuge);
    EXPECT_TRUE(m_refuge.hasFocus());
}

TEST_F(FocusKeepingTest, WhereTheUserHasGoneMeanwhileTheFocusStays)
{
    setEnabled(false);
    m_other.setFocus();
    setEnabled(true);

    EXPECT_TRUE(m_other.hasFocus());
    EXPECT_TRUE(m_control.isEnabled());
}

TEST_F(FocusKeepingTest, AControlWithoutTheFocusGetsNone)
{
    m_refuge.setFocus();
    setEnabled(false);
    setEnabled(true);

    EXPECT_TRUE(m_refuge.hasFocus());
}

} // namespace
