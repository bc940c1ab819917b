#include "DelayedAlert.h"

#include "RunLoop.h"

#include <utility>

namespace {

constexpr int delayMs = 1000;

std::function<void(const QString&, const QString&)>& installedPresenter()
{
    static std::function<void(const QString&, const QString&)> presenter;
    return presenter;
}

} // namespace

void ShowAlertAfterDelay(const QString& message, const QString& informative)
{
    RunLoop::dispatchAfter(delayMs, nullptr, [message, informative] {
        // A copy: the presenter may install another one.
        const auto presenter = installedPresenter();
        if (presenter != nullptr) {
            presenter(message, informative);
        }
    });
}

void setDelayedAlertPresenter(std::function<void(const QString&, const QString&)> presenter)
{
    installedPresenter() = std::move(presenter);
}
