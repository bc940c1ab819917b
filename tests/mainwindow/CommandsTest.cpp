#include "Beeps.h"
#include "ListingTable.h"
#include "LoopSuspension.h"
#include "ViewControllerTest.h"

#include <QAction>
#include <QClipboard>
#include <QFileDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenuBar>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>
#include <QUrl>

namespace {

class CommandsTest : public ViewControllerTest {
protected:
    QAction& action(const char* name) { return control<QAction>(name); }
    ListingTable& table() { return control<ListingTable>("destinationListingTable"); }
    void addFile(const QString& name)
    {
        ListingEntry entry;
        entry.name = name;
        entry.type = ListingEntry::plainFileType;
        m_controller->addListEntries({ entry });
    }
    static void copyFiles(const QList<QUrl>& urls)
    {
        auto* const data = new QMimeData;
        data->setUrls(urls);
        QGuiApplication::clipboard()->setMimeData(data);
    }
    void pressInTable(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        m_controller->window().activateWindow();
        table().setFocus();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&m_controller->window()));
        tick();
        QTest::keyClick(&table(), key, modifiers);
    }
};

TEST_F(CommandsTest, CommandsAreEnabledExactlyWhenTheyCanAct)
{
    const QStringList always{ u"openFilesAction"_s,       u"quitAction"_s,
                              u"preferencesAction"_s,     u"aboutAction"_s,
                              u"manualTransfersAction"_s, u"welcomeAction"_s,
                              u"copyLocationAction"_s,    u"newFolderAction"_s,
                              u"historyAction"_s,         u"dropIconsAction"_s };
    const auto enabled = [&] {
        tick();
        QStringList names;
        for (const QAction* candidate : m_controller->window().findChildren<QAction*>()) {
            const QString name = candidate->objectName();
            const bool isCommand = name.endsWith(u"Action"_s) && !name.startsWith(u"sort"_s)
                && name != u"pasteFilesAction"_s && name != u"websiteAction"_s;
            if (isCommand && candidate->isEnabled() && !always.contains(name)) {
                names.append(name.chopped(6));
            }
        }
        names.sort();
        return names.join(u' ');
    };

    EXPECT_EQ(enabled(), u"refresh"_s);
    addFile(u"a"_s);
    table().selectRow(0);
    EXPECT_EQ(enabled(), u"copyItemLocation delete download refresh"_s);
    m_controller->uploadFiles({ makeFile(u"x"_s), makeFile(u"y"_s) });
    tick();
    EXPECT_EQ(enabled(), u"clearQueue copyItemLocation delete download stop"_s);
    m_controller->clearQueue();
    EXPECT_EQ(enabled(), u"copyItemLocation delete download stop"_s);
    m_controller->stopButtonAction();
    EXPECT_EQ(enabled(), u"copyItemLocation delete download refresh"_s);
    unset(u"Address"_s);
    EXPECT_TRUE(waitFor([&enabled] { return enabled() == u"refresh"_s; }));
    EXPECT_EQ(m_controller->listing().model().numberOfRowsInTableView(), 0);
    action("refreshAction").trigger(); // There is nothing to list.
    EXPECT_EQ(enabled(), u"refresh"_s);
    EXPECT_FALSE(action("copyLocationAction").isEnabled());
    EXPECT_FALSE(action("newFolderAction").isEnabled());
}

TEST_F(CommandsTest, TransferCommandsDoWhatTheirButtonsDo)
{
    m_controller->uploadFiles({ makeFile(u"x"_s), makeFile(u"y"_s) });
    tick();
    tick();
    action("clearQueueAction").trigger();
    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
    action("stopAction").trigger();
    EXPECT_FALSE(m_controller->pc().isSending());
    tick();
    action("refreshAction").trigger();
    EXPECT_TRUE(m_controller->lc().isReceiving());
}

