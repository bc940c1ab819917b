#include "MainMenu.h"

#include "AlertDialog.h"
#include "CopyOrBeep.h"
#include "DroppedFiles.h"
#include "DroppedFolders.h"
#include "LoopSuspension.h"
#include "MainWindow.h"
#include "ViewController.h"
#include "WebLink.h"
#include "WindowState.h"
#include "ui_MainWindow.h"

#include <QActionGroup>
#include <QApplication>
#include <QClipboard>
#include <QFileInfo>
#include <QHeaderView>
#include <QMimeData>

using namespace Qt::StringLiterals;

MainMenu::MainMenu(MainWindow& window, ViewController& controller)
    : m_window(window)
    , m_controller(controller)
    , m_chooser(window)
    , m_copyWebLinkAction(new QAction(u"Copy &Web Link"_s, &window))
{
    connectActions();
    connectSortActions();
    watchClipboard();
}

void MainMenu::connectActions()
{
    const Ui::MainWindow& ui = m_window.ui();
    const auto on
        = [this](const QAction* action, auto slot) { connect(action, &QAction::triggered, &m_controller, slot); };
    ItemActions* const items = &m_controller.items();
    connect(ui.newFolderAction, &QAction::triggered, items, &ItemActions::createFolderButtonAction);
    connect(ui.downloadAction, &QAction::triggered, items, &ItemActions::downloadSelection);
    connect(ui.deleteAction, &QAction::triggered, items, &ItemActions::deleteSelection);
    SecondaryWindows* const windows = &m_controller.windows();
    connect(ui.historyAction, &QAction::triggered, windows, [windows] { windows->showHistory({}); });
    connect(ui.manualTransfersAction, &QAction::triggered, windows, &SecondaryWindows::showManualTransfers);
    connect(ui.preferencesAction, &QAction::triggered, windows, &SecondaryWindows::showPreferences);
    connect(ui.stopListingAction, &QAction::triggered, &m_controller.listing(), &DestinationListing::stop);
    on(ui.copyLocationAction, &ViewController::copyLocationToClipboard);
    on(ui.refreshAction, &ViewController::refresh);
    on(ui.stopAction, &ViewController::stopButtonAction);
    on(ui.clearQueueAction, &ViewController::clearQueue);
    on(ui.websiteAction, &ViewController::goToWebsite);
    on(ui.dropIconsAction, &ViewController::dropIconsWindowRequested);
    on(ui.welcomeAction, &ViewController::welcomeWindowRequested);
    connect(ui.openFilesAction, &QAction::triggered, this, &MainMenu::openFiles);
    connect(&m_chooser, &FileChooser::filesSelected, this, &MainMenu::upload);
    connect(ui.dragAndDropView, &DragDropView::pressed, ui.openFilesAction, &QAction::trigger);
    connect(ui.pasteFilesAction, &QAction::triggered, this, &MainMenu::pasteFiles);
    connect(ui.copyItemLocationAction, &QAction::triggered, this, &MainMenu::copyItemLocation);
    connect(ui.aboutAction, &QAction::triggered, this, &MainMenu::showAbout);
    connect(ui.quitAction, &QAction::triggered, &m_window, &QWidget::close);
    m_copyWebLinkAction->setObjectName(u"copyWebLinkAction"_s);
    m_copyWebLinkAction->setVisible(false);
    m_copyWebLinkAction->setEnabled(false);
    connect(m_copyWebLinkAction, &QAction::triggered, this, &MainMenu::copyWebLink);
    ui.refreshAction->setShortcuts({ QKeySequence(Qt::Key_F5), QKeySequence(u"Ctrl+R"_s) });
    ui.downloadAction->setShortcuts({ QKeySequence(Qt::Key_Return), QKeySequence(Qt::Key_Enter) });
    ui.stopListingAction->setShortcutContext(Qt::WidgetShortcut); // Escape means something else elsewhere.
    ui.destinationListingTable->addActions({ ui.downloadAction, ui.deleteAction, ui.copyItemLocationAction,
                                             m_copyWebLinkAction, ui.newFolderAction, ui.refreshAction,
                                             ui.stopListingAction });
}

