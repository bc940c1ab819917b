#include "ViewController.h"

#include "ByteCountText.h"
#include "CellValue.h"
#include "DragDropView.h"
#include "FocusKeeping.h"
#include "ItemLocation.h"
#include "ListingTable.h"
#include "LocalName.h"
#include "MainMenu.h"
#include "ModalState.h"
#include "NumberText.h"
#include "PathText.h"
#include "RunLoop.h"
#include "SheetQueue.h"
#include "TextPrompt.h"
#include "UserDefaults.h"
#include "WindowMemory.h"
#include "ui_MainWindow.h"
#include "ui_ManualTransfers.h"

#include <QLocale>
#include <QSet>
#include <QTimer>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

ViewController::ViewController(FTPStreamFactory& streams, FTPConnections& connections)
    : m_pc(streams)
    , m_gc(streams, UserDefaults::standard(), [this](const QString& path) { m_items.openDownload(path); })
    , m_lc(streams)
    , m_cc(streams)
    , m_queue(m_history)
    , m_run(m_pc, m_history)
    , m_listing(m_lc)
    , m_items(m_window, *m_window.ui().destinationListingTable, m_listing, m_gc, connections,
              { .alertSendingOrReceiving = [this] { return alertSendingOrReceiving(); },
                .askInput = [this](const QString& prompt) { return askInput(prompt, u""_s); },
                .showAlert = [this](const QString& title, const QString& text) { showAlert(title, text); },
                .listFTPDestination = [this] { listFTPDestination(); },
                .userRequestedConnection = [this] { emit userRequestedConnection(); },
                .resetProgress = [this] { m_indicators.resetProgress(); },
                .downloadStarted = [this] { m_indicators.transferStarted(m_gc, m_gc.isReceiving()); },
                .downloadRefused =
                    [this](const QString& status, const QString& note) {
                        updateStatus(status);
                        m_history.note(note);
                    } },
              this)
    , m_dragging(m_window, m_listing, m_items,
                 { .alertSendingOrReceiving = [this] { return alertSendingOrReceiving(); },
                   .showAlert = [this](const QString& title, const QString& text) { showAlert(title, text); },
                   .uploadFiles
                   = [this](const QStringList& paths, const QStringList& leftOut) { uploadFiles(paths, leftOut); } },
                 this)
    , m_windows(m_history, connections,
                { .userRequestedConnection = [this] { emit userRequestedConnection(); },
                  .updateWindowTitleAndList =
                      [this] {
                          m_listing.lookAt(DestinationSettings::destination());
                          emit updateWindowTitleAndList();
                      },
                  .queueAgain = [this](const QList<int>& rows) { queueAgain(rows); } })
    , m_indicators(m_window.ui(), m_windows.manualTransfers().ui())
{
    setDelegates();
    watchDestination();
    connectControls();
    m_menu = new MainMenu(m_window, *this);
    m_menu->setParent(this);
    auto* const timer = new QTimer(this);
    timer->setTimerType(Qt::PreciseTimer);
    connect(timer, &QTimer::timeout, this, &ViewController::onTick);
    timer->start(10ms);
}

ViewController::~ViewController() = default;

void ViewController::setDelegates()
{
    m_gc.setDelegate(m_anchor.ref<FTPGetControllerDelegate>(this));
    m_pc.setDelegate(m_anchor.ref<FTPPutControllerDelegate>(this));
    m_lc.setDelegate(m_anchor.ref<FTPListControllerDelegate>(this));
    m_cc.setDelegate(m_anchor.ref<FTPCreateControllerDelegate>(this));
    m_gc.setEncryptionSource(&DestinationSettings::encryption);
    m_pc.setEncryptionSource(&DestinationSettings::encryption);
    m_lc.setEncryptionSource(&DestinationSettings::encryption);
    m_cc.setEncryptionSource(&DestinationSettings::encryption);
}

