#pragma once

#include <QString>

#include <functional>

/// Shows a warning with one button, "OK", one second later: hands both texts on the main thread to the presenter that
/// is installed then. Requests for the same alert that follow one another without a pause of nearly a second are told
/// of once, a second after the first; but a user who tries again after it was shown is told again. Safe from any
/// thread.
void ShowAlertAfterDelay(const QString& message, const QString& informative);

/// While one lives, requests for delayed alerts on its thread are dropped: what goes on there is nothing that the user
/// has asked for.
class DelayedAlertSilence {
public:
    DelayedAlertSilence();
    DelayedAlertSilence(const DelayedAlertSilence&) = delete;
    DelayedAlertSilence& operator=(const DelayedAlertSilence&) = delete;
    ~DelayedAlertSilence();
};

/// Installs what shows delayed alerts, given the message and the informative text. Without one they are dropped. To a
/// new one nothing counts as told. For the main thread.
void setDelayedAlertPresenter(std::function<void(const QString&, const QString&)> presenter);
