#include "FocusKeeping.h"

#include <QVariant>
#include <QWidget>

namespace {

constexpr auto lent = "hasLentFocus"; ///< A property of the control.

/// Whether @p control or a part of it has the keyboard of its window; then @p refuge has it.
bool passFocusOn(const QWidget& control, QWidget& refuge)
{
    const QWidget* const holder = control.window()->focusWidget();
    if (holder == nullptr || (holder != &control && !control.isAncestorOf(holder))) {
        return false;
    }
    refuge.setFocus();
    return true;
}

} // namespace

void setEnabledKeepingFocus(QWidget& control, bool isEnabled, QWidget& refuge)
{
    if (control.isEnabled() == isEnabled) {
        return;
    }
    if (!isEnabled) {
        control.setProperty(lent, passFocusOn(control, refuge));
        control.setEnabled(false);
        return;
    }
    control.setEnabled(true);
    if (control.property(lent).toBool() && refuge.window()->focusWidget() == &refuge) {
        control.setFocus();
    }
}

void setVisibleKeepingFocus(QWidget& control, bool isVisible, QWidget& refuge)
{
    if (!isVisible) {
        passFocusOn(control, refuge);
    }
    control.setVisible(isVisible);
}
