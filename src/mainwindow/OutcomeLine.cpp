#include "OutcomeLine.h"

#include "AutomaticTries.h"
#include "DrawnIcons.h"
#include "ElidedLabel.h"
#include "HistoryRows.h"
#include "IconLabel.h"
#include "SettingNames.h"
#include "UploadHistory.h"
#include "UploadLedger.h"
#include "UserDefaults.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QBoxLayout>
#include <QClipboard>
#include <QLabel>
#include <QLocale>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

/// What the line looks like when something was lost, and when nothing was.
QString styleOf(bool isWarning)
{
    const QString buttons = u"QToolButton { color: #0a57b0; border: none; border-radius: 3px; padding: 3px 8px; }"
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
    m_text->setProperty("smallestScale", 0.7);
    m_icon->setIcon(drawnWarningIcon());
    m_showButton = addButton("showOutcomeButton", u"Show…"_s);
    m_showButton->setToolTip(u"Show these files in the history"_s);
    m_copyWebLinkButton = addButton("copyOutcomeWebLinkButton", u"Copy Web Link"_s);
    m_copyWebLinkButton->setToolTip(u"Copy the web addresses of the files that were confirmed"_s);
    m_copyWebLinkButton->hide();
    m_queueAgainButton = addButton("queueOutcomeAgainButton", u"Queue Again"_s);
    m_queueAgainButton->setToolTip(u"Put the files that were lost or stopped into the queue once more"_s);
    m_forgetButton = addButton("forgetInterruptedButton", u"Forget"_s);
    m_forgetButton->setToolTip(u"Leave these files as they are, and do not ask about them again"_s);
    m_tryNowButton = addButton("tryNowButton", u"Try Now"_s);
    m_tryNowButton->setToolTip(u"Send the files that wait for another try at once"_s);
    m_giveUpButton = addButton("giveUpTriesButton", u"Give Up"_s);
    m_giveUpButton->setToolTip(u"Leave the files that wait for another try as they are"_s);
    QToolButton* const dismissButton = addButton("dismissOutcomeButton", u"✕"_s);
    dismissButton->setToolTip(u"Dismiss"_s);
    dismissButton->setAccessibleName(u"Dismiss"_s);
    connect(dismissButton, &QToolButton::clicked, this, &OutcomeLine::dismiss);
    connect(m_showButton, &QToolButton::clicked, this, [this] {
        emit showRequested(m_isAboutEarlierRuns
                               ? m_ledger->interrupted()
                               : keys(HistoryRows::remarkable(m_history->entries(), m_history->firstQueueRow())));
    });
    connect(m_copyWebLinkButton, &QToolButton::clicked, this, &OutcomeLine::copyWebLinks);
    connect(m_queueAgainButton, &QToolButton::clicked, this,
            [this] { emit queueAgainRequested(m_isAboutEarlierRuns ? m_ledger->interrupted() : keys(lostRows())); });
    connect(m_tryNowButton, &QToolButton::clicked, this, &OutcomeLine::tryNowRequested);
    connect(m_giveUpButton, &QToolButton::clicked, this, [this] { m_tries->giveUp(); });
    for (QWidget* const button : { m_forgetButton, m_tryNowButton, m_giveUpButton }) {
        button->hide();
    }
    connect(m_forgetButton, &QToolButton::clicked, this, [this] {
        hide();
        m_ledger->forgetInterrupted();
    });
    setStyleSheet(styleOf(false));
    hide();
}

QToolButton* OutcomeLine::addButton(const char* name, const QString& text)
{
    auto* const button = new QToolButton(this);
    button->setObjectName(QString::fromLatin1(name));
    button->setText(text);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::StrongFocus);
    m_buttons->addWidget(button);
    return button;
}

void OutcomeLine::resizeEvent(QResizeEvent* event)
{
    QFrame::resizeEvent(event);
    arrange();
}

