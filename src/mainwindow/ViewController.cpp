#include "ViewController.h"

#include "DelayedAlert.h"
#include "DestinationSettings.h"
#include "DestinationWatch.h"
#include "DragDropView.h"
#include "FTPConnections.h"
#include "ListingTable.h"
#include "MainMenu.h"
#include "QuitWarning.h"
#include "ReplaceSheet.h"
#include "SheetQueue.h"
#include "TextPrompt.h"
#include "UserDefaults.h"
#include "VisibleText.h"
#include "WindowSight.h"
#include "ui_MainWindow.h"

#include <QCoreApplication>

#include <optional>

using namespace Qt::StringLiterals;

ViewController::ViewController(FTPStreamFactory& streams, FTPConnections& connections)
    : m_pc(streams)
    , m_gc(streams, UserDefaults::standard(), [this](const QString& path) { m_items.openDownload(path); })
    , m_lc(streams)
    , m_cc(streams)
    , m_connections(connections)
    , m_queue(m_history)
    , m_intake(m_queue, m_history, m_tries, streams)
    , m_run(m_pc, m_history)
    , m_listing(m_lc)
    , m_items(m_window, *m_window.ui().destinationListingTable, m_listing, m_gc, connections, *this, this)
    , m_dragging(m_window, m_listing, m_items, *this, this)
    , m_windows(*this, connections)
    , m_indicators(m_window.ui(), m_windows.manualTransfers().ui())
    , m_pump({ m_pc, m_gc, m_cc, m_history, m_queue, m_intake, m_tries, m_run, m_pace, m_listing, m_items,
               *m_window.ui().destinationListingTable, m_indicators, m_windows.preferences() })
{
    awakeFromNib();
    viewDidLoad();
}

ViewController::~ViewController() = default;

void ViewController::awakeFromNib()
{
    connect(m_window.ui().destinationListingTable, &ListingTable::doubleClicked, &m_items, &ItemActions::doubleAction);
}

void ViewController::viewDidLoad()
{
    const auto setUp = [](auto& controller, auto delegate) {
        controller.setDelegate(delegate);
        controller.setEncryptionSource(&DestinationSettings::encryption);
    };
    setUp(m_gc, m_anchor.ref<FTPGetControllerDelegate>(this));
    setUp(m_pc, m_anchor.ref<FTPPutControllerDelegate>(this));
    setUp(m_lc, m_anchor.ref<FTPListControllerDelegate>(this));
    setUp(m_cc, m_anchor.ref<FTPCreateControllerDelegate>(this));
    m_listing.setDestination(DestinationSettings::destination());
    m_window.connectTo(*this);
    connectParts();
    m_windows.manualTransfers().connectTo(*this, { m_pc, m_gc, m_lc, m_cc, m_run, m_listing, m_indicators });
    m_pump.start();
    // The process ends without tearing anything down, and a file that is not whole would stay beside the one it was to
    // replace.
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, &ViewController::stopDownload);
}

