#include "PromisedFile.h"

#include "DirectSave.h"
#include "DragExtraction.h"
#include "Printers.h"
#include "WaitFor.h"

#include <QWidget>

#include <gtest/gtest.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

TEST(DirectSaveTest, ARequestIsALocalFilesPath)
{
    EXPECT_EQ(DirectSave::pathOfRequest("file:///dest%20dir/na%C3%AFve.txt"), u"/dest dir/naïve.txt"_s);
    EXPECT_EQ(DirectSave::pathOfRequest("file://localhost/a"), u"/a"_s);
}

TEST(DirectSaveTest, BytesAfterTheEndOfARequestAreIgnored)
{
    EXPECT_EQ(DirectSave::pathOfRequest("file:///a\0"_ba), u"/a"_s);
    EXPECT_EQ(DirectSave::pathOfRequest("file:///a\r\n"), u"/a"_s);
    EXPECT_EQ(DirectSave::pathOfRequest("file:///a\0/b"_ba), u"/a"_s);
}

TEST(DirectSaveTest, WhatIsNoLocalFileIsNoRequest)
{
    for (const QByteArray& value : { "naïve.txt"_ba, ""_ba, "file://elsewhere.example/a"_ba, "sftp://host/a"_ba,
                                     "/a"_ba, "file:"_ba, "file:a"_ba, "file:%2Fhome%2Fx.desktop"_ba }) {
        EXPECT_TRUE(DirectSave::pathOfRequest(value).isNull()) << value.constData();
    }
}

class PromisedFileTest : public ::testing::Test {
protected:
    std::unique_ptr<PromisedFile> promise(const QString& name = u"a.txt"_s)
    {
        return std::make_unique<PromisedFile>(name, *m_source,
                                              [this](const QString& folder) { m_folders.append(folder); });
    }
    DragExtraction& extraction() const { return *m_source->findChild<DragExtraction*>(); }

    std::unique_ptr<QWidget> m_source = std::make_unique<QWidget>();
    QStringList m_folders;
};

TEST_F(PromisedFileTest, OffersNeitherLocationsNorContents)
{
    const auto file = promise();
    file->setData(u"application/x-mine"_s, "1");

    EXPECT_TRUE(file->hasFormat(u"application/x-mine"_s));
    EXPECT_EQ(file->data(u"application/x-mine"_s), "1");
    EXPECT_FALSE(file->hasUrls());
    EXPECT_FALSE(file->hasText());
    EXPECT_FALSE(file->hasFormat(u"application/octet-stream"_s));
}

TEST_F(PromisedFileTest, IsMadeInTheFolderThatTheTargetNamesAfterTheDrop)
{
    const auto file = promise();
    extraction().extractSelectedFilesTo(u"/too early"_s);
    file->setDropped();

    extraction().extractSelectedFilesTo(u"/dest dir"_s);

    EXPECT_EQ(m_folders, QStringList()); // Not inside the target's call.
    EXPECT_TRUE(waitFor([this] { return !m_folders.isEmpty(); }));
    EXPECT_EQ(m_folders, QStringList{ u"/dest dir"_s });
}

TEST_F(PromisedFileTest, IsMadeOnce)
{
    const auto file = promise();
    file->setDropped();

    extraction().extractSelectedFilesTo(u"/one"_s);
    extraction().extractSelectedFilesTo(u"/two"_s);

    EXPECT_FALSE(waitFor([this] { return m_folders.size() > 1; }, std::chrono::milliseconds(200)));
    EXPECT_EQ(m_folders, QStringList{ u"/one"_s });
}

TEST_F(PromisedFileTest, IsMadeAlsoWhenTheDraggedDataIsGone)
{
    auto file = promise();
    file->begin();
    file->setDropped();
    file.reset();

    extraction().extractSelectedFilesTo(u"file:///dest%20dir"_s);

    EXPECT_TRUE(waitFor([this] { return m_folders == QStringList{ u"/dest dir"_s }; }));
}

TEST_F(PromisedFileTest, IsNotMadeElsewhereThanInALocalFolder)
{
    const auto file = promise();
    file->setDropped();
    for (const QString& folder : { u"dest"_s, u""_s, u"sftp://host/dest"_s, u"file://elsewhere.example/dest"_s }) {
        extraction().extractSelectedFilesTo(folder);
    }

    EXPECT_FALSE(waitFor([this] { return !m_folders.isEmpty(); }, std::chrono::milliseconds(200)));
}

TEST_F(PromisedFileTest, TheNextDragTakesTheLastOnesPlace)
{
    const auto first = promise();
    first->begin();
    const QString path = extraction().path();
    const auto second = promise();
    EXPECT_EQ(m_source->findChildren<DragExtraction*>().size(), 2); // It may still be refused.
    second->begin();

    EXPECT_EQ(m_source->findChildren<DragExtraction*>().size(), 1);
    EXPECT_NE(extraction().path(), path);
    EXPECT_EQ(first->data(DragExtraction::pathFormat),
              first->hasFormat(DragExtraction::pathFormat) ? path.toUtf8() : QByteArray());
}

TEST_F(PromisedFileTest, APromiseThatIsNotDraggedLeavesNothing)
{
    promise().reset();

    EXPECT_TRUE(m_source->findChildren<DragExtraction*>().isEmpty());
}

TEST_F(PromisedFileTest, ANameThatIsNoFileNameIsOfferedToNobody)
{
    for (const QString& name : { u"../a"_s, u".."_s, u""_s, u"a/b"_s }) {
        EXPECT_EQ(promise(name)->formats(), QStringList()) << name.toStdString();
    }
}

TEST_F(PromisedFileTest, DirectSaveIsOfferedWhereThereIsAnXServer)
{
    EXPECT_EQ(promise()->hasFormat(DirectSave::format), DirectSave::isAvailable());
}

} // namespace
