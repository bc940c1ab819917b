#include "OutcomeLine.h"

#include "AutomaticTries.h"
#include "CopyOrBeep.h"
#include "DrawnIcons.h"
#include "ElidedLabel.h"
#include "FocusKeeping.h"
#include "HistoryRows.h"
#include "IconLabel.h"
#include "IconSettings.h"
#include "UploadHistory.h"
#include "UploadLedger.h"
#include "UserDefaults.h"
#include "WebLink.h"

#include <QAccessibleWidget>
#include <QBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QToolButton>

#include <numeric>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr double smallestScale = 0.7; ///< Of the words.

/// What the line looks like when something was lost, and when nothing was.
QString styleOf(bool isWarning)
{
    const QString buttons = u"QToolButton { color: #0a57b0; border: none; border-radius: 3px; padding: 3px 8px; }"
                            "QToolButton::menu-indicator { image: none; }"
                            "QToolButton:hover, QToolButton:focus { background: rgba(10, 87, 176, 10%); }"_s;
    return buttons
        + (isWarning ? u"OutcomeLine { background: #fdeaea; border: 1px solid #efc4c4; border-radius: 4px; }"
                       "QLabel { color: #7a1f1a; font-weight: bold; }"_s
                     : u"OutcomeLine { background: #e9f1fb; border: 1px solid #cbdcf0; border-radius: 4px; }"
                       "QLabel { color: #2c3440; }"_s);
}

/// Screen readers announce an alert when it shows.
QAccessibleInterface* accessibleLine(const QString& className, QObject* object)
{
    auto* const line = qobject_cast<OutcomeLine*>(object);
    const bool isLine = line != nullptr && className == QLatin1String(OutcomeLine::staticMetaObject.className());
    return isLine ? new QAccessibleWidget(line, QAccessible::AlertMessage) : nullptr;
}

} // namespace

OutcomeLine::OutcomeLine(QWidget* parent)
    : QFrame(parent)
    , m_layout(new QBoxLayout(QBoxLayout::LeftToRight, this))
    , m_buttons(new QHBoxLayout)
    , m_icon(new IconLabel(this))
    , m_text(new ElidedLabel(this))
{
    QAccessible::installFactory(accessibleLine); // More than once does no harm.
    auto* const words = new QHBoxLayout;
    words->setSpacing(8);
    words->addWidget(m_icon);
    words->addWidget(m_text, 1);
    m_buttons->setSpacing(4);
    m_buttons->addStretch();
    m_layout->setContentsMargins(10, 5, 6, 5);
    m_layout->setSpacing(4);
    m_layout->addLayout(words, 1);
    m_layout->addLayout(m_buttons);
    m_text->setObjectName(u"outcomeTextField"_s);
    m_text->setAccessibleDescription(u"Outcome of the last queue"_s);
    m_text->setTextFormat(Qt::PlainText);
    m_text->setProperty("smallestScale", smallestScale);
    m_icon->setIcon(drawnWarningIcon());
    m_showButton = addButton("showOutcomeButton", u"Show…"_s);
    m_showButton->setToolTip(u"Show this in the history"_s);
    m_queueAgainButton = addButton("queueOutcomeAgainButton", u"Queue Again"_s);
    m_queueAgainButton->setToolTip(u"Put the files that were lost or stopped into the queue once more"_s);
    m_forgetButton = addButton("forgetInterruptedButton", u"Forget"_s);
    m_forgetButton->setToolTip(u"Leave this as it is, and do not ask about it again"_s);
    m_tryNowButton = addButton("tryNowButton", u"Try Now"_s);
    m_tryNowButton->setToolTip(u"Send the files that wait for another try at once"_s);
    m_giveUpButton = addButton("giveUpTriesButton", u"Give Up"_s);
    m_giveUpButton->setToolTip(u"Leave the files that wait for another try as they are"_s);
    m_copyWebLinkButton = addButton("copyOutcomeWebLinkButton", u"Copy Web Link"_s);
    m_copyWebLinkButton->setToolTip(u"Copy the web addresses of the files that were confirmed"_s);
    m_moreButton = addButton("moreOutcomeButton", u"•••"_s);
    m_moreButton->setToolTip(u"More"_s);
    m_moreButton->setAccessibleName(u"More about the outcome"_s);
    m_moreButton->setPopupMode(QToolButton::InstantPopup);
    m_moreButton->setMenu(new QMenu(m_moreButton));
    connect(m_moreButton->menu(), &QMenu::aboutToShow, this, &OutcomeLine::fillMenu);
    m_dismissButton = addButton("dismissOutcomeButton", u"✕"_s);
    m_dismissButton->setToolTip(u"Dismiss"_s);
    m_dismissButton->setAccessibleName(u"Dismiss"_s);
    connect(m_dismissButton, &QToolButton::clicked, this, &OutcomeLine::dismiss);
    connect(m_showButton, &QToolButton::clicked, this, [this] {
        emit showRequested(m_isAboutEarlierRuns
                               ? m_ledger->interrupted() + m_ledger->interruptedWalks()
                               : keys(HistoryRows::remarkable(m_history->entries(), m_history->firstQueueRow())));
    });
    connect(m_copyWebLinkButton, &QToolButton::clicked, this, &OutcomeLine::copyWebLinks);
    connect(m_queueAgainButton, &QToolButton::clicked, this,
            [this] { emit queueAgainRequested(m_isAboutEarlierRuns ? m_ledger->interrupted() : keys(lostRows())); });
    connect(m_tryNowButton, &QToolButton::clicked, this, &OutcomeLine::tryNowRequested);
    connect(m_giveUpButton, &QToolButton::clicked, this, [this] { m_tries->giveUp(); });
    connect(m_forgetButton, &QToolButton::clicked, this, [this] {
        dismiss();
        m_ledger->forgetInterrupted();
    });
    setStyleSheet(styleOf(false));
    m_showButton->show(); // The line's height counts before it is told anything.
    hide();
}

