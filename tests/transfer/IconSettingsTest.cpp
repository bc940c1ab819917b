#include "IconSettings.h"

#include "DestinationSettings.h"
#include "ProgramName.h"
#include "SettingNames.h"
#include "SettingsAlert.h"
#include "UserDefaults.h"
#include "WebLink.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

class IconSettingsTest : public ::testing::Test {
protected:
    IconSettingsTest()
    {
        EXPECT_TRUE(UserDefaults::standard().store({ { SettingNames::address, u"main.example"_s },
                                                     { SettingNames::username, u"mainuser"_s },
                                                     { SettingNames::password, u"mainpassword"_s },
                                                     { SettingNames::ftpFolder, u"main"_s },
                                                     { SettingNames::encryption, u"required"_s },
                                                     { SettingNames::webAddress, u"https://main.example"_s } }));
    }
    ~IconSettingsTest() override
    {
        IconSettings::use(QString());
        setProgramFileName(QString());
        QFile::remove(UserDefaults::standard().filePath());
        QDir(QFileInfo(IconSettings::filePath(u"x"_s)).path()).removeRecursively();
        QDir(IconSettings::linkFolder()).removeRecursively();
    }

    /// Has the program run as the icon @p fileName with a server of its own.
    static void runAs(const QString& fileName)
    {
        setProgramFileName(fileName);
        EXPECT_TRUE(UserDefaults(IconSettings::filePath(fileName))
                        .store({ { SettingNames::address, u"own.example"_s },
                                 { SettingNames::username, u"anna"_s },
                                 { SettingNames::password, u"secret"_s },
                                 { SettingNames::ftpFolder, u"in"_s },
                                 { SettingNames::webAddress, u"https://own.example"_s } }));
        IconSettings::use(fileName);
    }
    static void write(const QString& path, const QByteArray& bytes)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
    }
};

TEST_F(IconSettingsTest, TheyLieInAPrivateFileBesideTheMainOnes)
{
    runAs(u"Photos:2024"_s);

    const QFileInfo file(IconSettings::filePath(u"Photos:2024"_s));
    EXPECT_EQ(file.filePath(), QFileInfo(UserDefaults::standard().filePath()).path() + u"/icons/Photos:2024.json"_s);
    EXPECT_EQ(file.permissions() & ~(QFile::ReadUser | QFile::WriteUser), QFile::ReadOwner | QFile::WriteOwner);
    EXPECT_EQ(QFileInfo(file.path()).permissions() & (QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther),
              QFile::Permissions());
}

TEST_F(IconSettingsTest, WhereNobodyCanTellAnIconHasAServerOfItsOwn)
{
    const QByteArray folder = QFile::encodeName(QFileInfo(IconSettings::filePath(u"x"_s)).path());
    ASSERT_EQ(::symlink(folder.constData(), folder.constData()), 0) << "leads to itself";

    EXPECT_TRUE(IconSettings::areOf(u"Work"_s));

    ASSERT_EQ(::unlink(folder.constData()), 0);
    EXPECT_FALSE(IconSettings::areOf(u"Work"_s));
    EXPECT_FALSE(IconSettings::areOf(QString(255, u'x'))) << "which is too long for the settings' file";
    write(QFile::decodeName(folder), "");
    EXPECT_FALSE(IconSettings::areOf(u"Work"_s)) << "as a file is in the folder's place";
    EXPECT_TRUE(QFile::remove(QFile::decodeName(folder)));
}

TEST_F(IconSettingsTest, TheProductItselfHasNone)
{
    runAs(u"Quillbox"_s);

    EXPECT_FALSE(IconSettings::areOf(u"Quillbox"_s));
}

TEST_F(IconSettingsTest, AnIconHasAServerOfItsOwnWhenItsSettingsOrItsLinkAreThere)
{
    EXPECT_FALSE(IconSettings::areOf(u"Work"_s));

    const QString link = IconSettings::linkFolder() + u"/Work"_s;
    ASSERT_TRUE(QDir().mkpath(IconSettings::linkFolder()));
    ASSERT_EQ(::symlink("/nowhere", QFile::encodeName(link).constData()), 0);
    EXPECT_TRUE(IconSettings::areOf(u"Work"_s));
    EXPECT_FALSE(IconSettings::areOf(u"work"_s));
    ASSERT_TRUE(QFile::remove(link));

    ASSERT_TRUE(UserDefaults(IconSettings::filePath(u"Work"_s)).store({}));
    EXPECT_TRUE(IconSettings::areOf(u"Work"_s));
    EXPECT_FALSE(IconSettings::areOf(u"work"_s));
}

TEST_F(IconSettingsTest, TheLongestNameCanBeStored)
{
    const QString fileName(IconSettings::longestFileName, u'x');

    EXPECT_TRUE(UserDefaults(IconSettings::filePath(fileName)).store({}));
    EXPECT_FALSE(UserDefaults(IconSettings::filePath(fileName + u'x')).store({}));
}

TEST_F(IconSettingsTest, WithoutThemTheMainOnesAndTheNameSayWhereFilesGo)
{
    setProgramFileName(u"Scans"_s);

    EXPECT_FALSE(IconSettings::areInUse());
    EXPECT_EQ(&connectionSettings(), &UserDefaults::standard());
    EXPECT_EQ(DestinationSettings::destination().location, u"ftp://main.example/main/Scans/"_s);
}

