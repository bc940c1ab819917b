#include "SheetQueue.h"

#include "MessageBoxTexts.h"
#include "RunLoop.h"
#include "SheetDetails.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QPushButton>
#include <QWidget>

#include <algorithm>

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

void SheetQueue::showNext()
{
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
    box->open();
}

void SheetQueue::finished(const QMessageBox& box)
{
    const Sheet sheet = m_sheets.takeFirst();
    const QAbstractButton* const pressed = box.clickedButton();
    const bool isAlternate = pressed != nullptr
        && box.buttonRole(const_cast<QAbstractButton*>(pressed))
            == QMessageBox::DestructiveRole; // The query takes a button that it does not change.
    if (!m_sheets.isEmpty()) {
        // From the loop, when the window has been given back by the sheet that is just closing.
        RunLoop::dispatchAfter(0, this, [this] { showNext(); });
    }
    if (const std::function<void()>& then = isAlternate ? sheet.onAlternate : sheet.onDefault) {
        then();
    }
}