QToolButton* OutcomeLine::addButton(const char* name, const QString& text)
{
    auto* const button = new QToolButton(this);
    button->setObjectName(QString::fromLatin1(name));
    button->setText(text);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::StrongFocus);
    button->hide();
    m_buttons->addWidget(button);
    return button;
}

/// Beside what always is there, @p buttons can be pressed from now on.
void OutcomeLine::offer(const QList<QToolButton*>& buttons)
{
    if (m_offered != buttons) {
        m_offered = buttons;
        arrange();
    }
}

void OutcomeLine::resizeEvent(QResizeEvent* event)
{
    QFrame::resizeEvent(event);
    arrange();
}

/// Puts the buttons below the words where both have no room in one line, and those that have none into the menu. In a
/// low window it stays one line as long as the words in their smallest font have room beside the menu.
void OutcomeLine::arrange()
{
    if (!m_isTold) {
        return; // How wide it is going to be is not known before.
    }
    const QMargins margins = m_layout->contentsMargins();
    const int room = parentWidget()->contentsRect().width() - margins.left() - margins.right();
    const int words = m_icon->sizeHint().width() + m_text->fontMetrics().horizontalAdvance(m_text->text())
        + 3 * m_layout->spacing();
    const bool isOneLine = m_isLow ? static_cast<int>(words * smallestScale) + widthWithMenu() <= room
                                   : words + widthOf(allButtons()) <= room;
    m_layout->setDirection(isOneLine ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);

    const int buttonRoom = isOneLine ? room - words : room;
    QList<QToolButton*> shown = allButtons();
    if (widthOf(shown) > buttonRoom) {
        shown.insert(shown.size() - 1, m_moreButton);
        while (shown.size() > 3 && widthOf(shown) > buttonRoom) {
            shown.removeAt(shown.size() - 3);
        }
    }
    for (int i = 0; i < m_buttons->count(); ++i) {
        if (QWidget* const button = m_buttons->itemAt(i)->widget()) {
            setVisibleKeepingFocus(*button, shown.contains(button), *m_refuge);
        }
    }
    updateGeometry();
}

/// All that can be pressed at present.
QList<QToolButton*> OutcomeLine::allButtons() const
{
    return QList{ m_showButton } + m_offered + QList{ m_dismissButton };
}

int OutcomeLine::widthOf(const QList<QToolButton*>& buttons) const
{
    return std::accumulate(buttons.begin(), buttons.end(), 0, [this](int sum, const QToolButton* button) {
        return sum + button->sizeHint().width() + m_buttons->spacing();
    });
}

/// Of the least buttons.
int OutcomeLine::widthWithMenu() const
{
    return m_offered.isEmpty() ? widthOf(allButtons()) : widthOf({ m_showButton, m_moreButton, m_dismissButton });
}

/// The menu has the buttons that are not shown.
void OutcomeLine::fillMenu()
{
    QMenu& menu = *m_moreButton->menu();
    menu.clear();
    for (QToolButton* const button : std::as_const(m_offered)) {
        if (button->isHidden()) {
            menu.addAction(button->text(), button, &QToolButton::click);
        }
    }
}

QSize OutcomeLine::minimumSizeHint() const
{
    const QMargins margins = m_layout->contentsMargins();
    return { margins.left() + widthWithMenu() + margins.right(), QFrame::minimumSizeHint().height() };
}

void OutcomeLine::setLow(bool isLow)
{
    if (m_isLow != isLow) {
        m_isLow = isLow;
        arrange();
    }
}

void OutcomeLine::tell(bool isTold)
{
    m_isTold = isTold;
    arrange();
    emit told(isTold);
}