void ViewController::connectControls()
{
    const Ui::MainWindow& ui = m_window.ui();
    ui.dragAndDropView->setViewController(this);
    ListingTable* const table = ui.destinationListingTable;
    table->setListing(m_listing.model());
    table->setDragging(this);
    WindowMemory::restore(m_window, *table->horizontalHeader());
    sortDescriptorsDidChange();
    connect(table, &ListingTable::tableViewSelectionDidChange, this,
            [this, table] { tableViewSelectionDidChange(table); });
    connect(table, &ListingTable::sortDescriptorsDidChange, this, &ViewController::sortDescriptorsDidChange);
    connect(table, &ListingTable::doubleClicked, this, &ViewController::doubleAction);
    connect(table, &ListingTable::unnamableItemDragged, &m_items, &ItemActions::refuseFileName);
    connect(&m_listing, &DestinationListing::placeChanged, table, &ListingTable::placeChanged);
    connect(&m_listing, &DestinationListing::began, &m_history, &UploadHistory::listingStarts);
    connect(&m_listing, &DestinationListing::entriesAdded, &m_history, &UploadHistory::listed);
    connect(&m_listing, &DestinationListing::ended, this, [this, table](DestinationListing::State state) {
        if (state == DestinationListing::State::Complete) {
            m_history.listingSucceeded();
        }
        table->listingEnded();
    });
    connect(ui.stopButton, &QPushButton::clicked, this, &ViewController::stopButtonAction);
    connect(table, &ListingTable::stopRequested, this, &ViewController::stopListing);
    connect(ui.clearQueueButton, &QPushButton::clicked, this, &ViewController::clearQueue);
    connect(ui.downloadButton, &QPushButton::clicked, this, &ViewController::downloadSelection);
    connect(ui.deleteButton, &QPushButton::clicked, this, &ViewController::deleteSelection);
    connect(ui.newFolderButton, &QPushButton::clicked, this, &ViewController::createFolderButtonAction);
    ui.outcomeLine->setHistory(m_history);
    connect(ui.outcomeLine, &OutcomeLine::showRequested, &m_windows, &SecondaryWindows::showHistory);
    connect(ui.outcomeLine, &OutcomeLine::queueAgainRequested, this, &ViewController::queueAgain);
    m_windows.manualTransfers().connectTo(*this);
}

/// Settings that somebody else has changed, another copy of the program or an editor, count as the user's when they
/// have been quiet for a second and can be read.
void ViewController::watchDestination()
{
    m_listing.lookAt(DestinationSettings::destination());
    auto* const settled = new QTimer(&m_windows);
    settled->setSingleShot(true);
    settled->setInterval(1s);
    connect(&m_listing, &DestinationListing::destinationChanged, settled, qOverload<>(&QTimer::start));
    connect(this, &ViewController::updateWindowTitleAndList, settled, &QTimer::stop);
    connect(settled, &QTimer::timeout, this, [this, settled] {
        if (UserDefaults::standard().isReadable()) {
            emit updateWindowTitleAndList();
        } else {
            settled->start();
        }
    });
}

// The queue.

void ViewController::uploadFiles(const QStringList& paths, const QStringList& leftOut)
{
    if (paths.isEmpty() && !leftOut.isEmpty()) {
        m_queue.append({}, leftOut);
        return;
    }
    emit userRequestedConnection();
    m_queue.append(paths, leftOut);
    m_window.ui().totalProgressIndicator->setMaximum(static_cast<int>(m_queue.size()));
    if (DestinationSettings::location().isNull()) {
        showAlert(u"No Destination"_s, u"Specify a destination on the FTP server. See Preferences for instructions."_s);
    } else {
        m_window.ui().dragAndDropView->displayDroppedFiles(m_queue.paths());
    }
}

