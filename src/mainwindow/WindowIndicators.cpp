#include "WindowIndicators.h"

#include "DateText.h"
#include "FocusKeeping.h"
#include "NumberText.h"
#include "OutcomeText.h"
#include "PlainToolTip.h"
#include "SecurityText.h"
#include "StreamController.h"
#include "VisibleText.h"
#include "ui_MainWindow.h"
#include "ui_ManualTransfers.h"

#include <QDateTime>
#include <QLocale>

#include <algorithm>
#include <chrono>

using namespace Qt::StringLiterals;

namespace {

/// Where a bar stands at @p percent: at its end also when more has come than was announced.
int barValue(float percent)
{
    return static_cast<int>(std::clamp(percent, 0.0F, 100.0F));
}

/// Makes @p label as wide as its text where it is not, up to half of the smallest window. It never shrinks: the layout
/// of a window whose clock keeps its size has nothing to do each second.
void growToText(QLabel& label)
{
    QSize wanted = label.sizeHint();
    wanted.setWidth(std::min(wanted.width(), label.window()->minimumWidth() / 2));
    if (wanted.width() > label.minimumWidth()) {
        label.setFixedSize(wanted);
    }
}

/// Has @p label say @p text, if it does not.
void setTextIfNew(QLabel& label, const QString& text)
{
    if (label.text() != text) {
        label.setText(text);
    }
}

/// @p text as one more of several figures in a line; null stays null.
QString furtherFigure(const QString& text)
{
    return text.isEmpty() ? QString() : u" · "_s + text;
}

/// Has @p field say what the server has said last, for those too who see no tool tips.
void showReply(QWidget& field, const QString& reply)
{
    const QString words = reply.isNull() ? QString() : u"The server said: %1"_s.arg(visibleText(reply));
    field.setToolTip(words.isNull() ? QString() : plainToolTip(words));
    const QString title = field.accessibleDescription().section(u". "_s, 0, 0);
    field.setAccessibleDescription(words.isNull() ? title : title + u". "_s + words);
}

QString intakeText(UploadIntake::Stage stage)
{
    switch (stage) {
        using enum UploadIntake::Stage;
    case Nothing:
        break;
    case LookingThroughFolders:
        return u"Looking through folders…"_s;
    case LookingAtDestination:
        return u"Looking at what is there…"_s;
    case Asking:
        return u"Waiting for an answer"_s;
    case AwaitingDestination:
        return u"Waiting for a destination"_s;
    }
    return {};
}

QString emptyText(const WindowState& state)
{
    if (state.listing == DestinationListing::State::Listing) {
        return u"Listing…"_s;
    }
    if (!state.hasDestination) {
        return u"No destination"_s;
    }
    if (state.listing == DestinationListing::State::Failed) {
        return u"Could not list: %1\nF5 tries again"_s.arg(visibleText(state.listingFailure));
    }
    return state.listing == DestinationListing::State::Complete ? u"Empty folder"_s : u""_s;
}

} // namespace

WindowIndicators::WindowIndicators(const Ui::MainWindow& window, const Ui::ManualTransfers& manual)
    : m_window(window)
    , m_manual(manual)
{
}

void WindowIndicators::setPercent(float percent)
{
    m_next.percent = percent;
    m_next.auxiliaryPercent = percent;
    emit changed();
}

void WindowIndicators::setBytes(quint64 bytes)
{
    m_next.bytes = bytes;
    emit changed();
}

void WindowIndicators::setStatus(const QString& status)
{
    m_next.status = status;
    emit changed();
}

void WindowIndicators::setListingStatus(const QString& status)
{
    m_next.listingStatus = status;
    emit changed();
}

void WindowIndicators::resetProgress()
{
    m_next.percent = 0;
    m_next.bytes.reset();
    emit changed();
}

void WindowIndicators::resetAllProgress()
{
    resetProgress();
    m_next.auxiliaryPercent = 0;
}