void ViewController::connectParts()
{
    connect(&m_listing, &DestinationListing::began, &m_history, &UploadHistory::listingStarts);
    connect(&m_listing, &DestinationListing::entriesAdded, &m_history, &UploadHistory::listed);
    connect(&m_listing, &DestinationListing::completed, &m_history, &UploadHistory::listingSucceeded);
    connect(&m_listing, &DestinationListing::destinationChanged, &m_history, &UploadHistory::forgetUnchecked);
    connect(&m_listing, &DestinationListing::failed, &m_history, &UploadHistory::listingFailed);

    auto* const menu = new MainMenu(m_window, *this);
    menu->setParent(this);
    connect(&m_pump, &Pump::shown, menu, &MainMenu::show);
    connect(&m_tries, &AutomaticTries::queued, this, &ViewController::showQueuedFiles);
    connect(&m_history, &UploadHistory::queueBegins, m_window.ui().dragAndDropView, &DragDropView::queueBegins);
    connect(&m_history, &UploadHistory::queueBegins, this, [this] { m_run.queueBegins(); });
    connect(&m_intake, &UploadIntake::queueChanged, this, &ViewController::queueChanged);
    connect(&m_intake, &UploadIntake::asked, this,
            [this](const HeldDrops::Question& question) { askWhetherToReplace(m_window, question); });
    connect(&m_listing, &DestinationListing::destinationChanged, &m_intake, &UploadIntake::destinationChanged);
    connect(&m_intake, &UploadIntake::changed, &m_pump, &Pump::wake);
    connect(&m_intake, &UploadIntake::changed, &m_ledger,
            [this] { m_ledger.setLookingThrough(m_intake.isLookingThrough()); });
    connect(&m_tries, &AutomaticTries::changed, &m_pump, &Pump::wake);
    connect(&m_pump, &Pump::activityChanged, this, &ViewController::activityChanged);
    connect(&m_pump, &Pump::listingDue, this, &ViewController::listAfterUploads);
    connect(&m_pump, &Pump::destinationMissed, &m_intake, &UploadIntake::destinationMissed);
    connect(&m_pump, &Pump::destinationFound, &m_intake, &UploadIntake::destinationChanged);
    connect(&m_pump, &Pump::trustAwaited, &m_intake, &UploadIntake::trustAwaited);
    connect(&m_pump, &Pump::refreshDue, this, &ViewController::refreshBesideUploads);

    connect(this, &ViewController::userRequestedConnection, this, [this] { m_isUnattended = false; });
    connect(&m_listing, &DestinationListing::began, this, [this] { m_pace.listingBegan(); });
    connect(&m_listing, &DestinationListing::ended, this, [this] { m_pace.listingEnded(); });
    auto* const sight = new WindowSight(m_window);
    sight->setParent(this);
    connect(sight, &WindowSight::changed, &m_pump, &Pump::setSeen);

    auto* const watch = new DestinationWatch(m_windows);
    connect(&m_listing, &DestinationListing::destinationChanged, watch, &DestinationWatch::destinationChanged);
    connect(this, &ViewController::updateWindowTitleAndList, watch, &DestinationWatch::settle);
    connect(watch, &DestinationWatch::settled, this, &ViewController::updateWindowTitleAndList);
}

// Queue and transfers.

void ViewController::uploadFiles(const PathList& paths, const QStringList& leftOut)
{
    upload({ paths, leftOut });
}

void ViewController::upload(const Drop& drop)
{
    if (drop.paths.isEmpty() && !drop.leftOut.isEmpty()) {
        m_intake.take(drop);
        return;
    }
    if (!drop.request.isUnattended) {
        emit userRequestedConnection();
    } else if (!m_history.isQueueUnderWay()) {
        m_isUnattended = true;
    }
    m_intake.take(drop);
    if (drop.request.isUnattended) {
        queueChanged();
    } else if (DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder().isNull()) {
        showQueueLength();
        showAlert(u"No Destination"_s, u"Specify a destination on the FTP server. See Preferences for instructions."_s);
    } else {
        showQueuedFiles();
    }
}

void ViewController::uploadAgain(const PathList& paths, const Destination& destination)
{
    emit userRequestedConnection();
    m_intake.takeAgain(paths, destination);
    showQueuedFiles();
}

void ViewController::queueChanged()
{
    if (m_listing.destination().isNull()) {
        showQueueLength();
    } else {
        showQueuedFiles();
    }
}

void ViewController::showQueueLength()
{
    m_window.ui().totalProgressIndicator->setMaximum(static_cast<int>(m_queue.size()));
}

void ViewController::showQueuedFiles()
{
    showQueueLength();
    m_window.ui().dragAndDropView->displayDroppedFiles(m_queue.paths());
}

void ViewController::clearQueue()
{
    m_intake.giveUp();
    m_tries.giveUp();
    m_queue.clear();
}

void ViewController::stopButtonAction()
{
    if (m_pc.isSending()) {
        m_run.stop();
    }
    stopDownload();
}

void ViewController::stopDownload()
{
    m_items.stopDownloads();
    if (m_gc.isReceiving()) {
        m_gc.stopReceiveWithStatus(u"Download Stopped"_s);
    }
}

void ViewController::listFTPDestination()
{
    m_isUnattended = false;
    listAfterUploads();
}

void ViewController::listAfterUploads()
{
    if (m_pc.isSending() || m_gc.isReceiving()) {
        // A running listing goes on and fills the list from where it stands; what is missing then is listed afterwards.
        const bool isUnknown = m_listing.state() == DestinationListing::State::Idle; // The destination has changed.
        m_listing.setDue(m_listing.isDue() || m_listing.isListing() || isUnknown);
        return;
    }
    const Destination destination = DestinationSettings::destination();
    if (!destination.isNull()) {
        m_indicators.resetProgress();
    }
    list(destination, !m_queue.isEmpty()); // The next file goes at once, without another login.
}

