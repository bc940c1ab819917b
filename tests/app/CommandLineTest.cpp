#include "CommandLine.h"

#include "LocalPath.h"
#include "Printers.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <optional>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

class CommandLineTest : public ::testing::Test {
protected:
    std::optional<CommandLine> read(const QStringList& words)
    {
        return CommandLine::read(QStringList{ u"Quillbox"_s } + words, u"1.2"_s, m_exitCode);
    }

    int m_exitCode = -1;
};

TEST_F(CommandLineTest, PathsBecomeAbsolute)
{
    const auto commandLine = read({ u"a b"_s, u"/x/../y"_s, u"./c"_s, u"file:///d%20e"_s, u"--"_s, u"-f"_s });

    ASSERT_TRUE(commandLine);
    const QString here = QDir::currentPath() + u'/';
    EXPECT_EQ(commandLine->files,
              (QStringList{ here + u"a b"_s, u"/x/../y"_s, here + u"./c"_s, u"/d e"_s, here + u"-f"_s }));
    EXPECT_EQ(commandLine->filesAsGiven,
              (QStringList{ u"a b"_s, u"/x/../y"_s, u"./c"_s, u"file:///d%20e"_s, u"-f"_s }));
}

TEST_F(CommandLineTest, WhatIsNoCompleteFileURLIsAName)
{
    const auto commandLine = read({ u":x"_s, u"file:x"_s, u"http://host/x"_s, u"file://localhost/x"_s });

    ASSERT_TRUE(commandLine);
    const QString here = QDir::currentPath() + u'/';
    EXPECT_EQ(commandLine->files,
              (QStringList{ here + u":x"_s, here + u"file:x"_s, here + u"http://host/x"_s, u"/x"_s }));
}

TEST_F(CommandLineTest, PathsBeginWithOneSlashSoThatNothingIsTakenForAHost)
{
    const auto commandLine = read({ u"//x/y"_s, u"///a//../b"_s, u"/"_s, u"//"_s, u"file:////c"_s });

    ASSERT_TRUE(commandLine);
    EXPECT_EQ(commandLine->files, (QStringList{ u"/x/y"_s, u"/a//../b"_s, u"/"_s, u"/"_s, u"/c"_s }));
}

TEST_F(CommandLineTest, AWordThatNamesNothingIsAnErrorAndNotTheFolderItself)
{
    for (const QStringList& words : { QStringList{ u"--wait"_s, u""_s }, { u"/a"_s, u""_s }, { u"--"_s, u""_s } }) {
        ::testing::internal::CaptureStderr();
        EXPECT_FALSE(read(words));
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Quillbox: \"\" names no file.\n");
        EXPECT_EQ(m_exitCode, 2);
    }
    for (const QString& option : { u"--icon"_s, u"--settings"_s }) {
        EXPECT_FALSE(read({ option, u""_s, u"/a"_s }));
        EXPECT_EQ(m_exitCode, 2);
    }
}

TEST_F(CommandLineTest, InAFolderThatIsGoneANameIsNoFileBelowTheRoot)
{
    const QString before = QDir::currentPath();
    std::optional<QTemporaryDir> folder(std::in_place);
    ASSERT_TRUE(QDir::setCurrent(folder->path()));
    folder.reset();

    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(read({ u"/tmp"_s, u"tmp"_s }));
    const std::string said = ::testing::internal::GetCapturedStderr();
    const auto commandLine = read({ u"/a"_s, u"file:///b"_s });
    QDir::setCurrent(before);

    EXPECT_EQ(said, "Quillbox: \"tmp\" names no file: the current folder is gone.\n");
    ASSERT_TRUE(commandLine);
    EXPECT_EQ(commandLine->files, (QStringList{ u"/a"_s, u"/b"_s }));
}

TEST_F(CommandLineTest, NamesThatAreNotUtf8KeepTheirBytes)
{
    const QTemporaryDir folder;
    const QByteArray here = QFile::encodeName(folder.path()) + "/d\xff";
    const QString before = QDir::currentPath();
    ASSERT_EQ(::mkdir(here.constData(), S_IRWXU), 0);
    ASSERT_EQ(::chdir(here.constData()), 0);

    const auto commandLine = read({ LocalPath::fromBytes("caf\xe9"), u"file:///caf%E9"_s });

    QDir::setCurrent(before);
    ::rmdir(here.constData());
    ASSERT_TRUE(commandLine);
    EXPECT_EQ(commandLine->files,
              (QStringList{ LocalPath::fromBytes(here + "/caf\xe9"), LocalPath::fromBytes("/caf\xe9") }));
}

