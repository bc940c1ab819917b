#include "StandardFolders.h"

#include "EnvironmentValue.h"
#include "Printers.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(StandardFoldersTest, NamesTheUsersFolders)
{
    EXPECT_EQ(downloadsDirectoryPath(), QDir::homePath() + u"/Downloads"_s);
    EXPECT_EQ(documentsDirectoryPath(), QDir::homePath() + u"/Documents"_s);
}

TEST(StandardFoldersTest, StateIsKeptWhereTheEnvironmentSaysOrInTheUsualPlace)
{
    {
        const EnvironmentValue state("XDG_STATE_HOME", "/var/my state/");
        EXPECT_EQ(stateDirectoryPath(), u"/var/my state"_s);
    }
    for (const char* const ignored : { "", "relative" }) {
        const EnvironmentValue state("XDG_STATE_HOME", ignored);
        EXPECT_EQ(stateDirectoryPath(), QDir::homePath() + u"/.local/state"_s);
    }
}

TEST(StandardFoldersTest, FoldersThatAreNamedByARelativePathCountForNothing)
{
    const EnvironmentValue config("XDG_CONFIG_HOME", "relative");
    const EnvironmentValue data("XDG_DATA_HOME", "/absolute");

    ignoreRelativeFolders();

    EXPECT_TRUE(qEnvironmentVariableIsEmpty("XDG_CONFIG_HOME"));
    EXPECT_EQ(qgetenv("XDG_DATA_HOME"), "/absolute");
    qputenv("XDG_DATA_HOME", "./relative");
    ignoreRelativeFolders();
    EXPECT_TRUE(qEnvironmentVariableIsEmpty("XDG_DATA_HOME"));
}

} // namespace