void OutcomeLine::setHistory(const UploadHistory& history, UploadLedger& ledger, AutomaticTries& tries)
{
    m_tries = &tries;
    connect(&tries, &AutomaticTries::changed, this, &OutcomeLine::triesChanged);
    m_history = &history;
    m_ledger = &ledger;
    connect(&ledger, &UploadLedger::interruptedChanged, this, &OutcomeLine::interruptedChanged);
    connect(&history, &UploadHistory::queueBegins, this, [this] {
        if (!m_isAboutEarlierRuns) {
            endTelling();
        }
    });
    connect(&history, &UploadHistory::queueDrained, this, &OutcomeLine::queueDrained);
    connect(&history, &UploadHistory::filesChecked, this, [this] {
        if (m_isTold && !m_isAboutEarlierRuns) {
            refresh();
        }
    });
}

/// Nothing is said of them in place of what has become of a queue.
void OutcomeLine::interruptedChanged()
{
    if (m_isAboutEarlierRuns || !m_isTold) {
        endTelling();
    }
}

void OutcomeLine::dismiss()
{
    m_isInterruptedDismissed = m_isInterruptedDismissed || m_isAboutEarlierRuns;
    endTelling();
}

/// Where nothing is said of a queue, what an earlier run has left is, until the user has dismissed that.
void OutcomeLine::endTelling()
{
    const QString text = earlierRunsText();
    m_isAboutEarlierRuns = !text.isNull() && !m_isInterruptedDismissed;
    if (m_isAboutEarlierRuns) {
        m_lostRows.reset();
        setText(text, true);
        offer(m_ledger->interrupted().isEmpty() ? QList{ m_forgetButton }
                                                : QList{ m_queueAgainButton, m_forgetButton });
    }
    tell(m_isAboutEarlierRuns);
}

/// What is not known of them; null when all is.
QString OutcomeLine::earlierRunsText() const
{
    const qsizetype count = m_ledger->interrupted().size();
    const bool isAllFound = m_ledger->interruptedWalks().isEmpty();
    if (count == 0) {
        return isAllFound ? QString() : u"Not all that was dropped was looked through"_s;
    }
    const QString files
        = count == 1 ? u"1 file was not confirmed"_s : u"%1 files were not confirmed"_s.arg(QLocale().toString(count));
    return isAllFound ? files : files + u", and not all that was dropped was looked through"_s;
}

void OutcomeLine::triesChanged()
{
    if (!m_history->isQueueUnderWay() && !m_isAboutEarlierRuns) {
        queueDrained();
    }
}

/// What has become of the last queue, and what is going to become of its files.
QString OutcomeLine::queueText() const
{
    QStringList parts{ m_history->queueText() };
    if (const qsizetype waiting = m_tries->waitingCount(); waiting > 0) {
        parts.append(u"%1 waiting for another try"_s.arg(QLocale().toString(waiting)));
    }
    parts.append(m_tries->hindrance());
    parts.removeIf([](const QString& part) { return part.isEmpty(); });
    return parts.join(u", "_s);
}

void OutcomeLine::queueDrained()
{
    m_isAboutEarlierRuns = false;
    refresh();
    tell(!m_text->text().isEmpty());
}

QList<LedgerKey> OutcomeLine::keys(const QList<int>& numbers) const
{
    QList<LedgerKey> keys;
    for (const int number : numbers) {
        keys.append({ .row = 0, .number = number });
    }
    return keys;
}

/// The rows of the queue whose files were lost or stopped.
QList<int> OutcomeLine::lostRows() const
{
    return HistoryRows::unsettled(m_history->entries(), m_history->firstQueueRow());
}

/// Whether files of the queue have web addresses, as far as that is known without a look at each.
bool OutcomeLine::hasWebLinks() const
{
    return m_history->queueTally().confirmed > 0 && hasWebAddress();
}

void OutcomeLine::copyWebLinks() const
{
    const UserDefaults::Reading reading(connectionSettings());
    QStringList links;
    for (int row = m_history->firstQueueRow(); row < m_history->rowCount(); ++row) {
        if (const HistoryEntry entry = m_history->entries()[row]; !entry.isManual) {
            links.append(HistoryRows::webLink(entry));
        }
    }
    links.removeAll({});
    copyOrBeep(links.join(u'\n')); // There are none when the settings have changed since the button came.
}

void OutcomeLine::refresh()
{
    // Each listing comes here; the disk is asked when there is news.
    if (const QList<int> rows = lostRows(); m_lostRows != rows) {
        m_canQueueAgain = HistoryRows::isAnyPresent(m_history->entries(), rows);
        m_lostRows = rows;
    }
    QList<QToolButton*> buttons;
    if (m_canQueueAgain) {
        buttons.append(m_queueAgainButton);
    }
    if (m_tries->waitingCount() > 0) {
        buttons.append({ m_tryNowButton, m_giveUpButton });
    }
    if (hasWebLinks()) {
        buttons.append(m_copyWebLinkButton);
    }
    offer(buttons);
    setText(queueText(), m_history->queueTally().lost() > 0);
}

void OutcomeLine::setText(const QString& text, bool isWarning)
{
    if (text == m_text->text() && m_icon->isVisibleTo(this) == isWarning) {
        return;
    }
    m_text->setText(text);
    setAccessibleName(text);
    m_icon->setVisible(isWarning);
    setStyleSheet(styleOf(isWarning));
    arrange();
}
