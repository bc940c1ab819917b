#include "IconCommands.h"

#include "CommandLine.h"
#include "IconSettings.h"
#include "ProgramName.h"
#include "UserDefaults.h"

#include <QFile>

#include <gtest/gtest.h>

#include <string>

using namespace Qt::StringLiterals;

namespace {

class IconCommandsTest : public ::testing::Test {
protected:
    IconCommandsTest() { setProgramFileName(u"Work"_s); }
    ~IconCommandsTest() override
    {
        IconSettings::use(QString());
        setProgramFileName(QString());
        QFile::remove(IconSettings::filePath(u"Work"_s));
    }

    /// What useSettings() says, with the files that it leaves; nothing when it agrees.
    static std::string complaint(const QString& settings)
    {
        CommandLine commandLine;
        commandLine.files = QStringList{ u"/a b"_s };
        commandLine.settings = settings;
        ::testing::internal::CaptureStderr();
        const bool isUsed = IconCommands::useSettings(commandLine);
        const std::string words = ::testing::internal::GetCapturedStderr();
        EXPECT_EQ(isUsed, words.empty());
        return words;
    }
};

TEST_F(IconCommandsTest, WhoeverHasNoServerOfItsOwnUsesTheMainSettings)
{
    EXPECT_EQ(complaint(QString()), "");

    EXPECT_FALSE(IconSettings::areInUse());
}

TEST_F(IconCommandsTest, SettingsThatTheLauncherNamesAreUsedAlsoWhenTheyAreGone)
{
    EXPECT_EQ(complaint(IconSettings::filePath(u"Work"_s)), "");

    EXPECT_TRUE(IconSettings::areInUse());
    EXPECT_EQ(connectionSettings().filePath(), IconSettings::filePath(u"Work"_s));
}

TEST_F(IconCommandsTest, SettingsThatAreThereAreUsedAlsoWhenNobodyNamesThem)
{
    ASSERT_TRUE(UserDefaults(IconSettings::filePath(u"Work"_s)).store({}));

    EXPECT_EQ(complaint(QString()), "");

    EXPECT_TRUE(IconSettings::areInUse());
}

TEST_F(IconCommandsTest, SettingsOfAnotherIconAreRefused)
{
    for (const QString& other :
         { IconSettings::filePath(u"work"_s), UserDefaults::standard().filePath(), u"/nowhere"_s }) {
        EXPECT_EQ(complaint(other),
                  "Quillbox: The settings in \"" + other.toStdString()
                      + "\" are not those of this program, which are in \""
                      + IconSettings::filePath(u"Work"_s).toStdString() + "\".\nNot taken: /a b\n");
        EXPECT_FALSE(IconSettings::areInUse());
    }
}

} // namespace