void ViewController::list(const Destination& destination, bool standsBack)
{
    if (!m_lc.isReceiving()) {
        m_lc.setAsksNobody(m_isUnattended);
    }
    std::optional<DelayedAlertSilence> silence;
    if (m_lc.asksNobody()) {
        silence.emplace();
    }
    m_lc.setStandsBack(standsBack);
    m_listing.list(destination);
    m_indicators.listingStarted(m_lc, m_lc.isReceiving());
}

/// Whether a listing may be had while files wait: it must not take the only login from them.
bool ViewController::isLineFree() const
{
    return m_queue.isEmpty() || m_connections.allowsFurtherLogins(m_listing.destination().location);
}

void ViewController::refreshBesideUploads()
{
    const Destination& destination = m_listing.destination();
    if (m_gc.isReceiving() || destination.isNull() || !isLineFree()) {
        return; // It is due when the queue has ended.
    }
    list(destination, !m_pc.isSending()); // The upload under way has its connection.
}

void ViewController::refresh()
{
    emit userRequestedConnection();
    if (m_listing.isStuck()) {
        m_listing.stop();
    }
    listFTPDestination();
}

void ViewController::destinationSet()
{
    emit userRequestedConnection();
    m_listing.setDestination(DestinationSettings::destination());
    emit updateWindowTitleAndList();
}

// Reports.

void ViewController::bytesDone(float bytes)
{
    // Kept: the count passes through single precision, so that large ones are shown rounded.
    m_indicators.setBytes(static_cast<quint64>(bytes));
}

void ViewController::updateStatus(const QString& status)
{
    // A status that comes while the upload goes on is of something else that the user has asked for.
    const int row = m_history.currentRow();
    const bool isOnItsOwn = !m_pc.isSending() && (m_tries.isTry(row) || m_history.requestOf(row).isUnattended);
    m_indicators.setStatus(status);
    m_run.statusReported();
    if (!isOnItsOwn) { // The first failure of the file has raised it, or nobody is to be told.
        alertIfError(status);
    }
}

void ViewController::fileStaysBeside(const QString& path)
{
    m_history.note(u"A download is whole, but could not take the place of the file that was there. It is “%1”."_s.arg(
        visibleText(path)));
}

void ViewController::updateListingStatus(const QString& status)
{
    m_indicators.setListingStatus(status);
    m_listing.statusReported(status);
    if (!m_lc.asksNobody()) {
        alertIfError(status);
    }
}

void ViewController::alertIfError(const QString& status)
{
    if (status.contains(u"Error"_s)) {
        showAlert(u"Check Settings"_s,
                  u"An error occurred.\n\nPlease check your preference settings for correct FTP server passsword, "
                  "username and folder location."_s);
    }
}

void ViewController::uploadDone()
{
    m_run.uploadDone();
    m_indicators.resetProgress();
    // The list cannot be refreshed beside a download, but has to be after it.
    const bool isDue = m_pace.isDueAfterUpload(!m_queue.isEmpty());
    if (m_gc.isReceiving() || !isDue || !isLineFree()) {
        m_listing.setDue(true);
    } else {
        listAfterUploads();
    }
    m_pump.fileConfirmed();
}

void ViewController::addListEntries(const QList<ListingEntry>& entries)
{
    m_listing.addEntries(entries);
    m_window.ui().destinationListingTable->sortDescriptorsDidChange();
}

void ViewController::downloadRefused(const QString& status, const QString& note)
{
    m_indicators.transferStarted(m_gc, false);
    updateStatus(status);
    m_history.note(note);
}

// The windows.

void ViewController::showAlert(const QString& title, const QString& text)
{
    if (m_window.isVisible()) {
        SheetQueue::of(m_window).raise({ .title = title, .text = text });
    } else {
        emit alertUnseen(title, text);
    }
}

bool ViewController::alertSendingOrReceiving()
{
    // Kept: the title speaks of downloads for every action that asks.
    if (m_pc.isSending()) {
        showAlert(u"Cannot Download"_s, u"Wait for the current upload to complete."_s);
        return true;
    }
    if (m_gc.isReceiving() || m_items.isDownloadingSeveral()) {
        showAlert(u"Cannot Download"_s, u"Wait for the current download to complete."_s);
        return true;
    }
    return false;
}

QString ViewController::askInput(const QString& prompt, const QString& defaultText)
{
    return promptForText(&m_window, u"Enter Name"_s, prompt, defaultText);
}

QString ViewController::quitWarning() const
{
    return ::quitWarning(m_pc.isSending(), m_gc.isReceiving() || m_items.isDownloadingSeveral(),
                         m_history.waitingCount() + m_tries.waitingCount(), m_intake.isLookingThrough());
}
