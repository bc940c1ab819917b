#include "IconCommands.h"

#include "CommandLine.h"
#include "DropIcons.h"
#include "IconSettings.h"
#include "ProgramName.h"
#include "UserDefaults.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

class IconCommandsTest : public ::testing::Test {
protected:
    IconCommandsTest() { setProgramFileName(u"Work"_s); }
    ~IconCommandsTest() override
    {
        IconSettings::use(QString());
        setProgramFileName(QString());
        QFile::remove(UserDefaults::standard().filePath());
        QDir(QFileInfo(IconSettings::filePath(u"Work"_s)).path()).removeRecursively();
    }

    struct Printed {
        std::string out;
        std::string err;
    };
    /// What list() prints of icons with these names.
    static Printed listing(const QStringList& names)
    {
        const QTemporaryDir folder;
        const DropIcons::Folders folders = DropIcons::Folders::below(folder.path());
        EXPECT_TRUE(QDir().mkpath(folders.links));
        for (const QString& name : names) {
            EXPECT_TRUE(QFile::link(u"/nowhere"_s, folders.links + u'/' + name));
        }
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        IconCommands::list(DropIcons(u"/nowhere"_s, folders));
        return { ::testing::internal::GetCapturedStdout(), ::testing::internal::GetCapturedStderr() };
    }
    /// What is printed of a file for an icon that there is not.
    static Printed refusal(bool isWaitedFor, bool isHidden)
    {
        CommandLine commandLine;
        commandLine.files = QStringList{ u"/a b"_s };
        commandLine.icon = u"Typo"_s;
        commandLine.isWaitedFor = isWaitedFor;
        commandLine.isHidden = isHidden;
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        IconCommands::becomeIcon(DropIcons(u"/nowhere"_s, DropIcons::Folders::below(u"/nowhere"_s)), commandLine);
        return { ::testing::internal::GetCapturedStdout(), ::testing::internal::GetCapturedStderr() };
    }
    static void setServer(const QString& fileName, const QString& address)
    {
        EXPECT_TRUE(UserDefaults(IconSettings::filePath(fileName)).store({ { u"Address"_s, address } }));
    }

    /// What useSettings() says, with the files that it leaves; nothing when it agrees.
    static std::string complaint(const QString& settings)
    {
        CommandLine commandLine;
        commandLine.files = QStringList{ u"/a b"_s };
        commandLine.settings = settings;
        ::testing::internal::CaptureStderr();
        const std::optional<SettingsAlert> refusal = IconCommands::useSettings(commandLine);
        const std::string words = ::testing::internal::GetCapturedStderr();
        EXPECT_EQ(refusal.has_value(), !words.empty());
        EXPECT_EQ(refusal ? refusal->title : QString(), refusal ? u"Settings Refused"_s : QString());
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
        EXPECT_EQ(
            complaint(other),
            "Quillbox: Settings Refused. The settings in “" + other.toStdString()
                + "” are not those of this program, which are in “" + IconSettings::filePath(u"Work"_s).toStdString()
                + "”. No files are taken. Where its launcher names them, open Drop Icons in Quillbox and save the "
                  "icon again.\nNot taken: /a b\n");
        EXPECT_FALSE(IconSettings::areInUse());
    }
}

TEST_F(IconCommandsTest, FilesForAnIconThatThereIsNotHaveALineEachForWhoeverReadsThose)
{
    const std::string why = "Quillbox: There is no icon \"Typo\"; \"--list-icons\" shows those that there are.\n";

    for (const auto& [isWaitedFor, isHidden] : { std::pair(true, false), std::pair(false, true) }) {
        const Printed reported = refusal(isWaitedFor, isHidden);
        EXPECT_EQ(reported.out, "/a b\tNot taken\n");
        EXPECT_EQ(reported.err, why);
    }
    const Printed told = refusal(false, false);
    EXPECT_EQ(told.out, "");
    EXPECT_EQ(told.err, why + "Not taken: /a b\n");
}

TEST_F(IconCommandsTest, EachIconIsListedWithItsOwnServerWhoeverListsThem)
{
    ASSERT_TRUE(UserDefaults::standard().store({ { u"Address"_s, u"main"_s }, { u"FTPFolder"_s, u"in"_s } }));
    setServer(u"Work"_s, u"own"_s);
    setServer(u"work"_s, u"other"_s);
    setServer(u"Nowhere"_s, QString());
    IconSettings::use(u"Work"_s);

    const Printed printed = listing({ u"Photos:2024"_s, u"Work"_s, u"work"_s, u"Nowhere"_s });

    for (const char* line : { "Photos/2024\tftp://main/in/Photos/2024/\n", "Work\tftp://own/\n", "work\tftp://other/\n",
                              "Nowhere\tno destination\n" }) {
        EXPECT_NE(printed.out.find(line), std::string::npos) << printed.out;
    }
    EXPECT_EQ(printed.err, "Quillbox: Files of “Nowhere” go nowhere: its settings name no server.\n");
}

TEST_F(IconCommandsTest, AnIconWithoutReadableSettingsIsListedWithoutADestinationAndTheReasonIsTold)
{
    ASSERT_TRUE(UserDefaults::standard().store({ { u"Address"_s, u"main"_s } }));
    setServer(u"Work"_s, u"own"_s);
    QFile file(IconSettings::filePath(u"Work"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    const Printed damaged = listing({ u"Work"_s });
    EXPECT_EQ(damaged.out, "Work\tno destination\n");
    EXPECT_EQ(damaged.err, "Quillbox: Files of “Work” go nowhere: its settings cannot be read.\n");

    QFile mainSettings(UserDefaults::standard().filePath());
    ASSERT_TRUE(mainSettings.open(QIODevice::WriteOnly | QIODevice::Truncate));
    EXPECT_EQ(listing({ u"Photos"_s }).err,
              "Quillbox: Files of “Photos” go nowhere: the main settings cannot be read.\n");
}

TEST_F(IconCommandsTest, WhoeverListsThemIsToldWhenSettingsWereOpenToOthers)
{
    ASSERT_TRUE(UserDefaults::standard().store({ { u"Address"_s, u"main"_s } }));
    const QString path = UserDefaults::standard().filePath();
    constexpr QFile::Permissions mode = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther;
    ASSERT_TRUE(QFile::setPermissions(path, mode));
    ASSERT_TRUE(QFile::setPermissions(QFileInfo(path).path(), mode | QFile::ExeOwner | QFile::ExeOther));

    const std::string first = listing({ u"Work"_s, u"work"_s }).err;
    const std::string second = listing({ u"Work"_s, u"work"_s }).err;

    EXPECT_NE(first.find(u"Quillbox: Settings Were Open to Others. Other users of this computer had access to the "
                         "settings in “%1”, which hold the password. Now you alone have. "_s.arg(path)
                             .toStdString()),
              std::string::npos)
        << first;
    EXPECT_EQ(second, "");
}

} // namespace
