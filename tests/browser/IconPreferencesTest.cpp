#include "FileSizeLimit.h"
#include "PreferencesController.h"
#include "ProgramName.h"
#include "Sheets.h"
#include "TypedServer.h"
#include "UserDefaults.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class ProgramNameScope {
public:
    explicit ProgramNameScope(const QString& name) { setProgramFileName(name); }
    ~ProgramNameScope() { setProgramFileName(QString()); }
    ProgramNameScope(const ProgramNameScope&) = delete;
    ProgramNameScope& operator=(const ProgramNameScope&) = delete;
};

/// The preferences in a drop icon that has a server of its own.
class IconPreferencesTest : public ::testing::Test {
protected:
    IconPreferencesTest()
    {
        EXPECT_TRUE(m_defaults.store({ { u"Address"_s, u"main"_s }, { u"Password"_s, u"of the main server"_s } }));
        EXPECT_TRUE(m_connection.store({ { u"Address"_s, u"own"_s }, { u"Password"_s, u"secret"_s } }));
        m_main = m_defaults.values();
        m_preferences.showPanel();
    }

    template <typename Widget> Widget& control(const char* name)
    {
        return *m_preferences.view()->findChild<Widget*>(QString::fromLatin1(name));
    }
    void pressDone() { control<QPushButton>("doneButton").click(); }
    static QJsonObject with(QJsonObject values, const QString& key, const QJsonValue& value)
    {
        values.insert(key, value);
        return values;
    }

    ProgramNameScope m_name{ u"Photos:2024"_s };
    QTemporaryDir m_folder;
    UserDefaults m_defaults{ m_folder.filePath(u"main/settings.json"_s) };
    UserDefaults m_connection{ m_folder.filePath(u"icons/Photos.json"_s), UserDefaults::Absence::IsBroken };
    QJsonObject m_main;
    PreferencesController m_preferences{
        m_defaults,
        m_connection,
        {
            .server = { .destinationFor = [](const QString& address, const QString&) { return address; } },
            .updateWindowTitleAndList = [] {},
        }
    };
};

TEST_F(IconPreferencesTest, ThePanelSaysWhoseSettingsItShows)
{
    EXPECT_EQ(control<QLineEdit>("addressTextField").text(), u"own"_s);
    EXPECT_EQ(m_preferences.view()->windowTitle(), u"Preferences of “Photos/2024”"_s);
    EXPECT_TRUE(control<QLabel>("ownerLabel").isVisible());
    PreferencesController ofTheProgram(
        m_defaults, m_defaults,
        { .server = { .destinationFor = [](const QString& address, const QString&) { return address; } },
          .updateWindowTitleAndList = [] {} });

    ofTheProgram.showPanel();

    EXPECT_EQ(ofTheProgram.view()->windowTitle(), u"Preferences"_s);
    EXPECT_FALSE(ofTheProgram.view()->findChild<QLabel*>(u"ownerLabel"_s)->isVisible());
}

TEST_F(IconPreferencesTest, WhereFilesGoIsStoredForTheIconAlone)
{
    const QJsonObject typed = typeServer(*m_preferences.view());

    pressDone();

    EXPECT_FALSE(m_preferences.view()->isVisible());
    EXPECT_EQ(m_connection.values(), typed);
    EXPECT_EQ(m_defaults.values(), m_main);
    const QFile::Permissions mode = QFileInfo(m_connection.filePath()).permissions();
    EXPECT_FALSE(mode & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup | QFile::WriteOther));
}

TEST_F(IconPreferencesTest, EverythingElseIsStoredForAll)
{
    const QJsonObject own = m_connection.values();
    control<QCheckBox>("openDownloadedFilesCheckBox").setChecked(true);

    pressDone();

    EXPECT_EQ(m_defaults.values(), with(m_main, u"OpenDownloadedFiles"_s, true));
    EXPECT_EQ(m_connection.values(), own);
}

TEST_F(IconPreferencesTest, WhatCannotBeWrittenIsNamedAndTheServerChangesLast)
{
    const QString large(5000, u'x');
    for (UserDefaults* const unwritable : { &m_defaults, &m_connection }) {
        control<QLineEdit>("addressTextField").setText(u"other"_s);
        control<QCheckBox>("openDownloadedFilesCheckBox").setChecked(true);
        ASSERT_TRUE(unwritable->store({ { u"Large"_s, large } }));
        const QJsonObject own = m_connection.values();
        const QJsonObject main = m_defaults.values();
        {
            const FileSizeLimit limit(4000);
            pressDone();
        }

        EXPECT_TRUE(m_preferences.view()->isVisible());
        EXPECT_EQ(shownSheets(),
                  QStringList{ u"Settings Not Saved: The settings could not be written to “%1”."_s.arg(
                      unwritable->filePath()) });
        answerSheet();
        EXPECT_EQ(m_connection.values(), own);
        EXPECT_EQ(m_defaults.values(), unwritable == &m_defaults ? main : with(main, u"OpenDownloadedFiles"_s, true));
        ASSERT_TRUE(unwritable->store({ { u"Large"_s, QJsonValue() } }));
    }
    const QJsonObject own = m_connection.values();

    pressDone();

    EXPECT_EQ(m_connection.values(), with(own, u"Address"_s, u"other"_s));
    EXPECT_EQ(m_defaults.values(), with(m_main, u"OpenDownloadedFiles"_s, true));
}

TEST_F(IconPreferencesTest, SettingsThatAreGoneAreMadeAnewByAnEditAndByNothingElse)
{
    ASSERT_TRUE(QFile::remove(m_connection.filePath()));
    m_preferences.view()->close();
    m_preferences.showPanel();
    EXPECT_EQ(control<QLineEdit>("addressTextField").text(), QString());
    control<QCheckBox>("openDownloadedFilesCheckBox").setChecked(true);

    pressDone();
    EXPECT_FALSE(QFileInfo::exists(m_connection.filePath()));

    m_preferences.showPanel();
    control<QLineEdit>("addressTextField").setText(u"own"_s);
    pressDone();
    EXPECT_EQ(m_connection.values(), (QJsonObject{ { u"Address"_s, u"own"_s } }));
}

} // namespace
