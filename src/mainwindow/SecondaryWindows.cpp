#include "SecondaryWindows.h"

#include "Addressing.h"
#include "BringToFront.h"
#include "DestinationServer.h"
#include "DestinationSettings.h"
#include "FTPConnections.h"
#include "FTPLocation.h"
#include "HistoryWindow.h"
#include "IconSettings.h"
#include "LabelAlignment.h"
#include "PreferencesController.h"
#include "QueueAgain.h"
#include "ScreenRoom.h"
#include "SettingNames.h"
#include "SheetQueue.h"
#include "TrustedCertificates.h"
#include "UserDefaults.h"
#include "ViewController.h"
#include "WholeButtons.h"
#include "WindowMemory.h"
#include "ui_Welcome.h"

#include <QJsonValue>
#include <QSignalBlocker>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QString historyName = u"history"_s; ///< Its window is remembered by it.

/// Shows a state that is not the user's choice of this moment.
void setCheckedQuietly(QCheckBox& box, bool isChecked)
{
    const QSignalBlocker blocker(box);
    box.setChecked(isChecked);
}

} // namespace

SecondaryWindows::SecondaryWindows(ViewController& controller, FTPConnections& connections)
    : m_controller(controller)
    , m_connections(connections)
    , m_welcome(std::make_unique<Ui::Welcome>())
{
    makePreferences();
    makeWelcome();
}

SecondaryWindows::~SecondaryWindows() = default;

void SecondaryWindows::makeWelcome()
{
    m_welcome->setupUi(&m_welcomeWindow);
    QFont heading = m_welcomeWindow.font();
    heading.setBold(true);
    heading.setPointSizeF(QFontInfo(heading).pointSizeF() * 1.8);
    m_welcome->headingLabel->setFont(heading);
    // So that no text is cut, whatever the font; they scroll where the screen has no room for them.
    const QSize room = roomOnScreen(m_welcomeWindow);
    keepButtonsWhole(m_welcomeWindow);
    m_welcome->contentsLayout->activate(); // Else it has the sizes from before in mind.
    const QSize besideTexts = m_welcomeWindow.layout()->totalSizeHint() - m_welcome->welcomeArea->sizeHint();
    const int width = std::min(68 * m_welcomeWindow.fontMetrics().averageCharWidth(), room.width());
    const QMargins margins = m_welcomeWindow.layout()->contentsMargins();
    const int textsHeight = m_welcome->contentsLayout->totalHeightForWidth(width - margins.left() - margins.right());
    m_welcomeWindow.setMinimumSize(width, std::min(textsHeight + besideTexts.height(), room.height()));
    m_welcomeWindow.resize(m_welcomeWindow.minimumSize());
    alignLabelsToDirection(m_welcomeWindow);
    connect(m_welcome->closeWelcomeButton, &QPushButton::clicked, &m_welcomeWindow, &QWidget::close);
    connect(m_welcome->welcomePreferencesButton, &QPushButton::clicked, this, &SecondaryWindows::showPreferences);
    // Not its clicks: a screen reader toggles without one.
    connect(m_welcome->doNotShowAgainCheckBox, &QCheckBox::toggled, this, &SecondaryWindows::rememberWelcomeChoice);
}

void SecondaryWindows::makePreferences()
{
    m_preferences = std::make_unique<PreferencesController>(
        UserDefaults::standard(), connectionSettings(),
        PreferencesController::Application{
            .server = serverAccess(&DestinationSettings::ftpFolderFromAppName),
            .updateWindowTitleAndList = [this] { m_controller.destinationSet(); },
        });
}

ServerAccess SecondaryWindows::serverAccess(std::function<QString()> subFolder)
{
    return {
        .destinationFor =
            [subFolder = std::move(subFolder)](const QString& address, const QString& folder) {
                return Addressing::fullPath(address, folder, subFolder());
            },
        .trustsCertificate = [](const QString& destination) { return !trustedFingerprint(destination).isEmpty(); },
        .forgetCertificate =
            [this](const QString& destination) {
                m_connections.closeIdleConnections(destination); // They were made while it was trusted.
                const std::optional<FTPLocation> location = FTPLocation::fromText(destination);
                return location && TrustedCertificates::standard().forget(location->host, location->port);
            },
        .startConnectionTest =
            [this](const FTPConnectionTestRequest& request, FTPConnectionTestHandler handler) {
                m_controller.connectionRequested();
                return m_connections.startConnectionTest(request, std::move(handler));
            },
    };
}

void SecondaryWindows::showManualTransfers()
{
    bringToFront(m_manualTransfers);
}

void SecondaryWindows::showPreferences()
{
    m_preferences->showPanel();
}

void SecondaryWindows::showHistory(const QList<LedgerKey>& keys)
{
    if (m_historyWindow == nullptr) {
        m_historyWindow = std::make_unique<HistoryWindow>(
            m_controller.history(), m_controller.ledger(),
            [this](const QList<LedgerKey>& chosen) { queueAgain(m_controller, chosen); });
        WindowMemory::restore(*m_historyWindow, m_historyWindow->columns(), historyName);
        keepWithinScreen(*m_historyWindow);
    }
    bringToFront(*m_historyWindow);
    m_historyWindow->select(keys);
}

void SecondaryWindows::showWelcomeWindow(bool force)
{
    const bool isTurnedOff
        = UserDefaults::standard().boolean(SettingNames::doNotShowWelcomeWindowAgain).value_or(false);
    if (!force && isTurnedOff) {
        return;
    }
    setCheckedQuietly(*m_welcome->doNotShowAgainCheckBox, isTurnedOff);
    bringToFront(m_welcomeWindow);
}

void SecondaryWindows::rememberWelcomeChoice(bool isTurnedOff)
{
    UserDefaults& defaults = UserDefaults::standard();
    if (!defaults.store({ { SettingNames::doNotShowWelcomeWindowAgain, isTurnedOff } })) {
        setCheckedQuietly(*m_welcome->doNotShowAgainCheckBox, !isTurnedOff);
        SheetQueue::of(m_welcomeWindow)
            .raise({ .title = u"Settings Not Saved"_s,
                     .text = u"The settings could not be written to “%1”."_s.arg(defaults.filePath()) });
    }
}

void SecondaryWindows::remember()
{
    if (m_historyWindow != nullptr) {
        WindowMemory::save(*m_historyWindow, m_historyWindow->columns(), historyName);
    }
}
