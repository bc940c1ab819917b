#include "ModalState.h"

#include "LoopSuspension.h"

#include <QApplication>
#include <QWidget>

#include <algorithm>

bool isMainLoopSuspended()
{
    if (LoopSuspension::isActive() || QApplication::activePopupWidget() != nullptr) {
        return true;
    }
    if (QApplication::activeModalWidget() == nullptr) {
        return false;
    }
    // The active one may be a sheet on an application-modal dialog.
    const QWidgetList windows = QApplication::topLevelWidgets();
    return std::any_of(windows.begin(), windows.end(), [](const QWidget* window) {
        return window->isVisible() && window->windowModality() == Qt::ApplicationModal;
    });
}
