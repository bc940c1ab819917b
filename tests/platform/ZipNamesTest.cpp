#include "ZipNames.h"

#include "FileOfBytes.h"
#include "LocalPath.h"
#include "Printers.h"
#include "ZipBytes.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

QList<QByteArray> namesIn(const QByteArray& bytes)
{
    const QTemporaryDir folder;
    const FileOfBytes file(folder.path(), "a\xe9", bytes);
    return namesInZip(LocalPath::fromBytes(file.path()));
}

TEST(ZipNamesTest, GivesTheNamesInTheDirectoryInOrder)
{
    EXPECT_EQ(namesIn(zipOf({ "mimetype", "word/vbaProject.bin", "" })),
              (QList<QByteArray>{ "mimetype", "word/vbaProject.bin", "" }));
}

TEST(ZipNamesTest, OfAnythingElseThereAreNone)
{
    for (const QByteArray& bytes : { ""_ba, "text"_ba, "PK\1\2"_ba, QByteArray(100, 'P') }) {
        EXPECT_EQ(namesIn(bytes), QList<QByteArray>());
    }
    EXPECT_EQ(namesInZip(u"/dev/zero"_s), QList<QByteArray>());
    EXPECT_EQ(namesInZip(u"/no/such/file"_s), QList<QByteArray>());
}

TEST(ZipNamesTest, ANameThatIsCutIsGivenAsFarAsItGoes)
{
    EXPECT_EQ(namesIn("PK\1\2" + QByteArray(24, 0) + "\x09" + QByteArray(17, 0) + "short"),
              QList<QByteArray>{ "short" });
}

TEST(ZipNamesTest, OfAFileThatIsLargerThanAnybodyReadsTheEndCounts)
{
    const QByteArray zip = zipOf({ "Basic/a" });

    EXPECT_EQ(namesIn("PK\1\2" + QByteArray(zipDirectoryLimit, 'x') + zip), QList<QByteArray>{ "Basic/a" });
}

} // namespace
