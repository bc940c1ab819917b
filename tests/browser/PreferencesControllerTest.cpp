#include "PreferencesController.h"

#include "DelayedAlert.h"
#include "Printers.h"
#include "Sheets.h"
#include "UserDefaults.h"
#include "WaitFor.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

class PreferencesControllerTest : public ::testing::Test {
protected:
    PreferencesControllerTest()
    {
        setDelayedAlertPresenter([this](const QString& message, const QString& informative) {
            m_alerts.append({ message, informative });
        });
    }
    ~PreferencesControllerTest() override { setDelayedAlertPresenter(nullptr); }

    void set(const QHash<QString, QJsonValue>& values) { ASSERT_TRUE(m_defaults.store(values)); }
    QJsonObject stored() const
    {
        QFile file(m_defaults.filePath());
        return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject();
    }
    template <typename Widget> Widget& control(const char* name)
    {
        return *m_preferences.view()->findChild<Widget*>(QString::fromLatin1(name));
    }
    /// Types @p text in place of what @p field holds.
    static void type(QLineEdit* field, const QString& text)
    {
        field->selectAll();
        QTest::keyClick(field, Qt::Key_Delete);
        QTest::keyClicks(field, text);
    }
    void pressDone() { control<QPushButton>("doneButton").click(); }
    bool alertComes()
    {
        return waitFor([this] { return !m_alerts.isEmpty(); }, 2s);
    }
    static QString urlChanged(const QString& from, const QString& to)
    {
        return u"The URL changed from\n\n%1\n\nto\n\n%2\n\nBe sure to update the relative URL name of copies of this "
               "app."_s.arg(from, to);
    }

    QTemporaryDir m_folder;
    UserDefaults m_defaults{ m_folder.filePath(u"settings/settings.json"_s) };
    QStringList m_refreshes; ///< For each refresh the address that was stored then.
    QList<QStringList> m_alerts;
    PreferencesController m_preferences{
        m_defaults,
        {
            .destinationFor
            = [](const QString& address,
                 const QString& folder) { return address == u"host"_s ? u"ftp://host/"_s + folder : QString(); },
            .updateWindowTitleAndList = [this] { m_refreshes.append(m_defaults.string(u"Address"_s)); },
        }
    };
};

TEST_F(PreferencesControllerTest, ThePreferredSizeIsThatOfTheView)
{
    EXPECT_EQ(m_preferences.preferredContentSize(), m_preferences.view()->size());
    EXPECT_FALSE(m_preferences.preferredContentSize().isEmpty());

    m_preferences.takeView();
    m_preferences.viewDidLoad();
    EXPECT_EQ(m_preferences.preferredContentSize(), QSize(0, 0));
}

TEST_F(PreferencesControllerTest, TheFieldsAreProperties)
{
    QLineEdit field;
    m_preferences.setUsernameTextField(&field);
    m_preferences.setPasswordTextField(&field);
    m_preferences.setAddressTextField(&field);
    m_preferences.setFolderTextField(&field);

    EXPECT_EQ(m_preferences.usernameTextField(), &field);
    EXPECT_EQ(m_preferences.passwordTextField(), &field);
    EXPECT_EQ(m_preferences.addressTextField(), &field);
    EXPECT_EQ(m_preferences.folderTextField(), &field);
}

TEST_F(PreferencesControllerTest, AppearingRemembersTheFolder)
{
    m_preferences.viewDidAppear();
    EXPECT_EQ(m_preferences.savedFTPFolder(), u"/"_s);
    set({ { u"FTPFolder"_s, u""_s } });
    m_preferences.viewDidAppear();
    EXPECT_EQ(m_preferences.savedFTPFolder(), u"/"_s);
    set({ { u"FTPFolder"_s, u"in "_s } });
    m_preferences.viewDidAppear();
    EXPECT_EQ(m_preferences.savedFTPFolder(), u"in "_s);
}

TEST_F(PreferencesControllerTest, ThePanelOpensWithThePresentSettings)
{
    set({ { u"Address"_s, u"host"_s },
          { u"Username"_s, u"anna"_s },
          { u"Password"_s, u"secret"_s },
          { u"FTPFolder"_s, u" in "_s },
          { u"OpenDownloadedFiles"_s, true } });

    m_preferences.showPanel();

    EXPECT_TRUE(m_preferences.view()->isVisible());
    EXPECT_FALSE(m_preferences.view()->isModal());
    EXPECT_EQ(m_preferences.addressTextField()->text(), u"host"_s);
    EXPECT_EQ(m_preferences.usernameTextField()->text(), u"anna"_s);
    EXPECT_EQ(m_preferences.passwordTextField()->text(), u"secret"_s);
    EXPECT_EQ(m_preferences.folderTextField()->text(), u" in "_s);
    EXPECT_TRUE(control<QCheckBox>("openDownloadedFilesCheckBox").isChecked());
    EXPECT_EQ(m_preferences.savedFTPFolder(), u" in "_s);
}

