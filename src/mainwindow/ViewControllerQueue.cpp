// The upload queue and the tick that works it off.

#include "DateText.h"
#include "DragDropView.h"
#include "FocusKeeping.h"
#include "LocalName.h"
#include "ModalState.h"
#include "PathText.h"
#include "PlainToolTip.h"
#include "RunLoop.h"
#include "SecurityText.h"
#include "ViewController.h"
#include "VisibleText.h"
#include "ui_MainWindow.h"
#include "ui_ManualTransfers.h"

#include <QSet>

#include <algorithm>
#include <chrono>

using namespace Qt::StringLiterals;

namespace {

constexpr int progressIntervalMs = 80;

/// Where a bar stands at @p percent: at its end also when more has come than was announced.
int barValue(float percent)
{
    return static_cast<int>(std::clamp(percent, 0.0F, 100.0F));
}

/// Makes @p label as wide as its text where it is not. It never shrinks: the layout of a window whose clock keeps its
/// size has nothing to do each second.
void growToText(QLabel& label)
{
    if (const QSize wanted = label.sizeHint(); wanted.width() > label.minimumWidth()) {
        label.setFixedSize(wanted);
    }
}

} // namespace

void ViewController::uploadFiles(const QStringList& paths)
{
    emit userRequestedConnection();
    m_fileUploadQueue += paths;
    m_history.filesQueued(paths);
    m_ui->totalProgressIndicator->setMaximum(static_cast<int>(m_fileUploadQueue.size()));
    if (createFullDestinationPathFromAppNameAndFTPFolder().isNull()) {
        showAlert(u"No Destination"_s, u"Specify a destination on the FTP server. See Preferences for instructions."_s);
    } else {
        m_ui->dragAndDropView->displayDroppedFiles(m_fileUploadQueue);
    }
}

void ViewController::clearQueue()
{
    m_fileUploadQueue.clear();
    m_history.queueCleared();
}

