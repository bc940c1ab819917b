#pragma once

#include "LedgerRow.h"
#include "ManualTransfers.h"
#include "ServerAccess.h"

#include <QDialog>
#include <QObject>

#include <functional>
#include <memory>

class FTPConnections;
class HistoryWindow;
class PreferencesController;
class ViewController;

namespace Ui {
class Welcome;
} // namespace Ui

/// The windows beside the main window: preferences, welcome, history and manual transfers. None is a child of the main
/// window, whose sheets would hold it. Belongs to the main thread.
class SecondaryWindows final : public QObject {
    Q_OBJECT

public:
    /// The windows of @p controller. Both outlive them.
    SecondaryWindows(ViewController& controller, FTPConnections& connections);
    ~SecondaryWindows() override;

    ManualTransfers& manualTransfers() { return m_manualTransfers; }
    PreferencesController& preferences() { return *m_preferences; }
    QDialog& welcomeWindow() { return m_welcomeWindow; }
    /// Null until it is first shown.
    HistoryWindow* historyWindow() { return m_historyWindow.get(); }

    /// For a form in which a server is edited; @p subFolder, which may be null, is added to its folder.
    ServerAccess serverAccess(std::function<QString()> subFolder);

    void showManualTransfers();
    void showPreferences();
    /// With the rows of @p keys selected, if there are any.
    void showHistory(const QList<LedgerKey>& keys);
    /// Unless the user has turned it off, or in any case when it is forced.
    void showWelcomeWindow(bool force);
    /// Notes the size and the columns of the history's window for the next run.
    void remember();

private:
    void makePreferences();
    void makeWelcome();
    void rememberWelcomeChoice(bool isTurnedOff);

    ViewController& m_controller;
    FTPConnections& m_connections;
    ManualTransfers m_manualTransfers;
    std::unique_ptr<PreferencesController> m_preferences;
    QDialog m_welcomeWindow;
    std::unique_ptr<Ui::Welcome> m_welcome;
    std::unique_ptr<HistoryWindow> m_historyWindow;
};
