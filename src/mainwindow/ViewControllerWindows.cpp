// The windows beside the main window: preferences, welcome, manual transfers.

#include "Addressing.h"
#include "BringToFront.h"
#include "DestinationServer.h"
#include "FTPLocation.h"
#include "HistoryWindow.h"
#include "PreferencesController.h"
#include "SheetQueue.h"
#include "TrustedCertificates.h"
#include "UserDefaults.h"
#include "ViewController.h"
#include "WindowMemory.h"
#include "ui_MainWindow.h"
#include "ui_Welcome.h"

#include <QJsonValue>
#include <QSignalBlocker>

using namespace Qt::StringLiterals;

namespace {

const QString historyName = u"history"_s; ///< Its window is remembered by it.
const QString doNotShowWelcomeWindowAgain = u"DoNotShowWelcomeWindowAgain"_s;

/// Shows a state that is not the user's choice of this moment.
void setCheckedQuietly(QCheckBox& box, bool isChecked)
{
    const QSignalBlocker blocker(box);
    box.setChecked(isChecked);
}

} // namespace

void ViewController::loadOtherWindows()
{
    m_preferences = std::make_unique<PreferencesController>(
        UserDefaults::standard(),
        PreferencesController::Application{
            .destinationFor
            = [](const QString& address,
                 const QString& folder) { return Addressing::fullPath(address, folder, ftpFolderFromAppName()); },
            .updateWindowTitleAndList =
                [this] {
                    emit userRequestedConnection();
                    emit updateWindowTitleAndList();
                },
            .trustsCertificate = [](const QString& destination) { return !trustedFingerprint(destination).isEmpty(); },
            .forgetCertificate =
                [this](const QString& destination) {
                    m_connections.closeIdleConnections(destination); // They were made while it was trusted.
                    const std::optional<FTPLocation> place = FTPLocation::fromText(destination);
                    return place && TrustedCertificates::standard().forget(place->host, place->port);
                },
            .startConnectionTest =
                [this](const FTPConnectionTestRequest& request, FTPConnectionTestHandler handler) {
                    emit userRequestedConnection();
                    return m_connections.startConnectionTest(request, std::move(handler));
                },
        },
        &m_window);
    m_welcome->setupUi(m_welcomeWindow);
    connect(m_welcome->closeWelcomeButton, &QPushButton::clicked, m_welcomeWindow, &QWidget::close);
    connect(m_welcome->welcomePreferencesButton, &QPushButton::clicked, this, &ViewController::showPreferences);
    // Not its clicks: a screen reader toggles without one.
    connect(m_welcome->doNotShowAgainCheckBox, &QCheckBox::toggled, this, &ViewController::rememberWelcomeChoice);
}

void ViewController::rememberWindow()
{
    WindowMemory::save(m_window, *m_ui->destinationListingTable->horizontalHeader());
    if (m_historyWindow != nullptr) {
        WindowMemory::save(*m_historyWindow, m_historyWindow->columns(), historyName);
    }
}

void ViewController::showAuxiliaryWindow()
{
    bringToFront(m_auxiliaryWindow);
}

void ViewController::showPreferences()
{
    m_preferences->showPanel();
}

void ViewController::showHistory()
{
    if (m_historyWindow == nullptr) {
        m_historyWindow
            = std::make_unique<HistoryWindow>(m_history, [this](const QStringList& paths) { uploadFiles(paths); });
        WindowMemory::restore(*m_historyWindow, m_historyWindow->columns(), historyName);
    }
    bringToFront(*m_historyWindow);
}

void ViewController::showWelcomeWindow(bool force)
{
    const bool isTurnedOff = UserDefaults::standard().boolean(doNotShowWelcomeWindowAgain).value_or(false);
    if (!force && isTurnedOff) {
        return;
    }
    setCheckedQuietly(*m_welcome->doNotShowAgainCheckBox, isTurnedOff);
    bringToFront(*m_welcomeWindow);
}

void ViewController::rememberWelcomeChoice(bool isTurnedOff)
{
    UserDefaults& defaults = UserDefaults::standard();
    if (!defaults.store({ { doNotShowWelcomeWindowAgain, isTurnedOff } })) {
        setCheckedQuietly(*m_welcome->doNotShowAgainCheckBox, !isTurnedOff);
        SheetQueue::of(*m_welcomeWindow)
            .raise({ .title = u"Settings Not Saved"_s,
                     .text = u"The settings could not be written to “%1”."_s.arg(defaults.filePath()) });
    }
}
