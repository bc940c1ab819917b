#include "MainWindow.h"

#include "FocusKeeping.h"
#include "QueueAgain.h"
#include "ScreenRoom.h"
#include "ViewController.h"
#include "WholeButtons.h"
#include "WindowMemory.h"
#include "ui_MainWindow.h"

#include <QEvent>
#include <QHeaderView>

#include <algorithm>
#include <initializer_list>

MainWindow::MainWindow()
    : m_ui(std::make_unique<Ui::MainWindow>())
{
    m_ui->setupUi(this);
    keepButtonsWhole(*this);
    m_ui->destinationListingTable->setFocus();
    // It comes and goes between files, and nothing is to jump.
    QSizePolicy policy = m_ui->percentProgressIndicator->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    m_ui->percentProgressIndicator->setSizePolicy(policy);
    m_ui->figuresRow->setGivingWay(
        { m_ui->totalBytesTextField, m_ui->percentTextField, m_ui->timeLeftTextField, m_ui->speedTextField });
    m_ui->transferPane->setParts({ .details = *m_ui->transferDetails,
                                   .otherFolder = *m_ui->otherFolderLabel,
                                   .brokenListing = *m_ui->brokenListingLabel,
                                   .outcome = *m_ui->outcomeLine,
                                   .refuge = *m_ui->destinationListingTable });
    const std::initializer_list<QLabel*> quietLabels{ m_ui->waitingTextField,       m_ui->bytesFormattedTextField,
                                                      m_ui->totalBytesTextField,    m_ui->speedTextField,
                                                      m_ui->timeLeftTextField,      m_ui->percentTextField,
                                                      m_ui->listingStatusTextField, m_ui->lastActionTextField,
                                                      m_ui->dateStringTextField };
    for (QLabel* label : quietLabels) {
        label->setForegroundRole(QPalette::PlaceholderText);
    }
    updateMinimumSize();
}

MainWindow::~MainWindow() = default;

void MainWindow::connectTo(ViewController& controller)
{
    ListingTable* const table = m_ui->destinationListingTable;
    table->setListing(controller.listing().model());
    WindowMemory::restore(*this, *table->horizontalHeader());
    keepWithinScreen(*this);
    table->sortDescriptorsDidChange();
    connect(&controller.listing(), &DestinationListing::folderChanged, table, &ListingTable::folderChanged);
    connect(&controller.listing(), &DestinationListing::ended, table, &ListingTable::listingEnded);
    table->setDragging(&controller.dragging());
    m_ui->dragAndDropView->setViewController(&controller);
    connect(table, &ListingTable::tableViewSelectionDidChange, this,
            [this, table] { tableViewSelectionDidChange(table); });
    connect(table, &ListingTable::stopRequested, &controller.listing(), &DestinationListing::stop);
    connect(m_ui->stopButton, &QPushButton::clicked, &controller, &ViewController::stopButtonAction);
    connect(m_ui->clearQueueButton, &QPushButton::clicked, &controller, &ViewController::clearQueue);
    ItemActions* const items = &controller.items();
    connect(m_ui->downloadButton, &QPushButton::clicked, items, &ItemActions::downloadSelection);
    connect(m_ui->deleteButton, &QPushButton::clicked, items, &ItemActions::deleteSelection);
    connect(m_ui->newFolderButton, &QPushButton::clicked, items, &ItemActions::createFolderButtonAction);
    m_ui->outcomeLine->setRefuge(*table);
    m_ui->outcomeLine->setHistory(controller.history(), controller.ledger(), controller.tries());
    connect(m_ui->outcomeLine, &OutcomeLine::tryNowRequested, &controller, [&controller] {
        emit controller.userRequestedConnection();
        controller.tries().tryNow();
    });
    connect(m_ui->outcomeLine, &OutcomeLine::showRequested, &controller.windows(), &SecondaryWindows::showHistory);
    connect(m_ui->outcomeLine, &OutcomeLine::queueAgainRequested, &controller,
            [&controller](const QList<LedgerKey>& keys) { queueAgain(controller, keys); });
}

void MainWindow::remember()
{
    WindowMemory::save(*this, *m_ui->destinationListingTable->horizontalHeader());
}

void MainWindow::setHasWebsite(bool hasWebsite)
{
    m_ui->websiteAction->setVisible(hasWebsite);
}

void MainWindow::tableViewSelectionDidChange(const QObject* table)
{
    const ListingTable* const ours = m_ui->destinationListingTable;
    if (table != ours) {
        return;
    }
    for (QPushButton* button : { m_ui->deleteButton, m_ui->downloadButton }) {
        setEnabledKeepingFocus(*button, ours->selectionModel()->hasSelection(), *m_ui->destinationListingTable);
    }
}

/// What the controls need with the present font, and some room besides.
void MainWindow::updateMinimumSize()
{
    constexpr QSize smallest(420, 360);
    setMinimumSize(smallest.expandedTo(layout()->totalMinimumSize()));
}

/// The larger the font, the larger a window that counts as low.
void MainWindow::fitToHeight()
{
    constexpr int lowest = 560;
    constexpr int lineOfUsualFont = 16;
    const bool isLow = height() * lineOfUsualFont < lowest * std::max(lineOfUsualFont, fontMetrics().height());
    m_ui->transferPane->fitTo(height(), isLow);
    m_ui->dragAndDropView->setLow(isLow);
}

bool MainWindow::event(QEvent* event)
{
    const bool isDone = QMainWindow::event(event);
    if (event->type() == QEvent::LayoutRequest) {
        updateMinimumSize();
    } else if (event->type() == QEvent::FontChange) {
        fitToHeight();
    }
    return isDone;
}

void MainWindow::resizeEvent(QResizeEvent* event)
{
    fitToHeight();
    QMainWindow::resizeEvent(event);
}