QStringList ViewController::filesToReplace() const
{
    QSet<QString> listed;
    for (qsizetype row = 0; row < listEntries().size(); ++row) {
        listed.insert(localName(listEntries().at(row)));
    }
    QStringList names;
    for (const QString& path : m_fileUploadQueue) {
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
    const bool isNewSecond = showDate();
    const Snapshot now = snapshot();
    if (!isNewSecond && now.waiting == 0 && now == m_shownSnapshot) {
        return; // Nothing has changed and nothing waits: the window that just stands there costs next to nothing.
    }
    showQueueLength();
    const bool isProgressShown = showProgress();
    if (isNewSecond) {
        showSpeed();
    }
    showTexts();
    startNextUpload(isNewSecond);
    showListingState();
    showWhatCanBeDone();
    reportActivity();
    m_shownSnapshot = isProgressShown ? std::optional(now) : std::nullopt;
}

ViewController::Snapshot ViewController::snapshot() const
{
    return { .isSending = m_pc->isSending(),
             .isReceiving = m_gc->isReceiving(),
             .isListing = m_lc->isReceiving(),
             .isListed = m_isListed,
             .isListingWanted = m_listingWanted,
             .hasDestination = m_hasDestination,
             .isItemSelected = m_ui->downloadButton->isEnabled(),
             .waiting = m_fileUploadQueue.size(),
             .percent = m_percent,
             .auxiliaryPercent = m_auxiliaryPercent,
             .bytes = m_bytes,
             .status = m_status,
             .listingStatus = m_listingStatus,
             .reply = m_answers != nullptr ? m_answers->lastReply() : QString(),
             .listingReply = m_listingAnswers != nullptr ? m_listingAnswers->lastReply() : QString(),
             .security = m_latestAnswers != nullptr ? m_latestAnswers->security() : std::nullopt };
}

bool ViewController::showDate()
{
    const qint64 second = QDateTime::currentSecsSinceEpoch();
    if (second == m_shownSecond) {
        return false;
    }
    m_shownSecond = second;
    m_ui->dateStringTextField->setText(shortDateMediumTimeText(QDateTime::currentDateTime()));
    growToText(*m_ui->dateStringTextField);
    return true;
}

void ViewController::showQueueLength()
{
    const auto length = static_cast<int>(m_fileUploadQueue.size());
    m_ui->totalProgressIndicator->setValue(length);
    m_ui->totalProgressIndicator->setVisible(length != 0);
    setEnabledKeepingFocus(*m_ui->clearQueueButton, length != 0, *m_ui->destinationListingTable);
}

bool ViewController::showProgress()
{
    const bool isMoving = m_pc->isSending() || m_gc->isReceiving();
    m_ui->percentProgressIndicator->setVisible(isMoving);
    m_ui->bytesFormattedTextField->setVisible(isMoving);
    setEnabledKeepingFocus(*m_ui->stopButton, isMoving, *m_ui->destinationListingTable);
    // Numbers that move are painted no more often than somebody could read them: it would cost more than the sending.
    const bool isOneOfMany = isMoving && m_bytes && m_shownBytes;
    if (isOneOfMany && m_sinceProgressShown.isValid() && !m_sinceProgressShown.hasExpired(progressIntervalMs)) {
        return false;
    }
    m_sinceProgressShown.start();
    m_ui->percentProgressIndicator->setValue(barValue(m_percent));
    m_manual->auxiliaryPercentProgressIndicator->setValue(barValue(m_auxiliaryPercent));
    if (m_bytes != m_shownBytes) {
        m_shownBytes = m_bytes;
        m_ui->bytesFormattedTextField->setText(m_bytes ? stringForFileSize(*m_bytes) : u""_s);
    }
    return true;
}

void ViewController::showSpeed()
{
    // Of two at once, the shown numbers are by turns the one's and the other's.
    if (m_pc->isSending() == m_gc->isReceiving() || !m_bytes) {
        m_rate.clear();
    } else {
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        m_rate.add(std::chrono::duration_cast<std::chrono::milliseconds>(now), *m_bytes);
    }
    m_ui->percentProgressIndicator->setToolTip(m_rate.text(m_percent));
}

void ViewController::showTexts()
{
    if (m_status != m_shownStatus) {
        m_shownStatus = m_status;
        const QString status = visibleText(m_status); // It may hold a name from a server.
        m_ui->statusTextField->setText(status);
        m_manual->auxiliaryStatusTextField->setText(status);
    }
    m_ui->listingStatusTextField->setText(m_listingStatus);
    showLastReplies();
    showSecurity();
}

void ViewController::showLastReplies()
{
    const auto show = [](const ServerAnswers* answers, QString& shown, std::initializer_list<QWidget*> fields) {
        const QString reply = answers != nullptr ? answers->lastReply() : QString();
        if (reply == shown) {
            return;
        }
        shown = reply;
        const QString words = reply.isNull() ? QString() : u"The server said: %1"_s.arg(visibleText(reply));
        for (QWidget* const field : fields) {
            field->setToolTip(words.isNull() ? QString() : plainToolTip(words));
            const QString title = field->accessibleDescription().section(u". "_s, 0, 0);
            // Those who see no tool tips hear it.
            field->setAccessibleDescription(words.isNull() ? title : title + u". "_s + words);
        }
    };
    show(m_answers, m_shownReply, { m_ui->statusTextField, m_manual->auxiliaryStatusTextField });
    show(m_listingAnswers, m_shownListingReply, { m_ui->listingStatusTextField });
}

void ViewController::showSecurity()
{
    // Until a login is sent, the last connection is another one's.
    std::optional<FTPSecurity> security = m_latestAnswers != nullptr ? m_latestAnswers->security() : std::nullopt;
    if (!security) {
        security = m_shownSecurity;
    }
    if (security == m_shownSecurity && !m_ui->connectionIcon->icon().isNull()) {
        return;
    }
    m_shownSecurity = security;
    const QString words = securityText(security);
    m_ui->connectionIcon->setIcon(drawnPadlockIcon(securityPadlock(security)));
    m_ui->connectionIcon->setToolTip(plainToolTip(words));
    m_ui->connectionIcon->setAccessibleName(words);
}

void ViewController::startNextUpload(bool isNewSecond)
{
    // While nothing waits, once a second is enough to notice a settings file that has become unreadable: looking at it
    // is most of what a tick costs.
    const bool isNeeded = isNewSecond || !m_fileUploadQueue.isEmpty();
    const QString destination = isNeeded ? createFullDestinationPathFromAppNameAndFTPFolder() : QString();
    if (isNeeded) {
        m_hasDestination = !destination.isNull();
    }
    if (m_pc->isSending() || m_gc->isReceiving()) {
        return;
    }
    if (m_fileUploadQueue.isEmpty() || destination.isNull()) {
        listAgainIfWanted();
        return;
    }
    m_percent = 0;
    m_bytes.reset();
    const QString path = m_fileUploadQueue.takeFirst();
    m_history.nextFileStarts(destination);
    startUpload(path, destination);
}

void ViewController::listAgainIfWanted()
{
    if (m_listingWanted && !m_lc->isReceiving()) {
        m_listingWanted = false;
        listFTPDestination();
    }
}