TEST_F(CommandLineTest, ANameGivenInTheRootFolderBeginsWithOneSlash)
{
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(u"/"_s));

    const auto commandLine = read({ u"a/b"_s, u"file:x"_s });

    QDir::setCurrent(before);
    ASSERT_TRUE(commandLine);
    EXPECT_EQ(commandLine->files, (QStringList{ u"/a/b"_s, u"/file:x"_s }));
}

TEST_F(CommandLineTest, ASessionManagersWordsAreNoFilesAndAloneOnTheLine)
{
    const auto commandLine = read({ u"-session"_s, u"2a_17"_s });
    ASSERT_TRUE(commandLine);
    EXPECT_EQ(commandLine->files, QStringList());

    for (const QStringList& words : { QStringList{ u"-session"_s },
                                      { u"-session"_s, u"2a_17"_s, u"/a"_s },
                                      { u"/a"_s, u"-session"_s, u"/b"_s } }) {
        EXPECT_FALSE(read(words));
        EXPECT_EQ(m_exitCode, 2);
    }

    const auto names = read({ u"--"_s, u"-session"_s, u"/a"_s });
    ASSERT_TRUE(names);
    EXPECT_EQ(names->files, (QStringList{ QDir::currentPath() + u"/-session"_s, u"/a"_s }));
}

TEST_F(CommandLineTest, WhereAFileIsNamedLikeTheSessionManagersOptionNoOtherIsTakenForAnID)
{
    const QTemporaryDir folder;
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(folder.path()));
    ASSERT_TRUE(QFile(u"-session"_s).open(QIODevice::WriteOnly));

    EXPECT_FALSE(read({ u"-session"_s, u"one.txt"_s }));

    QDir::setCurrent(before);
}

TEST_F(CommandLineTest, FilesAreWaitedForOrGoUpWithoutAWindow)
{
    EXPECT_FALSE(read({ u"/a"_s })->isWaitedFor);
    EXPECT_FALSE(read({ u"/a"_s })->isHidden);
    EXPECT_TRUE(read({ u"--wait"_s, u"/a"_s })->isWaitedFor);
    EXPECT_TRUE(read({ u"/a"_s, u"--hidden"_s })->isHidden);

    for (const QStringList& words : { QStringList{ u"--wait"_s },
                                      { u"--hidden"_s },
                                      { u"--wait"_s, u"--hidden"_s },
                                      { u"--hidden"_s, u"--preferences"_s, u"/a"_s } }) {
        EXPECT_FALSE(read(words));
        EXPECT_EQ(m_exitCode, 2);
    }
}

TEST_F(CommandLineTest, WithoutFilesNothingIsOpened)
{
    const auto commandLine = read({});

    ASSERT_TRUE(commandLine);
    EXPECT_TRUE(commandLine->files.isEmpty());
    EXPECT_TRUE(commandLine->action.isNull());
}

TEST_F(CommandLineTest, ALaunchersActionGoesWithOrWithoutFiles)
{
    EXPECT_EQ(read({ u"--preferences"_s }).value_or(CommandLine()).action, u"preferences"_s);

    const auto commandLine = read({ u"--preferences"_s, u"/a"_s });

    ASSERT_TRUE(commandLine);
    EXPECT_EQ(commandLine->action, u"preferences"_s);
    EXPECT_EQ(commandLine->files, QStringList{ u"/a"_s });
}

TEST_F(CommandLineTest, HelpAndVersionEndAtOnce)
{
    for (const QString& word : { u"--version"_s, u"-v"_s }) {
        ::testing::internal::CaptureStdout();
        EXPECT_FALSE(read({ word, u"--frobnicate"_s }));
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Quillbox 1.2\n");
        EXPECT_EQ(m_exitCode, 0);
    }
    for (const QString& word : { u"--help"_s, u"-h"_s }) {
        ::testing::internal::CaptureStdout();
        EXPECT_FALSE(read({ u"/a"_s, word }));
        const std::string help = ::testing::internal::GetCapturedStdout();
        for (const char* part : { "Usage: Quillbox", "[FILE...]", "-h, --help", "-v, --version", "--preferences" }) {
            EXPECT_NE(help.find(part), std::string::npos) << part;
        }
        EXPECT_EQ(m_exitCode, 0);
    }
}

