#include "SheetQueue.h"

#include "MessageBoxTexts.h"
#include "MissedKeyboard.h"
#include "RunLoop.h"
#include "SheetDetails.h"

#include <QAbstractButton>
#include <QEvent>
#include <QMessageBox>
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
    if (event->type() == QEvent::WindowActivate && m_box != nullptr && !m_box->isModal()) {
        m_box->hide(); // Its modality counts when it is shown.
        m_box->setAttribute(Qt::WA_ShowWithoutActivating, false);
        m_box->open();
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
    if (m_sheets.size() == 1) {
        showNext();
    }
}

void SheetQueue::showNextSoon()
{
    // From the loop, when the window has been given back by the dialog that is just closing.
    RunLoop::dispatchAfter(0, this, [this] { showNext(); });
}

void SheetQueue::showNext()
{
    if (const QDialog* const dialog = openedDialog(m_window)) {
        connect(dialog, &QDialog::finished, this, &SheetQueue::showNextSoon, Qt::SingleShotConnection);
        return;
    }
    const Sheet& sheet = m_sheets.first();
    auto* const box = new QMessageBox(&m_window);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setIcon(QMessageBox::Warning);
    setPlainTexts(*box, sheet.title, sheet.text);
    QPushButton* const defaultButton = box->addButton(sheet.defaultButton, QMessageBox::RejectRole);
    box->setDefaultButton(defaultButton);
    box->setEscapeButton(defaultButton);
    if (!sheet.alternateButton.isEmpty()) {
        box->addButton(sheet.alternateButton, QMessageBox::DestructiveRole);
    }
    if (!sheet.details.isEmpty()) {
        addSheetDetails(*box, sheet.details);
    }
    connect(box, &QMessageBox::finished, this, [this, box] { finished(*box); });
    m_box = box;
    if (m_window.isActiveWindow()) {
        box->open();
    } else {
        // Who types in another window goes on there: a modal window would ask for the keyboard, whatever is set here.
        box->setAttribute(Qt::WA_ShowWithoutActivating);
        box->setModal(false);
        box->show();
    }
}

void SheetQueue::finished(const QMessageBox& box)
{
    const Sheet sheet = m_sheets.takeFirst();
    const QAbstractButton* const pressed = box.clickedButton();
    const bool isAlternate = pressed != nullptr
        && box.buttonRole(const_cast<QAbstractButton*>(pressed))
            == QMessageBox::DestructiveRole; // The query takes a button that it does not change.
    if (!m_sheets.isEmpty()) {
        showNextSoon();
    }
    // Whoever manages the windows may take a while.
    for (const int delayMs : { 100, 300, 1000 }) {
        RunLoop::dispatchAfter(delayMs, this, [this] { noticeKeyboard(m_window); });
    }
    if (const std::function<void()>& then = isAlternate ? sheet.onAlternate : sheet.onDefault) {
        then();
    }
}