void ViewController::queueAgain(const QList<int>& rows)
{
    const auto queue = [this, rows] {
        if (const QStringList paths = m_history.takeToQueueAgain(rows); !paths.isEmpty()) {
            uploadFiles(paths);
        }
    };
    const QString present = DestinationSettings::location();
    QStringList others = m_history.destinationsOf(rows);
    others.removeAll(present);
    if (others.isEmpty() || present.isNull()) {
        queue();
        return;
    }
    const QString former = others.size() == 1 ? others.first() : u"%1 other folders"_s.arg(others.size());
    SheetQueue::of(m_window).raise({ .title = u"Queue Again"_s,
                                     .text = u"These files were for %1; send them to %2?"_s.arg(former, present),
                                     .defaultButton = u"Cancel"_s,
                                     .alternateButton = u"Send"_s,
                                     .onAlternate = queue });
}

QStringList ViewController::filesToReplace() const
{
    QSet<QString> listed;
    for (qsizetype row = 0; row < listEntries().size(); ++row) {
        listed.insert(localName(listEntries().at(row)));
    }
    QStringList names;
    for (const QString& path : m_queue.paths()) {
        const QString name = PathText::lastPathComponent(path);
        if (listed.remove(name)) {
            names.append(name);
        }
    }
    return names;
}

void ViewController::onTick()
{
    // While a dialog or a menu has the user's attention, nothing moves. The timer itself goes on in nested loops.
    const bool suspended = isMainLoopSuspended();
    RunLoop::current().setSuspended(suspended);
    if (suspended) {
        return;
    }
    const bool isNewSecond = m_indicators.showDate();
    const WindowState before = state();
    if (!isNewSecond && before.waiting == 0 && m_indicators.isShown(before)) {
        return; // Nothing has changed and nothing waits: the window that just stands there costs next to nothing.
    }
    m_indicators.showTransfer(before, isNewSecond);
    startNextUpload(isNewSecond);
    const WindowState after = state();
    m_indicators.showListing(after);
    m_menu->show(after);
    reportActivity();
}

WindowState ViewController::state() const
{
    return { .isSending = m_pc.isSending(),
             .isReceiving = m_gc.isReceiving(),
             .waiting = m_queue.size(),
             .tally = m_history.queueTally(),
             .listing = m_listing.state(),
             .listingFailure = m_listing.failure(),
             .isListingStuck = m_listing.isStuck(),
             .otherFolder = m_listing.isOfOtherFolder() ? m_listing.location() : QString(),
             .isListingDue = m_listing.isDue(),
             .hasDestination = !m_listing.destination().isNull(),
             .isItemSelected = m_window.ui().destinationListingTable->selectedRow() != -1 };
}

void ViewController::startNextUpload(bool isNewSecond)
{
    // While nothing waits, once a second is enough to notice a settings file that has become unreadable: looking at it
    // is most of what a tick costs.
    const bool isNeeded = isNewSecond || !m_queue.isEmpty();
    if (isNeeded) {
        m_listing.lookAt(DestinationSettings::destination());
    }
    if (m_pc.isSending() || m_gc.isReceiving()) {
        return;
    }
    if (!m_queue.isEmpty() && !m_listing.destination().isNull()) {
        m_indicators.resetProgress();
        m_run.startNext(m_queue, DestinationSettings::destination());
        m_indicators.transferStarted(m_pc, m_pc.isSending());
    } else if (m_listing.isDue() && !m_listing.isListing()) {
        m_listing.setDue(false);
        listFTPDestination();
    }
}

void ViewController::reportActivity()
{
    TransferActivity activity{ .isMoving = m_pc.isSending() || m_gc.isReceiving(),
                               .isWaiting = !m_queue.isEmpty() && !m_listing.destination().isNull() };
    if (activity.isWaiting || (m_pc.isSending() && m_history.isQueueUnderWay())) {
        activity.progress = m_history.queueProgress(m_pc.isSending() ? m_indicators.percent() : 0);
    } else if (activity.isMoving) {
        activity.progress = static_cast<double>(m_indicators.percent()) / 100;
    }
    if (activity != m_reportedActivity) {
        m_reportedActivity = activity;
        emit activityChanged(activity);
    }
}