/// Puts the buttons below the words where both have no room in one line.
void OutcomeLine::arrange()
{
    const QMargins margins = m_layout->contentsMargins();
    const int wanted = margins.left() + m_icon->sizeHint().width()
        + m_text->fontMetrics().horizontalAdvance(m_text->text()) + m_buttons->sizeHint().width() + margins.right()
        + 3 * m_layout->spacing();
    m_layout->setDirection(wanted > width() ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
}

void OutcomeLine::setHistory(const UploadHistory& history, UploadLedger& ledger, AutomaticTries& tries)
{
    m_tries = &tries;
    connect(&tries, &AutomaticTries::changed, this, &OutcomeLine::triesChanged);
    m_history = &history;
    m_ledger = &ledger;
    connect(&ledger, &UploadLedger::interruptedChanged, this, &OutcomeLine::interruptedChanged);
    connect(&history, &UploadHistory::queueBegins, this, &QWidget::hide);
    connect(&history, &UploadHistory::queueDrained, this, &OutcomeLine::queueDrained);
    connect(&history, &UploadHistory::filesChecked, this, [this] {
        if (isVisibleTo(parentWidget()) && !m_isAboutEarlierRuns) {
            refresh();
        }
    });
}

/// Nothing is said of them in place of what has become of a queue.
void OutcomeLine::interruptedChanged()
{
    const qsizetype count = m_ledger->interrupted().size();
    if (m_isAboutEarlierRuns && count == 0) {
        m_isAboutEarlierRuns = false;
        hide();
    }
    if (count > 0 && (m_isAboutEarlierRuns || m_history->rowCount() == 0)) {
        tellInterrupted(count);
    }
}

/// What the line about a queue stood before is said after it, once.
void OutcomeLine::dismiss()
{
    hide();
    if (const qsizetype count = m_ledger->interrupted().size(); count > 0 && !m_wasInterruptedTold) {
        tellInterrupted(count);
    }
}

void OutcomeLine::tellInterrupted(qsizetype count)
{
    m_wasInterruptedTold = true;
    m_isAboutEarlierRuns = true;
    m_lostRows.reset();
    setText(count == 1 ? u"1 file was not confirmed"_s
                       : u"%1 files were not confirmed"_s.arg(QLocale().toString(count)),
            true);
    for (QWidget* const button : { m_copyWebLinkButton, m_tryNowButton, m_giveUpButton }) {
        button->hide();
    }
    m_queueAgainButton->show();
    m_forgetButton->show();
    arrange();
    show();
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
    m_forgetButton->hide();
    refresh();
    setVisible(!m_text->text().isEmpty());
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

void OutcomeLine::copyWebLinks() const
{
    const QStringList links = webLinks(m_history->rowCount());
    if (links.isEmpty()) { // The settings have changed since the button came.
        QApplication::beep();
    } else {
        QApplication::clipboard()->setText(links.join(u'\n'));
    }
}

/// The first of the files of the queue that were confirmed, no more than @p most.
QStringList OutcomeLine::webLinks(qsizetype most) const
{
    const UserDefaults::Reading reading(UserDefaults::standard());
    if (UserDefaults::standard().string(SettingNames::webAddress).isEmpty()) {
        return {};
    }
    QStringList links;
    for (int row = m_history->firstQueueRow(); row < m_history->rowCount() && links.size() < most; ++row) {
        const HistoryEntry known = m_history->entries().withoutPath(row);
        if (known.outcome != HistoryEntry::Outcome::Confirmed || known.isManual) {
            continue;
        }
        if (const QString link = HistoryRows::webLink(m_history->entries()[row]); !link.isNull()) {
            links.append(link);
        }
    }
    return links;
}

void OutcomeLine::refresh()
{
    m_copyWebLinkButton->setVisible(!webLinks(1).isEmpty());
    const bool isWarning = m_history->queueTally().lost() > 0;
    const bool isTryWaiting = m_tries->waitingCount() > 0;
    m_tryNowButton->setVisible(isTryWaiting);
    m_giveUpButton->setVisible(isTryWaiting);
    // Each listing comes here; the disk is asked when there is news.
    if (const QList<int> rows = lostRows(); m_lostRows != rows) {
        m_queueAgainButton->setVisible(HistoryRows::isAnyPresent(m_history->entries(), rows));
        m_lostRows = rows;
    }
    setText(queueText(), isWarning);
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