TEST_F(CommandsTest, CommandsOfTheApplicationAreHandedOn)
{
    QSignalSpy copies(m_controller.get(), &ViewController::copyLocationToClipboard);
    QSignalSpy visits(m_controller.get(), &ViewController::goToWebsite);

    action("copyLocationAction").trigger();
    EXPECT_FALSE(action("websiteAction").isVisible());
    m_controller->window().setHasWebsite(true);
    EXPECT_TRUE(action("websiteAction").isVisible());
    action("websiteAction").trigger();

    EXPECT_EQ(copies.size(), 1);
    EXPECT_EQ(visits.size(), 1);
}

TEST_F(CommandsTest, QuitClosesTheWindow)
{
    action("quitAction").trigger();

    EXPECT_FALSE(m_controller->window().isVisible());
}

TEST_F(CommandsTest, KeysActOnTheSelectedRow)
{
    m_controller->listFTPDestination();
    addFile(u"a b"_s);
    table().selectRow(0);

    pressInTable(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"ftp://host/in/a%20b"_s);
    pressInTable(Qt::Key_Delete);
    EXPECT_EQ(shownSheets(), QStringList{ u"Delete Item: Are you sure you want to delete \"a b\"?"_s });
    answerSheet(u"Cancel"_s);
    pressInTable(Qt::Key_Return);
    EXPECT_TRUE(m_controller->gc().isReceiving());
}

TEST_F(CommandsTest, TheCopiedLocationIsThatOfTheItemThatIsListedAndWithoutOneThereIsABeep)
{
    control<QLineEdit>("destinationTextField").setText(u"sub"_s);
    m_controller->windows().manualTransfers().startStopList(&button("startStopListButton"));
    ListingEntry entry;
    entry.name = u"caf√©"_s;
    entry.rawName = "caf\xE9"_ba;
    m_controller->addListEntries({ entry });
    const Beeps beeps;
    emit control<QAction>("copyItemLocationAction").triggered();
    EXPECT_EQ(beeps.count(), 1);
    table().selectRow(0);
    set({ { u"Address"_s, u"elsewhere"_s } });

    emit control<QAction>("copyItemLocationAction").triggered();

    EXPECT_EQ(beeps.count(), 1);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"ftp://host/in/sub/caf%E9"_s);
}

TEST_F(CommandsTest, TheWebLinkOfAnItemIsOfferedWhereTheFolderHasAWebAddress)
{
    ListingEntry plain;
    plain.name = u"a b"_s;
    ListingEntry raw;
    raw.name = u"caf√©"_s;
    raw.rawName = "caf\xE9"_ba;
    tick();
    m_controller->addListEntries({ plain, raw });
    auto& copyWebLink = action("copyWebLinkAction");
    EXPECT_TRUE(table().actions().contains(&copyWebLink));
    table().selectRow(0);
    tick();
    EXPECT_FALSE(copyWebLink.isVisible());

    set(u"WebAddress"_s, u"https://www.example.com/files"_s);
    tick();
    ASSERT_TRUE(copyWebLink.isVisible());
    copyWebLink.trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"https://www.example.com/files/a%20b"_s);

    table().selectAll();
    copyWebLink.trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->text(),
              u"https://www.example.com/files/a%20b\nhttps://www.example.com/files/caf%E9"_s);
    table().clearSelection();
    tick();
    EXPECT_FALSE(copyWebLink.isEnabled());
}

TEST_F(CommandsTest, TheContextMenuOffersTheCommandsOfARow)
{
    EXPECT_EQ(table().contextMenuPolicy(), Qt::ActionsContextMenu);
    for (const char* name : { "downloadAction", "deleteAction", "copyItemLocationAction" }) {
        EXPECT_TRUE(table().actions().contains(&action(name))) << name;
    }
}

TEST_F(CommandsTest, TheSortMenuShowsAndSetsTheOrder)
{
    EXPECT_TRUE(action("sortByNameAction").isChecked());
    EXPECT_TRUE(action("sortAscendingAction").isChecked());

    action("sortByDateAction").trigger();
    action("sortDescendingAction").trigger();
    EXPECT_EQ(table().sortDescriptors(), (QList<SortDescriptor>{ { .key = u"Date"_s, .ascending = false } }));
    table().horizontalHeader()->setSortIndicator(1, Qt::AscendingOrder);
    EXPECT_TRUE(action("sortBySizeAction").isChecked());
    EXPECT_TRUE(action("sortAscendingAction").isChecked());
}

