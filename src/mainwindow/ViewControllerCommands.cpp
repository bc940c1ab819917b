// The menus, their shortcuts, and what they can do at the moment.

#include "DroppedFiles.h"
#include "ItemLocation.h"
#include "LoopSuspension.h"
#include "TableColumns.h"
#include "ViewController.h"
#include "ui_MainWindow.h"

#include <QActionGroup>
#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QHeaderView>
#include <QMessageBox>
#include <QMimeData>

using namespace Qt::StringLiterals;

void ViewController::connectActions()
{
    const auto on = [this](QAction* action, auto slot) { connect(action, &QAction::triggered, this, slot); };
    on(m_ui->openFilesAction, &ViewController::openFiles);
    on(m_ui->pasteFilesAction, &ViewController::pasteFiles);
    on(m_ui->newFolderAction, &ViewController::createFolderButtonAction);
    on(m_ui->downloadAction, &ViewController::downloadSelection);
    on(m_ui->deleteAction, &ViewController::deleteSelection);
    on(m_ui->copyItemLocationAction, &ViewController::copyItemLocation);
    on(m_ui->copyLocationAction, &ViewController::copyLocationToClipboard);
    on(m_ui->refreshAction, &ViewController::refresh);
    on(m_ui->stopAction, &ViewController::stopButtonAction);
    on(m_ui->clearQueueAction, &ViewController::clearQueue);
    on(m_ui->historyAction, &ViewController::showHistory);
    on(m_ui->manualTransfersAction, &ViewController::showAuxiliaryWindow);
    on(m_ui->websiteAction, &ViewController::goToWebsite);
    on(m_ui->preferencesAction, &ViewController::showPreferences);
    on(m_ui->makeCopyAction, &ViewController::copiesWindowRequested);
    on(m_ui->welcomeAction, &ViewController::welcomeWindowRequested);
    on(m_ui->aboutAction, &ViewController::showAbout);
    connect(m_ui->quitAction, &QAction::triggered, &m_window, &QWidget::close);
    m_ui->refreshAction->setShortcuts({ QKeySequence(Qt::Key_F5), QKeySequence(u"Ctrl+R"_s) });
    m_ui->downloadAction->setShortcuts({ QKeySequence(Qt::Key_Return), QKeySequence(Qt::Key_Enter) });
    m_ui->destinationListingTable->addActions({ m_ui->downloadAction, m_ui->deleteAction, m_ui->copyItemLocationAction,
                                                m_ui->newFolderAction, m_ui->refreshAction });
    const QClipboard* const clipboard = QApplication::clipboard();
    const auto lookAtClipboard = [this, clipboard] {
        const QMimeData* const data = clipboard->mimeData();
        m_ui->pasteFilesAction->setEnabled(data != nullptr && namesLocalFiles(*data));
    };
    connect(clipboard, &QClipboard::dataChanged, this,
            [this, lookAtClipboard] { LoopSuspension::whenResumed(*this, lookAtClipboard); });
    lookAtClipboard();
    connectSortActions();
}

void ViewController::connectSortActions()
{
    QHeaderView* const header = m_ui->destinationListingTable->horizontalHeader();
    const QList<QAction*> columns{ m_ui->sortByNameAction, m_ui->sortBySizeAction, m_ui->sortByTypeAction,
                                   m_ui->sortByDateAction, m_ui->sortByModeAction };
    auto* const columnGroup = new QActionGroup(this);
    for (int section = 0; section < columns.size(); ++section) {
        columnGroup->addAction(columns[section]);
        connect(columns[section], &QAction::triggered, this,
                [header, section] { header->setSortIndicator(section, header->sortIndicatorOrder()); });
    }
    auto* const orderGroup = new QActionGroup(this);
    const QList<std::pair<QAction*, Qt::SortOrder>> orders{ { m_ui->sortAscendingAction, Qt::AscendingOrder },
                                                            { m_ui->sortDescendingAction, Qt::DescendingOrder } };
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

void ViewController::showWhatCanBeDone()
{
    const bool isMoving = m_pc->isSending() || m_gc->isReceiving();
    const bool isSelected = m_ui->downloadButton->isEnabled();
    m_ui->downloadAction->setEnabled(isSelected && m_hasDestination);
    m_ui->deleteAction->setEnabled(isSelected && m_hasDestination);
    m_ui->copyItemLocationAction->setEnabled(isSelected);
    m_ui->copyLocationAction->setEnabled(m_hasDestination);
    m_ui->newFolderAction->setEnabled(m_hasDestination);
    m_ui->refreshAction->setEnabled(!isMoving); // Without a destination it empties the list.
    m_ui->stopAction->setEnabled(isMoving);
    m_ui->clearQueueAction->setEnabled(!m_fileUploadQueue.isEmpty());
}

void ViewController::openFiles()
{
    auto* const chooser = new QFileDialog(&m_window, u"Upload Files"_s, m_lastOpenedFolder);
    chooser->setAttribute(Qt::WA_DeleteOnClose);
    chooser->setFileMode(QFileDialog::ExistingFiles);
    chooser->setLabelText(QFileDialog::Accept, u"Upload"_s);
    connect(chooser, &QFileDialog::filesSelected, this, [this, chooser](const QStringList& paths) {
        m_lastOpenedFolder = chooser->directory().absolutePath();
        uploadFiles(paths);
    });
    chooser->open();
}

void ViewController::pasteFiles()
{
    const QMimeData* const data = QApplication::clipboard()->mimeData();
    const QStringList files = data == nullptr ? QStringList() : plainLocalFiles(*data);
    if (files.isEmpty()) {
        QApplication::beep();
    } else {
        uploadFiles(files);
    }
}

void ViewController::copyItemLocation()
{
    const ListingEntry* const entry = selectedEntry();
    const QString location
        = entry == nullptr ? QString() : locationOfItem(m_listedLocation, entry->name, entry->rawName);
    if (location.isNull()) {
        QApplication::beep();
    } else {
        QApplication::clipboard()->setText(location);
    }
}

void ViewController::showAbout()
{
    auto* const about = new QMessageBox(&m_window);
    about->setAttribute(Qt::WA_DeleteOnClose);
    about->setWindowTitle(u"About Quillbox"_s);
    about->setIconPixmap(m_window.windowIcon().pixmap(64));
    about->setTextFormat(Qt::PlainText);
    about->setText(u"Quillbox %1"_s.arg(QCoreApplication::applicationVersion()));
    about->setInformativeText(
        u"Puts files into one folder of an FTP server.\n\nFree software under the MIT licence."_s);
    about->open();
}
