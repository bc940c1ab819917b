#include "Pump.h"

#include "AutomaticTries.h"
#include "DelayedAlert.h"
#include "DestinationListing.h"
#include "DestinationSettings.h"
#include "DestinationWatch.h"
#include "FTPCreateController.h"
#include "FTPGetController.h"
#include "FTPPutController.h"
#include "IconSettings.h"
#include "ItemActions.h"
#include "ListingTable.h"
#include "ModalState.h"
#include "PreferencesController.h"
#include "RefreshPace.h"
#include "RunLoop.h"
#include "UploadHistory.h"
#include "UploadIntake.h"
#include "UploadQueue.h"
#include "UploadRun.h"
#include "UserDefaults.h"
#include "WindowIndicators.h"

#include <optional>
#include <utility>

namespace {

/// What moves is shown no more often than somebody could read it: it would cost more than the sending.
constexpr int showingIntervalMs = 80;

/// So long uploads follow one another before everything else that has come is seen to first.
constexpr int turnsMs = 20;

} // namespace

Pump::Pump(const Parts& parts)
    : m_parts(parts)
{
    connect(&m_clock, &PumpClock::due, this, &Pump::come);
    m_turnBehindOthers.setSingleShot(true);
    connect(&m_turnBehindOthers, &QTimer::timeout, this, [this] {
        m_sinceOthersTurn.start();
        takeTurn();
    });
    m_destinationChange.setSingleShot(true);
    m_destinationChange.start(DestinationWatch::quietTime);
    connect(&parts.listing, &DestinationListing::destinationChanged, &m_destinationChange,
            [this] { m_destinationChange.start(DestinationWatch::quietTime); });
    connect(&parts.queue, &UploadQueue::changed, this, &Pump::wake);
    connect(&parts.history, &UploadHistory::rowsChanged, this, &Pump::wake);
    connect(&parts.listing, &DestinationListing::changed, this, &Pump::wake);
    connect(&parts.table, &ListingTable::tableViewSelectionDidChange, this, &Pump::wake);
    connect(&parts.indicators, &WindowIndicators::changed, this, &Pump::wake);
    connect(&parts.preferences, &PreferencesController::testReported, this, &Pump::wake);
}

void Pump::tick()
{
    const bool isHeld = noteHold();
    if (!isHeld) {
        noteTrust();
        showAndStart();
    }
    m_clock.came(isHeld || isBusy());
}

/// What is due of a tick.
void Pump::come()
{
    if (noteHold()) {
        m_clock.came(true);
        return;
    }
    noteTrust();
    if (isUploadDue()) {
        m_sinceOthersTurn.start();
    }
    const bool isReadable = !isMoving() || !m_sinceShown.isValid() || m_sinceShown.hasExpired(showingIntervalMs);
    if (m_parts.indicators.isNewSecond() || (isReadable && !m_parts.indicators.isShown(state()))) {
        showAndStart();
    } else if (isUploadDue() || isDownloadDue()) {
        startNext();
    }
    if (m_parts.pace.isRefreshDue()) {
        emit refreshDue();
    }
    m_clock.came(isBusy());
}

void Pump::fileConfirmed()
{
    if (m_parts.queue.isEmpty() || std::exchange(m_isTurnComing, true)) {
        return;
    }
    if (!m_sinceOthersTurn.isValid()) {
        m_sinceOthersTurn.start();
    }
    if (m_sinceOthersTurn.hasExpired(turnsMs)) {
        m_turnBehindOthers.start();
    } else {
        QMetaObject::invokeMethod(this, &Pump::takeTurn, Qt::QueuedConnection);
    }
}

void Pump::takeTurn()
{
    // A tick may have come before: what it has started, or failed to, has had the turn.
    if (std::exchange(m_isTurnComing, false) && !isMainLoopSuspended() && isUploadDue()) {
        startNext();
    }
}

/// Whether a dialog or a menu has the user's attention: then nothing moves, which the run loop is told. The timer
/// itself goes on in nested loops.
bool Pump::noteHold()
{
    const bool isSuspended = isMainLoopSuspended();
    RunLoop::current().setSuspended(isSuspended);
    if (isSuspended) {
        m_parts.listing.pause();
    }
    return isSuspended;
}

void Pump::noteTrust()
{
    if (m_parts.queue.mayHoldUnattended() && m_parts.uploads.isAwaitingTrust()) {
        emit trustAwaited();
    }
}

void Pump::showAndStart()
{
    m_sinceShown.start();
    const bool isNewSecond = m_parts.indicators.showDate();
    m_parts.indicators.showTransfer(state(), isNewSecond);
    if (!isUploadDue()) {
        m_parts.listing.setDestination(DestinationSettings::destination());
    }
    startNext();
    const WindowState after = state();
    m_parts.indicators.showListing(after);
    emit shown(after);
    reportActivity();
}