TEST_F(CommandsTest, FilesOnTheClipboardArePastedAndWithoutAnyThereIsABeep)
{
    const QString file = makeFile(u"a b"_s);
    QGuiApplication::clipboard()->setText(u"text"_s);
    EXPECT_FALSE(action("pasteFilesAction").isEnabled());
    copyFiles({ QUrl(u"https://host/page"_s) });
    EXPECT_FALSE(action("pasteFilesAction").isEnabled());
    const Beeps beeps;
    emit control<QAction>("pasteFilesAction").triggered();
    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
    EXPECT_EQ(beeps.count(), 1);

    copyFiles({ QUrl::fromLocalFile(m_directory.path()), QUrl::fromLocalFile(file) });
    EXPECT_TRUE(action("pasteFilesAction").isEnabled());
    action("pasteFilesAction").trigger();
    EXPECT_EQ(m_controller->fileUploadQueue(), QStringList{ file });
    EXPECT_EQ(beeps.count(), 1);
}

TEST_F(CommandsTest, WhatIsPastedBesideFilesIsLeftOut)
{
    copyFiles({ QUrl::fromLocalFile(m_directory.path()), QUrl::fromLocalFile(makeFile(u"a"_s)) });

    action("pasteFilesAction").trigger();

    EXPECT_EQ(m_controller->history().queueTally(), FileTally{ .leftOut = 1 });
}

TEST_F(CommandsTest, FilesCopiedWhileTheLoopIsSuspendedCanBePastedAsSoonAsItIsResumed)
{
    QGuiApplication::clipboard()->setText(u"text"_s);
    {
        const LoopSuspension suspension;
        copyFiles({ QUrl::fromLocalFile(makeFile(u"a"_s)) });
        drainEventLoop();
        EXPECT_FALSE(action("pasteFilesAction").isEnabled());
    }

    EXPECT_TRUE(waitFor([this] { return action("pasteFilesAction").isEnabled(); }));
}

TEST_F(CommandsTest, ChosenFilesAreUploadedAndTheChooserHoldsNothing)
{
    const QString file = makeFile(u"a"_s);
    action("openFilesAction").trigger();
    auto* const chooser = m_controller->window().findChild<QFileDialog*>();
    ASSERT_NE(chooser, nullptr);
    EXPECT_EQ(chooser->windowModality(), Qt::WindowModal);

    emit chooser->filesSelected({ file });

    EXPECT_EQ(m_controller->fileUploadQueue(), QStringList{ file });
    tick();
    EXPECT_TRUE(m_controller->pc().isSending());
}

TEST_F(CommandsTest, TheChooserOpensInTheFolderOfTheFilesThatWereChosenLast)
{
    const auto openChooser = [this] {
        action("openFilesAction").trigger();
        return std::unique_ptr<QFileDialog>(m_controller->window().findChild<QFileDialog*>());
    };
    std::unique_ptr<QFileDialog> chooser = openChooser();
    ASSERT_NE(chooser->directory(), QDir(m_directory.path()));
    chooser->setDirectory(m_directory.path());
    emit chooser->filesSelected({ makeFile(u"a"_s) });
    chooser.reset();
    QFileDialog().setDirectory(QDir::rootPath()); // Choosers without a folder begin where the last one of all was.

    chooser = openChooser();

    EXPECT_EQ(chooser->directory(), QDir(m_directory.path()));
}

TEST_F(CommandsTest, NoTwoCommandsShareAShortcut)
{
    QStringList shortcuts;
    for (const QAction* candidate : m_controller->window().findChildren<QAction*>()) {
        for (const QKeySequence& keys : candidate->shortcuts()) {
            EXPECT_FALSE(shortcuts.contains(keys.toString())) << keys.toString().toStdString();
            shortcuts.append(keys.toString());
        }
    }
    EXPECT_GE(shortcuts.size(), 14);
}

} // namespace