// Transfers.

void ViewController::stopButtonAction()
{
    if (m_pc.isSending()) {
        m_run.stop();
    }
    if (m_gc.isReceiving()) {
        m_gc.stopReceiveWithStatus(u"Download Stopped"_s);
    }
}

void ViewController::listFTPDestination()
{
    if (m_pc.isSending() || m_gc.isReceiving()) {
        // A running listing goes on and fills the list from where it stands; what is missing then is listed afterwards.
        m_listing.setDue(m_listing.isDue() || m_listing.isListing());
        return;
    }
    const Destination destination = DestinationSettings::destination();
    if (!destination.isNull()) {
        m_indicators.resetProgress();
    }
    m_listing.list(destination);
    m_indicators.listingStarted(m_lc, m_lc.isReceiving());
}

void ViewController::refresh()
{
    emit userRequestedConnection();
    if (m_listing.isStuck()) {
        m_listing.stop();
    }
    listFTPDestination();
}

void ViewController::stopListing()
{
    if (m_listing.isListing()) {
        m_listing.stop();
    }
}

void ViewController::startStopUpload()
{
    if (m_pc.isSending()) {
        m_run.stop();
        return;
    }
    emit userRequestedConnection();
    m_indicators.resetAllProgress();
    m_run.startManually(fileToUpload(), { .location = destination(), .username = username(), .password = password() });
    m_indicators.transferStarted(m_pc, m_pc.isSending());
}

void ViewController::startStopDownload()
{
    if (m_gc.isReceiving()) {
        m_gc.stopReceiveWithStatus(u"Download Stopped"_s);
        return;
    }
    emit userRequestedConnection();
    m_indicators.resetAllProgress();
    m_gc.startReceive(urlToDownload(), username(), password(), QString());
    m_indicators.transferStarted(m_gc, m_gc.isReceiving());
}

void ViewController::startStopList(const QObject* sender)
{
    if (alertSendingOrReceiving()) {
        return;
    }
    if (m_lc.isReceiving()) {
        m_listing.stop();
        return;
    }
    emit userRequestedConnection();
    m_indicators.resetAllProgress();
    Destination folder = DestinationSettings::destination();
    if (sender == m_windows.manualTransfers().ui().startStopListButton) {
        folder.location = destination();
    }
    m_listing.listFolder(folder);
    m_indicators.listingStarted(m_lc, m_lc.isReceiving());
}

void ViewController::startStopCreate(const QObject* sender)
{
    if (alertSendingOrReceiving()) {
        return;
    }
    QString name = folderNameToCreate();
    QString place = destination();
    if (sender == m_windows.manualTransfers().ui().createButton) {
        place = createFullDestinationPathFromAppNameAndFTPFolder();
        name = askInput(u"Enter name of folder to create."_s, u""_s);
        if (name.isEmpty()) {
            return;
        }
    }
    // Kept: the question comes before this test, so a press while a creation runs asks and then stops it.
    if (m_cc.isCreating()) {
        m_cc.stopCreateWithStatus(u"Create Stopped"_s);
        return;
    }
    emit userRequestedConnection();
    m_indicators.resetAllProgress();
    m_cc.startCreate(name, place, username(), password());
    m_indicators.transferStarted(m_cc, m_cc.isCreating());
}

// Reports.

void ViewController::bytesDone(float bytes)
{
    // Kept: the count passes through single precision, so that large ones are shown rounded.
    m_indicators.setBytes(static_cast<quint64>(bytes));
}

void ViewController::updateStatus(const QString& status)
{
    m_indicators.setStatus(status);
    m_run.statusReported();
    alertIfError(status);
}

