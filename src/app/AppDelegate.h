#pragma once

#include "AlertDialog.h"
#include "DropIcons.h"
#include "PathList.h"
#include "SessionEnd.h"

#include <QFileSystemWatcher>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <memory>

class DropIconsWindow;
class QMainWindow;
class ViewController;
struct Drop;

/// Starts the main window's life, keeps its title equal to the destination, and offers the commands that belong to no
/// window. Belongs to the main thread.
class AppDelegate final : public QObject {
    Q_OBJECT

public:
    /// @p viewController controls the main window; it is found through the window from the moment that is shown.
    /// @p website: the program's page on the web; empty for none.
    explicit AppDelegate(ViewController& viewController, QUrl website = {});
    ~AppDelegate() override;

    // Lifecycle.

    /// From here on the delegate hears when the application becomes active.
    void applicationDidFinishLaunching();
    void applicationDidBecomeActive();
    /// Files opened with the application: they join the queue as they are; @p leftOut came with them and are no local
    /// files. False when they are lost: without a main window, and once that is closed and the program ends.
    bool openFiles(const PathList& paths, const QStringList& leftOut = {});

    /// The same of @p drop, whether or not the window is shown. False when it is lost, since the program ends.
    bool upload(const Drop& drop);

    /// The user's session is about to end: until the user does something here again, closing the window asks nothing.
    /// Called when the application hears of it.
    void sessionEnds();

    /// Sets the window's title to the destination and lists it, about two seconds from now.
    void updateWindowTitleAndList();
    void listFTPDestination();
    /// The main window's controller; null while no main window has been shown.
    ViewController* ourViewController();
    /// The application's main window when it was last looked for; null while none is shown.
    QMainWindow* mainWindow() const { return m_mainWindow; }
    void setMainWindow(QMainWindow* window) { m_mainWindow = window; }
    /// The controller that ourViewController() has found; null before.
    ViewController* viewController() const { return m_viewController; }
    void setViewController(ViewController* viewController) { m_viewController = viewController; }

    // Commands.

    /// Has the main window stay unseen until it is first asked for.
    void hide() { m_isHidden = true; }
    bool isHidden() const { return m_isHidden; }
    void showMainWindow();
    /// Ends the program: nothing is taken any more.
    void quit();
    /// Shows the welcome window, in any case when there is a @p sender.
    void showWelcomeWindow(const QObject* sender);
    /// Shows the window that lists the drop icons.
    void showDropIconsWindow();
    /// Null until it is first shown.
    DropIconsWindow* dropIconsWindow() const { return m_dropIconsWindow.get(); }
    /// Copies the destination to the clipboard, or beeps when there is none.
    void copyLocationToClipboard();
    /// Opens the product's web page.
    void goToWebsite();
    /// Beeps and shows @p message with @p added text: as a sheet on @p parentWindow, or without one as a modal dialog
    /// of the given style.
    void doAlert(const QString& message, const QString& added, QWidget* parentWindow, AlertDialog::Style alertStyle);

    // Services that no step of the lifecycle uses.

    void defaultsDidChangeHandler();
    /// Watches the file at @p path for the life of the process; each change leads to updateWindowTitleAndList(). Does
    /// nothing when the file cannot be opened.
    void startDispatchSource(const QString& path);
    /// The file that holds the destination's text when it is saved; null without a Documents folder.
    QString documentsPathForDestination() const;
    /// Saves the destination's text, or "Quillbox" when there is none. A failure is ignored.
    void saveDestinationFolderName() const;
    /// The path of the settings file; null while there is none.
    QString defaultFilePath() const;

signals:
    /// The main window is about to be seen after all.
    void mainWindowAppears();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void findMainWindow();
    void askWhetherToQuit(const QString& warning);

    ViewController& m_candidate; ///< Whose window becomes the main window when it is shown.
    QUrl m_website;
    ViewController* m_viewController = nullptr;
    QMainWindow* m_mainWindow = nullptr;
    DropIcons m_icons{ DropIcons::ourProgramPath(), DropIcons::Folders::standard() };
    std::unique_ptr<DropIconsWindow> m_dropIconsWindow; ///< Null until it is first shown.
    QFileSystemWatcher m_watcher;
    SessionEnd m_sessionEnd;
    bool m_isHidden = false;
    bool m_isAskingToQuit = false;
    bool m_isQuitting = false; ///< The user has said so, or the window is closed.
};

/// The application's delegate, once launching has begun; null before.
extern AppDelegate* theAppDelegate;
