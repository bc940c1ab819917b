#include "FileSizeLimit.h"
#include "PreferencesController.h"
#include "ViewControllerTest.h"

#include <QAccessible>
#include <QAction>
#include <QCheckBox>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>

namespace {

class OtherWindowsTest : public ViewControllerTest {
protected:
    QAction& action(const char* name) { return control<QAction>(name); }
    QCheckBox& doNotShowAgain()
    {
        return *m_controller->windows().welcomeWindow().findChild<QCheckBox*>(u"doNotShowAgainCheckBox"_s);
    }
    static std::optional<bool> isTurnedOff()
    {
        return UserDefaults::standard().boolean(u"DoNotShowWelcomeWindowAgain"_s);
    }
};

TEST_F(OtherWindowsTest, TheWelcomeWindowShowsUnlessItIsTurnedOff)
{
    m_controller->showWelcomeWindow(false);
    EXPECT_TRUE(m_controller->windows().welcomeWindow().isVisible());
    EXPECT_FALSE(m_controller->windows().welcomeWindow().isModal());
    m_controller->windows().welcomeWindow().close();

    set({ { u"DoNotShowWelcomeWindowAgain"_s, false } });
    m_controller->showWelcomeWindow(false);
    EXPECT_TRUE(m_controller->windows().welcomeWindow().isVisible());
    m_controller->windows().welcomeWindow().close();

    set({ { u"DoNotShowWelcomeWindowAgain"_s, true } });
    m_controller->showWelcomeWindow(false);
    EXPECT_FALSE(m_controller->windows().welcomeWindow().isVisible());
    m_controller->showWelcomeWindow(true);
    EXPECT_TRUE(m_controller->windows().welcomeWindow().isVisible());
}

TEST_F(OtherWindowsTest, TheWelcomeWindowFitsItsTextsHoweverSmallItIsMade)
{
    QDialog& window = m_controller->windows().welcomeWindow();
    m_controller->showWelcomeWindow(true);
    window.resize(1, 1);
    drainEventLoop();

    for (const QLabel* label : window.findChildren<QLabel*>()) {
        EXPECT_GE(label->height(), label->heightForWidth(label->width())) << label->text().toStdString();
        EXPECT_GE(label->width(), label->minimumSizeHint().width()) << label->text().toStdString();
    }
}

TEST_F(OtherWindowsTest, TheCheckBoxTurnsTheWelcomeWindowOffAtOnce)
{
    m_controller->showWelcomeWindow(false);
    EXPECT_FALSE(doNotShowAgain().isChecked());

    doNotShowAgain().click();
    EXPECT_EQ(isTurnedOff(), true);
    m_controller->showWelcomeWindow(true);
    EXPECT_TRUE(doNotShowAgain().isChecked());
    doNotShowAgain().click();
    EXPECT_EQ(isTurnedOff(), false);
}

TEST_F(OtherWindowsTest, ASheetOfTheMainWindowHoldsNoOtherWindow)
{
    const auto click = [](QWidget& control) {
        const QWidget& window = *control.window();
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, control.mapTo(&window, control.rect().center()));
    };
    m_controller->showWelcomeWindow(false);
    m_controller->windows().showPreferences();
    showInFront(m_controller->window());
    m_controller->showAlert(u"Title"_s, u"text"_s);
    ASSERT_NE(QApplication::activeModalWidget(), nullptr);

    click(*m_controller->windows().welcomeWindow().findChild<QPushButton*>(u"closeWelcomeButton"_s));
    click(*m_controller->windows().preferences().view()->findChild<QPushButton*>(u"cancelButton"_s));

    EXPECT_FALSE(m_controller->windows().welcomeWindow().isVisible());
    EXPECT_FALSE(m_controller->windows().preferences().view()->isVisible());
    answerSheet();
}

TEST_F(OtherWindowsTest, AScreenReaderTurnsTheWelcomeWindowOffAsWell)
{
    m_controller->showWelcomeWindow(false);

    QAccessible::queryAccessibleInterface(&doNotShowAgain())
        ->actionInterface()
        ->doAction(QAccessibleActionInterface::toggleAction());

    EXPECT_EQ(isTurnedOff(), true);
}

TEST_F(OtherWindowsTest, TheCheckBoxGoesBackWhenTheChoiceCannotBeStored)
{
    m_controller->showWelcomeWindow(false);
    {
        const FileSizeLimit limit(0);
        doNotShowAgain().click();
    }

    EXPECT_FALSE(doNotShowAgain().isChecked());
    EXPECT_EQ(isTurnedOff(), std::nullopt);
    EXPECT_EQ(shownSheets(),
              QStringList{ u"Settings Not Saved: The settings could not be written to “%1”."_s.arg(
                  UserDefaults::standard().filePath()) });
    answerSheet();
    doNotShowAgain().click();
    EXPECT_EQ(isTurnedOff(), true);
}

