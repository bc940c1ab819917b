#include "ListingTable.h"
#include "ViewControllerTest.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QHeaderView>
#include <QStandardPaths>

namespace {

class WindowMemoryTest : public ViewControllerTest {
protected:
    ~WindowMemoryTest() override { QFile::remove(path()); }

    static QString path()
    {
        return QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) + u"/window.ini"_s;
    }
    QHeaderView& header() { return *control<ListingTable>("destinationListingTable").horizontalHeader(); }
};

TEST_F(WindowMemoryTest, SizeColumnsAndOrderAreRemembered)
{
    m_controller->window().resize(700, 600);
    header().resizeSection(1, 123);
    header().setSortIndicator(3, Qt::DescendingOrder);
    m_controller->window().remember();

    startAgain();

    EXPECT_EQ(m_controller->window().size(), QSize(700, 600));
    EXPECT_EQ(header().sectionSize(1), 123);
    EXPECT_EQ(header().sortIndicatorSection(), 3);
    EXPECT_TRUE(control<QAction>("sortByDateAction").isChecked());
    ListingEntry older;
    older.modDate = 1;
    ListingEntry newer;
    newer.modDate = 2;
    m_controller->addListEntries({ older, newer });
    EXPECT_EQ(m_controller->listEntries().at(0), newer);
}

TEST_F(WindowMemoryTest, TheSettingsFileHoldsNothingOfIt)
{
    QFile settings(UserDefaults::standard().filePath());
    ASSERT_TRUE(settings.open(QIODevice::ReadOnly));
    const QByteArray before = settings.readAll();

    m_controller->window().remember();

    settings.seek(0);
    EXPECT_EQ(settings.readAll(), before);
    EXPECT_TRUE(QFile::exists(path()));
}

TEST_F(WindowMemoryTest, AMissingFolderIsMadeForTheOwnerAlone)
{
    const QString folder = QFileInfo(path()).path();
    ASSERT_TRUE(QDir().rename(folder, folder + u".aside"_s));

    m_controller->window().remember();

    EXPECT_TRUE(QFile::exists(path()));
    EXPECT_EQ(QFile::permissions(folder) & ~(QFile::ReadUser | QFile::WriteUser | QFile::ExeUser),
              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    ASSERT_TRUE(QDir(folder).removeRecursively());
    ASSERT_TRUE(QDir().rename(folder + u".aside"_s, folder));
}

TEST_F(WindowMemoryTest, WhatMakesNoSenseIsIgnored)
{
    QFile memory(path());
    ASSERT_TRUE(memory.open(QIODevice::WriteOnly));
    memory.write("[General]\ngeometry=@ByteArray(nonsense)\ncolumns=@ByteArray(nonsense)\n");
    memory.close();

    startAgain();

    EXPECT_EQ(header().sortIndicatorSection(), 0);
    EXPECT_GE(m_controller->window().width(), m_controller->window().minimumWidth());
}

} // namespace
