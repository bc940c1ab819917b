#pragma once

#include <QPushButton>

/// Has no button in @p window become narrower than its text, which a least width of its own allows it to.
inline void keepButtonsWhole(const QWidget& window)
{
    for (QPushButton* button : window.findChildren<QPushButton*>()) {
        button->setMinimumWidth(qMax(button->minimumWidth(), button->sizeHint().width()));
    }
}