TEST_F(OtherWindowsTest, TheWelcomeWindowShowsWhatIsSetByThen)
{
    m_controller->showWelcomeWindow(false);
    set({ { u"DoNotShowWelcomeWindowAgain"_s, true } });

    m_controller->showWelcomeWindow(true);

    EXPECT_TRUE(doNotShowAgain().isChecked());
}

TEST_F(OtherWindowsTest, AskedForAgainTheWelcomeWindowComesBackFromBeingMinimised)
{
    m_controller->showWelcomeWindow(false);
    m_controller->windows().welcomeWindow().showMinimized();

    m_controller->showWelcomeWindow(true);

    EXPECT_FALSE(m_controller->windows().welcomeWindow().isMinimized());
}

TEST_F(OtherWindowsTest, ReturnOnTheButtonOfTheWelcomeWindowOpensThePreferences)
{
    m_controller->showWelcomeWindow(false);
    auto* const button = m_controller->windows().welcomeWindow().findChild<QPushButton*>(u"welcomePreferencesButton"_s);
    button->setFocus();

    QTest::keyClick(button, Qt::Key_Return);

    EXPECT_TRUE(m_controller->windows().preferences().view()->isVisible());
    EXPECT_TRUE(m_controller->windows().welcomeWindow().isVisible());
}

TEST_F(OtherWindowsTest, TheWelcomeWindowLeadsToThePreferences)
{
    m_controller->showWelcomeWindow(false);

    m_controller->windows().welcomeWindow().findChild<QPushButton*>(u"welcomePreferencesButton"_s)->click();

    EXPECT_TRUE(m_controller->windows().preferences().view()->isVisible());
    m_controller->windows().welcomeWindow().findChild<QPushButton*>(u"closeWelcomeButton"_s)->click();
    EXPECT_FALSE(m_controller->windows().welcomeWindow().isVisible());
}

TEST_F(OtherWindowsTest, TheMenusLeadToTheOtherWindows)
{
    QSignalSpy welcomes(m_controller.get(), &ViewController::welcomeWindowRequested);

    action("preferencesAction").trigger();
    action("manualTransfersAction").trigger();
    action("welcomeAction").trigger();
    action("aboutAction").trigger();

    EXPECT_TRUE(m_controller->windows().preferences().view()->isVisible());
    EXPECT_TRUE(m_controller->windows().manualTransfers().isVisible());
    EXPECT_EQ(welcomes.size(), 1);
    ASSERT_NE(QApplication::activeModalWidget(), nullptr);
    EXPECT_EQ(QApplication::activeModalWidget()->windowTitle(), u"About Quillbox"_s);
}

TEST_F(OtherWindowsTest, NoneOfThemHoldsTransfers)
{
    action("preferencesAction").trigger();
    action("manualTransfersAction").trigger();
    action("aboutAction").trigger();
    m_controller->showWelcomeWindow(true);

    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();

    EXPECT_TRUE(m_controller->pc().isSending());
}

TEST_F(OtherWindowsTest, WaitingFilesGoNowhereWhileAnAddressIsBeingTyped)
{
    unset(u"Address"_s);
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    answerSheet();
    m_controller->windows().showPreferences();
    QLineEdit* const field = m_controller->windows().preferences().addressTextField();
    for (const QChar character : u"host"_s) {
        field->insert(character);
        tick();
        EXPECT_FALSE(m_controller->pc().isSending());
    }
    field->setModified(true);

    m_controller->windows().preferences().doneButton();
    tick();

    EXPECT_TRUE(m_controller->pc().isSending());
    EXPECT_EQ(upload().location, u"ftp://host/in/a"_s);
}

TEST_F(OtherWindowsTest, DoneAsksForATitleAndAListing)
{
    QSignalSpy refreshes(m_controller.get(), &ViewController::updateWindowTitleAndList);
    m_controller->windows().showPreferences();

    m_controller->windows().preferences().doneButton();

    EXPECT_EQ(refreshes.size(), 1);
}

TEST_F(OtherWindowsTest, ThePanelNamesTheFolderOfACopy)
{
    setProgramFileName(u"Scans"_s);
    m_controller->windows().showPreferences();

    EXPECT_EQ(m_controller->windows().preferences().view()->findChild<QLabel*>(u"destinationLabel"_s)->text(),
              u"Files go to ftp://host/in/Scans/"_s);
}

} // namespace