void ViewController::updateListingStatus(const QString& status)
{
    m_indicators.setListingStatus(status);
    m_listing.statusReported(status);
    alertIfError(status);
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
    if (m_gc.isReceiving()) {
        m_listing.setDue(true); // The list cannot be refreshed beside a download, but has to be after it.
    }
    listFTPDestination();
}

void ViewController::addListEntries(const QList<ListingEntry>& entries)
{
    if (!m_lc.isReceiving()) {
        m_listing.lookAt(DestinationSettings::destination()); // They can only be of that one.
    }
    m_listing.addEntries(entries);
    sortListEntriesWithDescriptors(m_window.ui().destinationListingTable->sortDescriptors());
}

// The table.

void ViewController::sortDescriptorsDidChange()
{
    sortListEntriesWithDescriptors(m_window.ui().destinationListingTable->sortDescriptors());
}

QVariant ViewController::objectValueForTableColumn(const QString& column, qsizetype row) const
{
    return row >= 0 && row < numberOfRowsInTableView() ? cellValue(listEntries().at(row), column) : QVariant();
}

void ViewController::tableViewSelectionDidChange(const QObject* table)
{
    const Ui::MainWindow& ui = m_window.ui();
    if (table == ui.destinationListingTable) {
        const bool isSelected = ui.destinationListingTable->selectedRow() != -1;
        for (QPushButton* button : { ui.deleteButton, ui.downloadButton }) {
            setEnabledKeepingFocus(*button, isSelected, *ui.destinationListingTable);
        }
    }
}

void ViewController::doubleAction()
{
    if (m_items.selectedEntry() != nullptr) {
        downloadSelection();
    }
}

QString ViewController::locationOfSelection() const
{
    const ListingEntry* const entry = m_items.selectedEntry();
    return entry == nullptr ? QString() : locationOfItem(m_listing.location(), entry->name, entry->rawName);
}

// The windows.

void ViewController::setHasWebsite(bool hasWebsite)
{
    m_menu->setHasWebsite(hasWebsite);
}

void ViewController::rememberWindow()
{
    WindowMemory::save(m_window, *m_window.ui().destinationListingTable->horizontalHeader());
    m_windows.remember();
}

void ViewController::showAlert(const QString& title, const QString& text)
{
    if (m_window.isVisible()) {
        SheetQueue::of(m_window).raise({ .title = title, .text = text });
    }
}

bool ViewController::alertSendingOrReceiving()
{
    // Kept: the title speaks of downloads for every action that asks.
    if (m_pc.isSending()) {
        showAlert(u"Cannot Download"_s, u"Wait for the current upload to complete."_s);
        return true;
    }
    if (m_gc.isReceiving()) {
        showAlert(u"Cannot Download"_s, u"Wait for the current download to complete."_s);
        return true;
    }
    return false;
}

QString ViewController::askInput(const QString& prompt, const QString& defaultText)
{
    return promptForText(&m_window, prompt, defaultText);
}

QString ViewController::stringForFileSize(quint64 bytes)
{
    return byteCountText(static_cast<qint64>(bytes));
}

QString ViewController::stringForNumber(double value, const QString& unit)
{
    return numberText(value, unit);
}

QString ViewController::quitWarning() const
{
    QStringList sentences;
    if (m_pc.isSending()) {
        sentences.append(u"A file is being uploaded, and what has arrived of it would not be whole."_s);
    }
    if (m_gc.isReceiving()) {
        sentences.append(u"A file is being downloaded, and what has come of it would not be whole."_s);
    }
    if (const qsizetype waiting = m_queue.size(); waiting == 1) {
        sentences.append(u"One file is waiting, and would not be uploaded."_s);
    } else if (waiting > 1) {
        sentences.append(u"%1 files are waiting, and would not be uploaded."_s.arg(QLocale().toString(waiting)));
    }
    return sentences.isEmpty() ? QString() : sentences.join(u"\n\n"_s);
}
