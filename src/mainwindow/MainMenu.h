#pragma once

#include "FileChooser.h"

#include <QObject>
#include <QString>

class MainWindow;
class QAction;
class ViewController;
struct WindowState;

/// The menus of the main window, their shortcuts, and what they can do at the moment. Belongs to the main thread.
class MainMenu final : public QObject {
    Q_OBJECT

public:
    /// Connects the commands of @p window with what @p controller does. Both outlive the menus.
    MainMenu(MainWindow& window, ViewController& controller);

    /// Enables what can be done in @p state.
    void show(const WindowState& state);

private:
    void connectActions();
    void connectSortActions();
    void watchClipboard();

    /// Lets the user choose files to upload.
    void openFiles();
    void upload(const QStringList& paths);
    /// Uploads the files on the clipboard.
    void pasteFiles();
    /// Copies the location of the selected item.
    void copyItemLocation();
    /// Copies the web addresses of the selected items.
    void copyWebLink();
    void showAbout();

    MainWindow& m_window;
    ViewController& m_controller;
    FileChooser m_chooser;
    QAction* m_copyWebLinkAction; ///< Shows while there is a web address.
    QString m_lastOpenedFolder;
};