void WindowIndicators::setLastAction(const QString& text)
{
    m_window.lastActionTextField->setText(text);
}

void WindowIndicators::transferStarted(const ServerAnswers& answers, bool isRunning)
{
    m_answers = isRunning ? &answers : nullptr;
    if (isRunning) {
        m_latestAnswers = &answers;
    }
    emit changed();
}

void WindowIndicators::listingStarted(const ServerAnswers& answers, bool isRunning)
{
    m_listingAnswers = isRunning ? &answers : nullptr;
    if (isRunning) {
        m_latestAnswers = &answers;
    }
    emit changed();
}

WindowIndicators::Values WindowIndicators::values() const
{
    Values values = m_next;
    values.reply = m_answers != nullptr ? m_answers->lastReply() : QString();
    values.listingReply = m_listingAnswers != nullptr ? m_listingAnswers->lastReply() : QString();
    values.security = m_latestAnswers != nullptr ? m_latestAnswers->security() : std::nullopt;
    return values;
}

bool WindowIndicators::isNewSecond() const
{
    return QDateTime::currentSecsSinceEpoch() != m_shownSecond;
}

bool WindowIndicators::showDate()
{
    if (!isNewSecond()) {
        return false;
    }
    m_shownSecond = QDateTime::currentSecsSinceEpoch();
    m_window.dateStringTextField->setText(shortDateMediumTimeText(QDateTime::currentDateTime()));
    growToText(*m_window.dateStringTextField);
    return true;
}

bool WindowIndicators::isShown(const WindowState& state) const
{
    return m_shown && m_shown->state == state && m_shown->values == values();
}

void WindowIndicators::showTransfer(const WindowState& state, bool isNewSecond)
{
    const Values now = values();
    showQueue(state);
    setEnabledKeepingFocus(*m_window.clearQueueButton, state.canClearQueue(), *m_window.destinationListingTable);
    showProgress(now, state);
    m_window.dragAndDropView->setOver(!state.isQueueUnderWay);
    if (isNewSecond) {
        showSpeed(state);
    }
    showTexts(now);
    showSecurity(now.security);
    m_shown = { state, now };
}

void WindowIndicators::showQueue(const WindowState& state)
{
    // What keeps more from joining, and what has become of the files before, stand behind the number of those that
    // wait.
    const QString waiting = state.waiting == 0 ? QString() : u"%1 waiting"_s.arg(QLocale().toString(state.waiting));
    QStringList texts{ waiting, intakeText(state.intake) };
    if (state.waiting != 0) {
        texts.append(outcomeText(state.tally));
    }
    texts.removeAll(QString());
    QLabel& label = *m_window.waitingTextField;
    label.setMinimumWidth(label.fontMetrics().size(Qt::TextSingleLine, waiting).width() + 2); // It is never cut.
    setTextIfNew(label, texts.join(u" – "_s));
    m_window.totalProgressIndicator->setValue(static_cast<int>(state.waiting));
    m_window.totalProgressIndicator->setVisible(state.waiting != 0);
}

void WindowIndicators::showProgress(const Values& values, const WindowState& state)
{
    const bool isMoving = state.isMoving();
    m_window.transferPane->tell(*m_window.transferDetails,
                                isMoving || state.waiting != 0 || state.intake != UploadIntake::Stage::Nothing);
    m_window.percentProgressIndicator->setVisible(isMoving);
    m_window.bytesFormattedTextField->setVisible(isMoving);
    setEnabledKeepingFocus(*m_window.stopButton, isMoving, *m_window.destinationListingTable);
    m_window.percentProgressIndicator->setValue(barValue(values.percent));
    m_manual.auxiliaryPercentProgressIndicator->setValue(barValue(values.auxiliaryPercent));
    m_manual.auxiliaryPercentProgressIndicator->setVisible(isMoving);
    if (values.bytes != m_lastValues.bytes) {
        m_lastValues.bytes = values.bytes;
        m_window.bytesFormattedTextField->setText(values.bytes ? stringForFileSize(*values.bytes) : u""_s);
    }
    const bool isSizeShown = isMoving && values.bytes && state.size > 0;
    setTextIfNew(*m_window.totalBytesTextField,
                 isSizeShown ? u" of %1"_s.arg(stringForFileSize(static_cast<quint64>(state.size))) : QString());
    setTextIfNew(*m_window.percentTextField,
                 isSizeShown ? furtherFigure(u"%1 %"_s.arg(QLocale().toString(barValue(values.percent)))) : QString());
    m_window.figuresRow->textsChanged();
}