TEST_F(PreferencesControllerTest, AskedForAgainItStaysAsItIs)
{
    m_preferences.showPanel();
    type(m_preferences.addressTextField(), u"half ty"_s);

    m_preferences.showPanel();

    EXPECT_EQ(m_preferences.addressTextField()->text(), u"half ty"_s);
}

TEST_F(PreferencesControllerTest, NothingIsStoredBeforeDoneAndAllIsThenBeforeTheRefresh)
{
    m_preferences.showPanel();
    type(m_preferences.addressTextField(), u"host"_s);
    type(m_preferences.usernameTextField(), u" anna "_s);
    type(m_preferences.passwordTextField(), u"se cret "_s);
    control<QCheckBox>("openDownloadedFilesCheckBox").click();
    EXPECT_EQ(stored(), QJsonObject());

    pressDone();

    EXPECT_EQ(stored(),
              (QJsonObject{ { u"Address"_s, u"host"_s },
                            { u"Username"_s, u" anna "_s },
                            { u"Password"_s, u"se cret "_s },
                            { u"OpenDownloadedFiles"_s, true } })); // No folder: it was not touched.
    EXPECT_EQ(m_refreshes, QStringList{ u"host"_s });
    EXPECT_FALSE(m_preferences.view()->isVisible());
}

TEST_F(PreferencesControllerTest, WithoutAnEditNothingIsStoredAndNobodyIsWarned)
{
    m_preferences.showPanel();

    pressDone();

    EXPECT_FALSE(QFile::exists(m_defaults.filePath()));
    EXPECT_EQ(m_refreshes.size(), 1);
    EXPECT_FALSE(alertComes());
}

TEST_F(PreferencesControllerTest, AClearedFieldIsStoredAsEmpty)
{
    set({ { u"Username"_s, u"anna"_s } });
    m_preferences.showPanel();

    type(m_preferences.usernameTextField(), u""_s);
    pressDone();

    EXPECT_EQ(stored(), (QJsonObject{ { u"Username"_s, u""_s } }));
}

TEST_F(PreferencesControllerTest, ReturnIsDone)
{
    m_preferences.showPanel();
    type(m_preferences.folderTextField(), u"in"_s);

    QTest::keyClick(m_preferences.folderTextField(), Qt::Key_Return);

    EXPECT_EQ(stored(), (QJsonObject{ { u"FTPFolder"_s, u"in"_s } }));
}

TEST_F(PreferencesControllerTest, EscapeCancelAndClosingChangeNothing)
{
    const std::vector<std::function<void()>> ways{
        [this] { QTest::keyClick(m_preferences.addressTextField(), Qt::Key_Escape); },
        [this] { control<QPushButton>("cancelButton").click(); },
        [this] { m_preferences.view()->close(); },
    };
    for (const auto& leave : ways) {
        m_preferences.showPanel();
        type(m_preferences.addressTextField(), u"elsewhere"_s);
        type(m_preferences.folderTextField(), u"elsewhere"_s);
        control<QCheckBox>("openDownloadedFilesCheckBox").click();

        leave();

        EXPECT_FALSE(m_preferences.view()->isVisible());
        EXPECT_EQ(stored(), QJsonObject());
        m_preferences.showPanel();
        EXPECT_EQ(m_preferences.addressTextField()->text(), u""_s);
        EXPECT_FALSE(control<QCheckBox>("openDownloadedFilesCheckBox").isChecked());
        m_preferences.view()->close();
    }
    EXPECT_TRUE(m_refreshes.isEmpty());
    EXPECT_FALSE(alertComes());
}

