#include "StandardFolders.h"

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

} // namespace
