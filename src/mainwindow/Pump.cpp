#include "Pump.h"

#include "DestinationListing.h"
#include "DestinationSettings.h"
#include "FTPGetController.h"
#include "FTPPutController.h"
#include "ItemActions.h"
#include "ModalState.h"
#include "RunLoop.h"
#include "UploadHistory.h"
#include "UploadQueue.h"
#include "UploadRun.h"
#include "WindowIndicators.h"

Pump::Pump(const Parts& parts)
    : m_parts(parts)
{
}

void Pump::tick()
{
    // While a dialog or a menu has the user's attention, nothing moves. The timer itself goes on in nested loops.
    const bool suspended = isMainLoopSuspended();
    RunLoop::current().setSuspended(suspended);
    if (suspended) {
        m_parts.listing.pause();
        return;
    }
    const bool isNewSecond = m_parts.indicators.showDate();
    const WindowState before = state();
    if (!isNewSecond && !isUploadDue() && m_parts.indicators.isShown(before)) {
        return; // Nothing has changed and nothing is due: the window that just stands there costs next to nothing.
    }
    m_parts.indicators.showTransfer(before, isNewSecond);
    if (isNewSecond || isUploadDue()) {
        m_parts.listing.setDestination(DestinationSettings::destination()); // Several looks at the settings file.
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
             .waiting = m_parts.queue.size(),
             .tally = m_parts.history.queueTally(),
             .listing = listing.state(),
             .listingFailure = listing.failure(),
             .isListingBroken = listing.state() == DestinationListing::State::Failed && !listing.entries().isEmpty(),
             .isListingStuck = listing.isStuck(),
             .otherFolder = listing.isOfOtherFolder() ? listing.location() : QString(),
             .isListingDue = listing.isDue(),
             .hasDestination = !listing.destination().isNull(),
             .isItemSelected = m_parts.items.selectedEntry() != nullptr };
}

bool Pump::isMoving() const
{
    return m_parts.uploads.isSending() || m_parts.downloads.isReceiving();
}

bool Pump::isUploadDue() const
{
    return !isMoving() && !m_parts.queue.isEmpty();
}

void Pump::startNext()
{
    const Destination& destination = m_parts.listing.destination();
    if (isUploadDue() && !destination.isNull()) {
        m_parts.indicators.resetProgress();
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