TEST_F(PreferencesControllerTest, AChangedFolderIsWarnedOfASecondLater)
{
    set({ { u"FTPFolder"_s, u"Uploads"_s } });
    m_preferences.showPanel();
    type(m_preferences.folderTextField(), u"Uploads/2024 %1"_s);

    pressDone();

    EXPECT_FALSE(m_preferences.view()->isVisible());
    EXPECT_EQ(m_refreshes.size(), 1);
    EXPECT_TRUE(m_alerts.isEmpty());
    ASSERT_TRUE(alertComes());
    EXPECT_EQ(m_alerts,
              (QList<QStringList>{ { u"Base URL Changed"_s, urlChanged(u"Uploads"_s, u"Uploads/2024 %1"_s) } }));
}

TEST_F(PreferencesControllerTest, ATrailingBlankIsAChange)
{
    set({ { u"FTPFolder"_s, u"in"_s } });
    m_preferences.showPanel();
    type(m_preferences.folderTextField(), u"in "_s);

    pressDone();

    ASSERT_TRUE(alertComes());
    EXPECT_EQ(m_alerts.first().last(), urlChanged(u"in"_s, u"in "_s));
}

TEST_F(PreferencesControllerTest, FromNoFolderToTheRootIsNoChange)
{
    m_preferences.showPanel();
    type(m_preferences.folderTextField(), u"/"_s);

    pressDone();

    EXPECT_FALSE(alertComes());
}

TEST_F(PreferencesControllerTest, FromAFolderToNoneIsAChangeToTheRoot)
{
    set({ { u"FTPFolder"_s, u"in"_s } });
    m_preferences.showPanel();
    type(m_preferences.folderTextField(), u""_s);

    pressDone();

    ASSERT_TRUE(alertComes());
    EXPECT_EQ(m_alerts.first().last(), urlChanged(u"in"_s, u"/"_s));
}

TEST_F(PreferencesControllerTest, WhatCannotBeStoredStaysInThePanel)
{
    QFile obstacle(m_folder.filePath(u"settings"_s)); // A file where the folder has to be.
    ASSERT_TRUE(obstacle.open(QIODevice::WriteOnly));
    m_preferences.showPanel();
    type(m_preferences.addressTextField(), u"host"_s);

    pressDone();

    EXPECT_TRUE(m_preferences.view()->isVisible());
    EXPECT_EQ(m_preferences.addressTextField()->text(), u"host"_s);
    EXPECT_TRUE(m_refreshes.isEmpty());
    EXPECT_EQ(
        shownSheets(),
        QStringList{ u"Settings Not Saved: The settings could not be written to “%1”."_s.arg(m_defaults.filePath()) });
    answerSheet();
    obstacle.remove();
    pressDone();
    EXPECT_EQ(m_refreshes, QStringList{ u"host"_s });
}

TEST_F(PreferencesControllerTest, ThePasswordIsHiddenUntilAskedFor)
{
    set({ { u"Password"_s, u"secret"_s } });
    m_preferences.showPanel();
    EXPECT_EQ(m_preferences.passwordTextField()->echoMode(), QLineEdit::Password);

    control<QPushButton>("showPasswordButton").click();
    EXPECT_EQ(m_preferences.passwordTextField()->echoMode(), QLineEdit::Normal);
    m_preferences.view()->close();
    m_preferences.showPanel();
    EXPECT_EQ(m_preferences.passwordTextField()->echoMode(), QLineEdit::Password);
}

TEST_F(PreferencesControllerTest, ThePanelSaysWhereFilesGo)
{
    m_preferences.showPanel();
    const auto& label = control<QLabel>("destinationLabel");
    EXPECT_TRUE(label.text().startsWith(u"No destination"_s));

    type(m_preferences.addressTextField(), u"host"_s);
    type(m_preferences.folderTextField(), u"<b>"_s);
    EXPECT_EQ(label.text(), u"Files go to ftp://host/<b>"_s);
    EXPECT_EQ(label.textFormat(), Qt::PlainText);
    type(m_preferences.addressTextField(), u"ftp://host"_s);
    EXPECT_TRUE(label.text().contains(u"without “ftp://”"_s));
}

TEST_F(PreferencesControllerTest, ThePanelSaysThatNothingIsEncrypted)
{
    EXPECT_TRUE(control<QLabel>("unencryptedLabel").text().contains(u"unencrypted"_s));
}

TEST_F(PreferencesControllerTest, EachIdentifierIsNewAndHasThirtySixCharacters)
{
    static const QRegularExpression form(u"^[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}$"_s);

    EXPECT_TRUE(form.match(m_preferences.UUIDString()).hasMatch());
    EXPECT_NE(m_preferences.UUIDString(), m_preferences.UUIDString());
}

} // namespace