TEST_F(IconSettingsTest, FilesGoToExactlyTheFolderThatTheySayWhateverTheName)
{
    for (const QString& name : { u"Work"_s, u"Quillbox 2"_s, u"Photos:2024"_s }) {
        runAs(name);

        const Destination expected{ .location = u"ftp://own.example/in/"_s,
                                    .username = u"anna"_s,
                                    .password = u"secret"_s,
                                    .encryption = FTPEncryption::None };
        EXPECT_TRUE(DestinationSettings::destination() == expected) << name.toStdString();
        EXPECT_EQ(webLink(u"ftp://own.example/in/a"_s), u"https://own.example/a"_s);
        EXPECT_TRUE(webLink(u"ftp://main.example/main/a"_s).isNull());
    }
}

TEST_F(IconSettingsTest, TwoNamesThatDifferByCaseHaveTwoServers)
{
    runAs(u"work"_s);
    ASSERT_TRUE(UserDefaults(IconSettings::filePath(u"WORK"_s)).store({ { SettingNames::address, u"other"_s } }));

    IconSettings::use(u"WORK"_s);
    EXPECT_EQ(DestinationSettings::destination().location, u"ftp://other/"_s);
    IconSettings::use(u"work"_s);
    EXPECT_EQ(DestinationSettings::destination().location, u"ftp://own.example/in/"_s);
}

TEST_F(IconSettingsTest, WhileTheyAreGoneDamagedOrUnreadableThereIsNoServerAtAll)
{
    const QString path = IconSettings::filePath(u"Work"_s);
    const std::initializer_list<std::pair<const char*, std::function<void()>>> harms{
        { "gone", [&] { ASSERT_TRUE(QFile::remove(path)); } },
        { "damaged", [&] { write(path, "{ \"Address\": \"own.exa"); } },
        { "empty", [&] { write(path, ""); } },
        { "a folder", [&] { ASSERT_TRUE(QFile::remove(path) && QDir().mkdir(path)); } },
        { "a link to nothing", [&] { ASSERT_TRUE(QDir().rmdir(path) && QFile::link(u"/nowhere"_s, path)); } },
    };
    for (const auto& [name, harm] : harms) {
        SCOPED_TRACE(name);
        if (!QFileInfo(path).isDir()) {
            QFile::remove(path);
            runAs(u"Work"_s);
            ASSERT_FALSE(DestinationSettings::destination().isNull());
        }

        harm();

        EXPECT_TRUE(DestinationSettings::destination().isNull());
        EXPECT_TRUE(DestinationSettings::username().isNull());
        EXPECT_TRUE(DestinationSettings::password().isNull());
        EXPECT_TRUE(DestinationSettings::createFullURLFromFTPRootRelativePath(u"x"_s).isNull());
        EXPECT_FALSE(hasWebAddress());
        EXPECT_FALSE(connectionSettings().isReadable());
        IconSettings::use(u"Work"_s); // As the next start does.
        EXPECT_TRUE(IconSettings::areInUse());
        EXPECT_TRUE(DestinationSettings::destination().isNull());
    }
}

TEST_F(IconSettingsTest, WhatTheyDoNotSayIsNotTakenFromTheMainOnes)
{
    setProgramFileName(u"Work"_s);
    ASSERT_TRUE(UserDefaults(IconSettings::filePath(u"Work"_s)).store({ { SettingNames::address, u"host"_s } }));

    IconSettings::use(u"Work"_s);

    EXPECT_TRUE(DestinationSettings::destination() == Destination{ .location = u"ftp://host/"_s });
    EXPECT_FALSE(hasWebAddress());
}

TEST_F(IconSettingsTest, WhereASubFolderIconsFilesGoIsKnownToEveryIcon)
{
    runAs(u"Work"_s);

    EXPECT_EQ(DestinationSettings::destinationOfSubFolderIcon(u"Photos:2024"_s),
              u"ftp://main.example/main/Photos/2024/"_s);
}

TEST_F(IconSettingsTest, AlertsShowWhatActsUnseenInTheIconsName)
{
    const UserDefaults settings(u"/nowhere/a\u202Eb.json"_s, UserDefaults::Absence::IsBroken);
    const QString& path = settings.filePath();

    for (const SettingsAlert& alert :
         { SettingsAlert::broken(settings), SettingsAlert::iconBroken(settings), SettingsAlert::foreign(path, path),
           SettingsAlert::open(path, { .had = PrivateFile::Right::Read, .have = {} }) }) {
        EXPECT_TRUE(alert.text.contains(u"“/nowhere/a⟨U+202E⟩b.json”"_s)) << alert.title.toStdString();
        EXPECT_FALSE(alert.text.contains(u'\u202E')) << alert.title.toStdString();
    }
}

TEST_F(IconSettingsTest, ThoseOfAllIconsAreFound)
{
    EXPECT_TRUE(IconSettings::all().empty());
    for (const QString& name : { u"Work"_s, u".work"_s }) {
        ASSERT_TRUE(UserDefaults(IconSettings::filePath(name)).store({}));
    }
    write(QFileInfo(IconSettings::filePath(u"Work"_s)).path() + u"/Work.json.bak"_s, "{}");

    QStringList paths;
    for (const auto& each : IconSettings::all()) {
        paths.append(each->filePath());
    }

    EXPECT_EQ(paths, (QStringList{ IconSettings::filePath(u".work"_s), IconSettings::filePath(u"Work"_s) }));
}

} // namespace
