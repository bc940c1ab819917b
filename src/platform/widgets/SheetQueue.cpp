#include "SheetQueue.h"

#include "AlertDialog.h"
#include "MissedKeyboard.h"
#include "RunLoop.h"

#include <QEvent>
#include <QPushButton>
#include <QWidget>

#include <algorithm>

namespace {

/// What the user has opened in @p window and goes on with before a sheet comes, such as a file chooser; null for none.
QDialog* openedDialog(const QWidget& window)
{
    const QList<QDialog*> dialogs = window.findChildren<QDialog*>(QString(), Qt::FindDirectChildrenOnly);
    const auto found = std::find_if(dialogs.begin(), dialogs.end(),
                                    [](const QDialog* dialog) { return dialog->isVisible() && dialog->isModal(); });
    return found == dialogs.end() ? nullptr : *found;
}

} // namespace

SheetQueue& SheetQueue::of(QWidget& window)
{
    if (auto* const queue = window.findChild<SheetQueue*>(QString(), Qt::FindDirectChildrenOnly)) {
        return *queue;
    }
    return *new SheetQueue(window);
}

SheetQueue::SheetQueue(QWidget& window)
    : QObject(&window)
    , m_window(window)
{
    window.installEventFilter(this);
}

bool SheetQueue::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::WindowActivate && m_alert != nullptr && !m_alert->isModal()) {
        // Modality counts when a window is shown. This one, hidden and shown again, might stay hidden: to the window
        // manager, which may only now hear that it is to be shown, the hiding comes last.
        closeAlert();
        showNext();
    } else if (event->type() == QEvent::Show) {
        showNextSoon();
    }
    return QObject::eventFilter(watched, event);
}

void SheetQueue::raise(const Sheet& sheet)
{
    const bool isKnown = std::any_of(m_sheets.begin(), m_sheets.end(), [&sheet](const Sheet& known) {
        return known.title == sheet.title && known.text == sheet.text && known.details == sheet.details
            && !known.onAlternate && !sheet.onAlternate;
    });
    if (isKnown) {
        return;
    }
    m_sheets.append(sheet);
    if (sheet.matter != nullptr) {
        connect(sheet.matter, &QObject::destroyed, this, [this, matter = sheet.matter] { withdraw(matter); });
    }
    if (m_sheets.size() == 1) {
        showNext();
    }
}

/// Takes the sheets about @p matter away, unanswered.
void SheetQueue::withdraw(const QObject* matter)
{
    const bool isFirst = !m_sheets.isEmpty() && m_sheets.first().matter == matter;
    m_sheets.removeIf([matter](const Sheet& sheet) { return sheet.matter == matter; });
    if (isFirst && m_alert != nullptr) {
        closeAlert();
        alertHasGone();
    }
}

void SheetQueue::closeAlert()
{
    m_alert->disconnect(this);
    m_alert->close();
    m_alert.clear(); // It goes, and shows no more.
}

void SheetQueue::showNextSoon()
{
    // From the loop, when the window has been given back by the dialog that is just closing.
    RunLoop::dispatchAfter(0, this, [this] { showNext(); });
}

/// Does nothing where none waits, or cannot be shown by now.
void SheetQueue::showNext()
{
    if (m_sheets.isEmpty() || m_alert != nullptr || !m_window.isVisible()) {
        return;
    }
    if (const QDialog* const dialog = openedDialog(m_window)) {
        connect(dialog, &QDialog::finished, this, &SheetQueue::showNextSoon, Qt::SingleShotConnection);
        return;
    }
    const Sheet& sheet = m_sheets.first();
    auto* const alert = new AlertDialog(sheet.title, sheet.text, &m_window);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->defaultButton()->setText(sheet.defaultButton);
    if (!sheet.alternateButton.isEmpty()) {
        alert->addAlternateButton(sheet.alternateButton);
    }
    if (!sheet.details.isEmpty()) {
        alert->addDetails(sheet.details);
    }
    if (sheet.list.count > 0) {
        alert->addList(sheet.list);
    }
    connect(alert, &QDialog::finished, this, [this](int result) { finished(result == QDialog::Accepted); });
    m_alert = alert;
    if (m_window.isActiveWindow()) {
        alert->open();
    } else {
        // Who types in another window goes on there: a modal window would ask for the keyboard, whatever is set here.
        alert->setAttribute(Qt::WA_ShowWithoutActivating);
        alert->setModal(false);
        alert->show();
    }
}

void SheetQueue::finished(bool isAlternate)
{
    const Sheet sheet = m_sheets.takeFirst();
    m_alert.clear(); // It goes, and shows no more.
    alertHasGone();
    if (const std::function<void()>& then = isAlternate ? sheet.onAlternate : sheet.onDefault) {
        then();
    }
}

void SheetQueue::alertHasGone()
{
    showNextSoon();
    // Whoever manages the windows may take a while.
    for (const int delayMs : { 100, 300, 1000 }) {
        RunLoop::dispatchAfter(delayMs, this, [this] { noticeKeyboard(m_window); });
    }
}
