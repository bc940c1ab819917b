#include "MainWindow.h"

#include "FocusKeeping.h"
#include "ViewController.h"
#include "ui_MainWindow.h"

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
    m_ui->dragAndDropView->setViewController(&controller);
    ListingTable* const table = m_ui->destinationListingTable;
    table->setDragging(&controller);
    connect(table, &ListingTable::tableViewSelectionDidChange, &controller,
            [&controller, table] { controller.tableViewSelectionDidChange(table); });
    connect(table, &ListingTable::sortDescriptorsDidChange, &controller, &ViewController::sortDescriptorsDidChange);
    connect(table, &ListingTable::stopRequested, &controller, &ViewController::stopListing);
    connect(m_ui->stopButton, &QPushButton::clicked, &controller, &ViewController::stopButtonAction);
    connect(m_ui->clearQueueButton, &QPushButton::clicked, &controller, &ViewController::clearQueue);
    connect(m_ui->downloadButton, &QPushButton::clicked, &controller, &ViewController::downloadSelection);
    connect(m_ui->deleteButton, &QPushButton::clicked, &controller, &ViewController::deleteSelection);
    connect(m_ui->newFolderButton, &QPushButton::clicked, &controller, &ViewController::createFolderButtonAction);
}

void MainWindow::enableItemButtons(bool isEnabled)
{
    for (QPushButton* button : { m_ui->deleteButton, m_ui->downloadButton }) {
        setEnabledKeepingFocus(*button, isEnabled, *m_ui->destinationListingTable);
    }
}
