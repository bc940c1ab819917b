#include "FocusKeeping.h"

#include <QVariant>
#include <QWidget>

namespace {

constexpr auto lent = "hasLentFocus"; ///< A property of the control.

} // namespace

void setEnabledKeepingFocus(QWidget& control, bool isEnabled, QWidget& refuge)
{
    if (control.isEnabled() == isEnabled) {
        return;
    }
    if (!isEnabled) {
        const bool hadFocus = control.hasFocus();
        control.setProperty(lent, hadFocus);
        if (hadFocus) {
            refuge.setFocus();
        }
        control.setEnabled(false);
        return;
    }
    control.setEnabled(true);
    if (control.property(lent).toBool() && refuge.hasFocus()) {
        control.setFocus();
    }
}