WindowState Pump::state() const
{
    const DestinationListing& listing = m_parts.listing;
    return { .isSending = m_parts.uploads.isSending(),
             .isReceiving = m_parts.downloads.isReceiving(),
             .size = movingSize(),
             .waiting = m_parts.queue.size(),
             .isQueueUnderWay = m_parts.history.isQueueUnderWay(),
             .intake = m_parts.intake.stage(),
             .isTryWaiting = m_parts.tries.waitingCount() > 0,
             .tally = m_parts.history.queueTally(),
             .listing = listing.state(),
             .listingFailure = listing.failure(),
             .isListingBroken = listing.state() == DestinationListing::State::Failed && !listing.entries().isEmpty(),
             .isListingStuck = listing.isStuck(),
             .otherFolder = listing.isOfOtherFolder() ? listing.location() : QString(),
             .isListingDue = listing.isDue(),
             .hasDestination = !listing.destination().isNull(),
             .isServerLost
             = listing.destination().isNull() && IconSettings::areInUse() && !connectionSettings().isReadable(),
             .isItemSelected = m_parts.table.selectionModel()->hasSelection() };
}

qint64 Pump::movingSize() const
{
    if (m_parts.uploads.isSending() == m_parts.downloads.isReceiving()) {
        return -1;
    }
    return m_parts.uploads.isSending() ? m_parts.uploads.fileSize() : m_parts.downloads.fileSize();
}

bool Pump::isMoving() const
{
    return m_parts.uploads.isSending() || m_parts.downloads.isReceiving();
}

bool Pump::isBusy() const
{
    return isMoving() || !m_parts.queue.isEmpty() || m_parts.listing.isListing() || m_parts.listing.isDue()
        || m_parts.creations.isCreating() || m_parts.items.isDownloadingSeveral() || m_parts.preferences.isTesting();
}

bool Pump::isUploadDue() const
{
    return !isMoving() && !m_parts.items.isDownloadDue() && !m_parts.queue.isEmpty();
}

bool Pump::isDownloadDue() const
{
    return !isMoving() && m_parts.items.isDownloadDue();
}

bool Pump::isDestinationMissed() const
{
    return m_parts.listing.destination().isNull() && !m_destinationChange.isActive();
}

void Pump::startNext()
{
    // Once for all that a start asks for.
    const UserDefaults::Reading reading(UserDefaults::standard());
    const UserDefaults::Reading connectionReading(connectionSettings());
    if (isDownloadDue()) {
        m_parts.items.startNextDownload();
        return;
    }
    if (isUploadDue()) {
        m_parts.listing.setDestination(DestinationSettings::destination());
    }
    if (isDestinationMissed()) {
        emit destinationMissed();
    } else if (m_parts.intake.stage() == UploadIntake::Stage::AwaitingDestination
               && !m_parts.listing.destination().isNull()) {
        emit destinationFound();
    }
    const Destination& destination = m_parts.listing.destination();
    if (isUploadDue() && !destination.isNull()) {
        m_parts.tries.dropOthers(destination);
    }
    if (isUploadDue() && !destination.isNull()) {
        if (m_shortage.isToBeWaitedOut()) {
            return; // The file could not even be opened.
        }
        m_parts.indicators.resetProgress();
        m_parts.pace.uploadStarts();
        m_isTurnComing = false;
        std::optional<DelayedAlertSilence> silence;
        const int next = m_parts.history.nextRow();
        if (m_parts.tries.isTry(next) || m_parts.history.requestOf(next).isUnattended) {
            silence.emplace();
        }
        m_parts.run.startNext(m_parts.queue, destination);
        m_parts.indicators.transferStarted(m_parts.uploads, m_parts.uploads.isSending());
    } else if (!isMoving() && m_parts.listing.isDue() && !m_parts.listing.isListing()) {
        m_parts.listing.setDue(false);
        emit listingDue();
    }
}

void Pump::reportActivity()
{
    const bool isSending = m_parts.uploads.isSending();
    const float percent = m_parts.indicators.percent();
    TransferActivity activity{ .isMoving = isMoving(),
                               .isWaiting = !m_parts.queue.isEmpty() && !m_parts.listing.destination().isNull() };
    if (activity.isWaiting || (isSending && m_parts.history.isQueueUnderWay())) {
        activity.progress = m_parts.history.queueProgress(isSending ? percent : 0);
    } else if (activity.isMoving) {
        activity.progress = static_cast<double>(percent) / 100;
    }
    if (activity != m_reportedActivity) {
        m_reportedActivity = activity;
        emit activityChanged(activity);
    }
}
