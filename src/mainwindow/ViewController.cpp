#include "ViewController.h"

#include "DragDropView.h"
#include "HistoryWindow.h"
#include "PreferencesController.h"
#include "UserDefaults.h"
#include "WindowMemory.h"
#include "ui_MainWindow.h"
#include "ui_ManualTransfers.h"
#include "ui_Welcome.h"

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Keeps the place of a control that comes and goes, so that nothing jumps.
void keepPlaceWhileHidden(QWidget& control)
{
    QSizePolicy policy = control.sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    control.setSizePolicy(policy);
}

} // namespace

ViewController::ViewController(FTPStreamFactory& streams, FTPConnections& connections)
    : m_streams(streams)
    , m_connections(connections)
    , m_welcomeWindow(new QDialog(&m_window))
    , m_ui(std::make_unique<Ui::MainWindow>())
    , m_manual(std::make_unique<Ui::ManualTransfers>())
    , m_welcome(std::make_unique<Ui::Welcome>())
{
    loadView();
    viewDidLoad();
}

ViewController::~ViewController() = default;

void ViewController::loadView()
{
    m_ui->setupUi(&m_window);
    m_manual->setupUi(&m_auxiliaryWindow);
    for (QWidget* control :
         { static_cast<QWidget*>(m_ui->totalProgressIndicator), static_cast<QWidget*>(m_ui->percentProgressIndicator),
           static_cast<QWidget*>(m_ui->bytesFormattedTextField) }) {
        keepPlaceWhileHidden(*control);
    }
    m_ui->dragAndDropView->setViewController(this);
    m_ui->destinationListingTable->setListing(m_listing);
    m_ui->destinationListingTable->setDragging(this);
    WindowMemory::restore(m_window, *m_ui->destinationListingTable->horizontalHeader());
    sortDescriptorsDidChange();
    connectControls();
    loadOtherWindows();
    connectActions();
}

void ViewController::connectControls()
{
    connect(m_ui->stopButton, &QPushButton::clicked, this, &ViewController::stopButtonAction);
    connect(m_ui->clearQueueButton, &QPushButton::clicked, this, &ViewController::clearQueue);
    ListingTable* const table = m_ui->destinationListingTable;
    connect(table, &ListingTable::tableViewSelectionDidChange, this,
            [this, table] { tableViewSelectionDidChange(table); });
    connect(table, &ListingTable::sortDescriptorsDidChange, this, &ViewController::sortDescriptorsDidChange);
    connect(table, &ListingTable::doubleClicked, this, &ViewController::doubleAction);
    connect(table, &ListingTable::unnamableItemDragged, this, &ViewController::refuseFileName);
    connect(m_ui->downloadButton, &QPushButton::clicked, this, &ViewController::downloadSelection);
    connect(m_ui->deleteButton, &QPushButton::clicked, this, &ViewController::deleteSelection);
    connect(m_ui->newFolderButton, &QPushButton::clicked, this, &ViewController::createFolderButtonAction);
    connect(m_manual->startStopUploadButton, &QPushButton::clicked, this, &ViewController::startStopUpload);
    connect(m_manual->startStopDownloadButton, &QPushButton::clicked, this, &ViewController::startStopDownload);
    for (const QPushButton* button : { m_manual->startStopListButton, m_manual->listDestinationButton }) {
        connect(button, &QPushButton::clicked, this, [this, button] { startStopList(button); });
    }
    for (const QPushButton* button : { m_manual->startStopCreateButton, m_manual->createButton }) {
        connect(button, &QPushButton::clicked, this, [this, button] { startStopCreate(button); });
    }
}

void ViewController::viewDidLoad()
{
    m_gc = std::make_unique<FTPGetController>(m_streams, UserDefaults::standard(),
                                              [this](const QString& path) { openDownload(path); });
    m_gc->setDelegate(m_anchor.ref<FTPGetControllerDelegate>(this));
    m_pc = std::make_unique<FTPPutController>(m_streams);
    m_pc->setDelegate(m_anchor.ref<FTPPutControllerDelegate>(this));
    m_lc = std::make_unique<FTPListController>(m_streams);
    m_lc->setDelegate(m_anchor.ref<FTPListControllerDelegate>(this));
    m_cc = std::make_unique<FTPCreateController>(m_streams);
    m_cc->setDelegate(m_anchor.ref<FTPCreateControllerDelegate>(this));
    m_gc->setEncryptionSource(&ViewController::encryption);
    m_pc->setEncryptionSource(&ViewController::encryption);
    m_lc->setEncryptionSource(&ViewController::encryption);
    m_cc->setEncryptionSource(&ViewController::encryption);

    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &ViewController::onTick);
    m_timer.start(10ms);
}