void MainMenu::watchClipboard()
{
    const QClipboard* const clipboard = QApplication::clipboard();
    const auto lookAtClipboard = [this, clipboard] {
        const QMimeData* const data = clipboard->mimeData();
        m_window.ui().pasteFilesAction->setEnabled(data != nullptr && namesLocalFiles(*data));
    };
    connect(clipboard, &QClipboard::dataChanged, this,
            [this, lookAtClipboard] { LoopSuspension::whenResumed(*this, lookAtClipboard); });
    lookAtClipboard();
}

void MainMenu::connectSortActions()
{
    const Ui::MainWindow& ui = m_window.ui();
    QHeaderView* const header = ui.destinationListingTable->horizontalHeader();
    const QList<QAction*> columns{ ui.sortByNameAction, ui.sortBySizeAction, ui.sortByTypeAction, ui.sortByDateAction,
                                   ui.sortByModeAction };
    auto* const columnGroup = new QActionGroup(this);
    for (int section = 0; section < columns.size(); ++section) {
        columnGroup->addAction(columns[section]);
        connect(columns[section], &QAction::triggered, this,
                [header, section] { header->setSortIndicator(section, header->sortIndicatorOrder()); });
    }
    auto* const orderGroup = new QActionGroup(this);
    const QList<std::pair<QAction*, Qt::SortOrder>> orders{ { ui.sortAscendingAction, Qt::AscendingOrder },
                                                            { ui.sortDescendingAction, Qt::DescendingOrder } };
    for (const auto& [action, order] : orders) {
        orderGroup->addAction(action);
        connect(action, &QAction::triggered, this,
                [header, order = order] { header->setSortIndicator(header->sortIndicatorSection(), order); });
    }
    const auto showOrder = [columns, orders](int section, Qt::SortOrder order) {
        columns.value(section, columns.first())->setChecked(true);
        orders[order == Qt::AscendingOrder ? 0 : 1].first->setChecked(true);
    };
    connect(header, &QHeaderView::sortIndicatorChanged, this, showOrder);
    showOrder(header->sortIndicatorSection(), header->sortIndicatorOrder());
}

void MainMenu::show(const WindowState& state)
{
    const Ui::MainWindow& ui = m_window.ui();
    ui.downloadAction->setEnabled(state.isItemSelected && state.hasDestination);
    ui.deleteAction->setEnabled(state.isItemSelected && state.hasDestination);
    ui.copyItemLocationAction->setEnabled(state.isItemSelected);
    m_copyWebLinkAction->setVisible(hasWebAddress());
    m_copyWebLinkAction->setEnabled(m_copyWebLinkAction->isVisible() && state.isItemSelected);
    ui.copyLocationAction->setEnabled(state.hasDestination);
    ui.newFolderAction->setEnabled(state.hasDestination);
    ui.refreshAction->setEnabled(!state.isMoving()); // Without a destination it empties the list.
    ui.stopListingAction->setEnabled(state.listing == DestinationListing::State::Listing);
    ui.stopAction->setEnabled(state.isMoving());
    ui.clearQueueAction->setEnabled(state.canClearQueue());
}

void MainMenu::openFiles()
{
    m_chooser.open({ .title = u"Upload Files"_s, .acceptLabel = u"Upload"_s, .folder = m_lastOpenedFolder });
}

void MainMenu::upload(const QStringList& paths)
{
    m_lastOpenedFolder = QFileInfo(paths.first()).path();
    m_controller.uploadFiles(paths);
}

void MainMenu::pasteFiles()
{
    const QMimeData* const data = QApplication::clipboard()->mimeData();
    const auto [files, leftOut] = data == nullptr ? DroppedItems() : droppedItems(*data, DroppedFolders::areUploaded());
    if (files.isEmpty()) {
        QApplication::beep();
    }
    if (!files.isEmpty() || !leftOut.isEmpty()) {
        m_controller.uploadFiles(files, leftOut);
    }
}

void MainMenu::copyItemLocation()
{
    copyOrBeep(m_controller.items().locationOfSelection());
}

void MainMenu::copyWebLink()
{
    copyOrBeep(m_controller.items().webLinkOfSelection());
}

void MainMenu::showAbout()
{
    auto* const about = new AlertDialog(
        u"Quillbox %1"_s.arg(QCoreApplication::applicationVersion()),
        u"Puts files into one folder of an FTP server.\n\nFree software under the MIT licence."_s, &m_window);
    about->setAttribute(Qt::WA_DeleteOnClose);
    about->setWindowTitle(u"About Quillbox"_s);
    about->setIcon(m_window.windowIcon());
    about->open();
}