void WindowIndicators::showSpeed(const WindowState& state)
{
    // Of two at once, the shown numbers are by turns the one's and the other's.
    if (state.isSending == state.isReceiving || !m_next.bytes) {
        m_rate.clear();
    } else {
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        m_rate.add(std::chrono::duration_cast<std::chrono::milliseconds>(now), *m_next.bytes);
    }
    const QString speed = m_rate.speedText();
    const QString timeLeft = m_rate.timeLeftText(m_next.percent);
    setTextIfNew(*m_window.speedTextField, furtherFigure(speed));
    setTextIfNew(*m_window.timeLeftTextField, furtherFigure(timeLeft));
    // The bar tells them too, where there is no room for them.
    m_window.percentProgressIndicator->setToolTip(timeLeft.isNull() ? speed : speed + u", "_s + timeLeft);
    m_window.figuresRow->textsChanged();
}

void WindowIndicators::showTexts(const Values& values)
{
    if (values.status != m_lastValues.status) {
        m_lastValues.status = values.status;
        const QString status = visibleText(values.status); // It may hold a name from a server.
        m_window.statusTextField->setText(status);
        m_manual.auxiliaryStatusTextField->setText(status);
    }
    if (values.listingStatus != m_lastValues.listingStatus) {
        m_lastValues.listingStatus = values.listingStatus;
        m_window.listingStatusTextField->setText(values.listingStatus);
    }
    if (values.reply != m_lastValues.reply) {
        m_lastValues.reply = values.reply;
        showReply(*m_window.statusTextField, values.reply);
        showReply(*m_manual.auxiliaryStatusTextField, values.reply);
    }
    if (values.listingReply != m_lastValues.listingReply) {
        m_lastValues.listingReply = values.listingReply;
        showReply(*m_window.listingStatusTextField, values.listingReply);
    }
}

void WindowIndicators::showSecurity(std::optional<FTPSecurity> security)
{
    // Until a login is sent, the last connection is another one's.
    if (!security) {
        security = m_lastValues.security;
    }
    if (security == m_lastValues.security && !m_window.connectionIcon->icon().isNull()) {
        return;
    }
    m_lastValues.security = security;
    const QString words = securityText(security);
    m_window.connectionIcon->setIcon(drawnPadlockIcon(securityPadlock(security)));
    m_window.connectionIcon->setToolTip(plainToolTip(words));
    m_window.connectionIcon->setAccessibleName(words);
}

void WindowIndicators::showListing(const WindowState& state)
{
    m_window.dragAndDropView->setServerLost(state.isServerLost);
    m_window.destinationListingTable->setEmptyText(emptyText(state));
    m_window.destinationListingTable->offerStop(state.isListingStuck);
    m_window.transferPane->tell(*m_window.brokenListingLabel, state.isListingBroken);
    m_window.brokenListingLabel->setText(
        state.isListingBroken ? u"Could not list the rest: %1 – F5 tries again"_s.arg(visibleText(state.listingFailure))
                              : QString());
    m_window.transferPane->tell(*m_window.otherFolderLabel, !state.otherFolder.isNull());
    m_window.otherFolderLabel->setText(
        state.otherFolder.isNull() ? QString()
                                   : u"Listed is %1, not the destination"_s.arg(visibleText(state.otherFolder)));
}
