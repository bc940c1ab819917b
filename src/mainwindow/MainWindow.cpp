#include "MainWindow.h"

#include "FocusKeeping.h"
#include "QueueAgain.h"
#include "ViewController.h"
#include "WindowMemory.h"
#include "ui_MainWindow.h"

#include <QHeaderView>

MainWindow::MainWindow()
    : m_ui(std::make_unique<Ui::MainWindow>())
{
    m_ui->setupUi(this);
    m_ui->destinationListingTable->setFocus();
    // They come and go, and nothing is to jump.
    for (QWidget* control :
         { static_cast<QWidget*>(m_ui->totalProgressIndicator), static_cast<QWidget*>(m_ui->percentProgressIndicator),
           static_cast<QWidget*>(m_ui->bytesFormattedTextField) }) {
        QSizePolicy policy = control->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        control->setSizePolicy(policy);
    }
}

MainWindow::~MainWindow() = default;

void MainWindow::connectTo(ViewController& controller)
{
    ListingTable* const table = m_ui->destinationListingTable;
    table->setListing(controller.listing().model());
    WindowMemory::restore(*this, *table->horizontalHeader());
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
        setEnabledKeepingFocus(*button, ours->selectedRow() != -1, *m_ui->destinationListingTable);
    }
}