TEST_F(CommandLineTest, AWordThatBeginsWithADashAndIsNoOptionIsAnErrorThatNamesIt)
{
    for (const QString& word : { u"--frobnicate"_s, u"-"_s, u"---"_s, u"-x"_s, u"-hv"_s, u"-style"_s, u"-platform"_s,
                                 u"-stylesheet=x"_s, u"--help=x"_s, u"--preferences=x"_s, u"-preferences"_s }) {
        ::testing::internal::CaptureStderr();
        EXPECT_FALSE(read({ u"/a"_s, word, u"/b"_s })) << word.toStdString();
        EXPECT_EQ(::testing::internal::GetCapturedStderr(),
                  "Quillbox: There is no option \"" + word.toStdString()
                      + "\". A file of that name is given behind \"--\", and \"--help\" shows the options.\n");
        EXPECT_EQ(m_exitCode, 2);
    }
}

TEST_F(CommandLineTest, AnErrorCannotWriteToTheTerminalByTheNameOfAFile)
{
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(read({ u"-\033]0;x\a"_s + QChar(0xdce9) }));
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("\"-␛]0;x␇⟨0xE9⟩\""), std::string::npos);
}

TEST_F(CommandLineTest, EveryWordBehindTwoDashesIsAFile)
{
    const QStringList names{ u"--"_s,      u"-"_s,        u"-h"_s,        u"--help"_s,        u"--version"_s,
                             u"-style"_s,  u"-session"_s, u"-platform"_s, u"-stylesheet=x"_s, u"--preferences"_s,
                             u"-session"_s };
    QStringList paths;
    for (const QString& name : names) {
        paths.append(QDir::currentPath() + u'/' + name);
    }

    const auto commandLine = read(QStringList{ u"--"_s } + names);

    ASSERT_TRUE(commandLine);
    EXPECT_EQ(commandLine->files, paths);
    EXPECT_TRUE(commandLine->action.isNull());
}

TEST_F(CommandLineTest, AnIconIsNamedByTheWordBehindItsOption)
{
    const auto commandLine = read({ u"--icon"_s, u"--help"_s, u"/a"_s, u"--preferences"_s });

    ASSERT_TRUE(commandLine);
    EXPECT_EQ(commandLine->icon, u"--help"_s);
    EXPECT_EQ(commandLine->files, QStringList{ u"/a"_s });
    EXPECT_EQ(commandLine->action, u"preferences"_s);
    EXPECT_FALSE(commandLine->listsIcons);
    EXPECT_TRUE(read({ u"/a"_s })->icon.isNull());
    EXPECT_TRUE(read({ u"--list-icons"_s })->listsIcons);

    EXPECT_FALSE(read({ u"/a"_s, u"--icon"_s }));
    EXPECT_EQ(m_exitCode, 2);
}

TEST_F(CommandLineTest, WhoeverListsTheIconsAsksForNothingThatWouldNotBeDone)
{
    for (const QStringList& others :
         { QStringList{ u"/a"_s }, { u"--wait"_s, u"/a"_s }, { u"--icon"_s, u"b"_s }, { u"--preferences"_s } }) {
        for (const QStringList& words :
             { others + QStringList{ u"--list-icons"_s }, QStringList{ u"--list-icons"_s } + others }) {
            ::testing::internal::CaptureStderr();
            EXPECT_FALSE(read(words));
            EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Quillbox: \"--list-icons\" stands alone.\n");
            EXPECT_EQ(m_exitCode, 2);
        }
    }
}

TEST_F(CommandLineTest, AnIconsSettingsAreNamedByTheWordBehindTheirOptionAndBeforeTheFiles)
{
    const auto commandLine = read({ u"--settings"_s, u"/icons/-a b.json"_s, u"/a"_s });

    ASSERT_TRUE(commandLine);
    EXPECT_EQ(commandLine->settings, u"/icons/-a b.json"_s);
    EXPECT_EQ(commandLine->files, QStringList{ u"/a"_s });
    EXPECT_TRUE(read({ u"/a"_s })->settings.isNull());

    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(read({ u"/a"_s, u"--settings"_s }));
    EXPECT_EQ(m_exitCode, 2);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "Quillbox: \"--settings\" is followed by a file with an icon's settings.\n");
}

} // namespace
