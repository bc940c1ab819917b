#pragma once

#include "AutomaticTries.h"
#include "BrowserHost.h"
#include "DestinationListing.h"
#include "FTPCreateController.h"
#include "FTPGetController.h"
#include "FTPListController.h"
#include "FTPPutController.h"
#include "ItemActions.h"
#include "ItemDragging.h"
#include "MainWindow.h"
#include "Pump.h"
#include "RefreshPace.h"
#include "SecondaryWindows.h"
#include "UploadHistory.h"
#include "UploadIntake.h"
#include "UploadLedger.h"
#include "UploadQueue.h"
#include "UploadRun.h"
#include "WeakRef.h"
#include "WindowIndicators.h"

#include <QObject>
#include <QStringList>

class FTPConnections;

/// The controller of the main window and the hub of the program: it has the stream controllers, passes their reports
/// and the user's wishes on to the classes that each own one matter, and works the queue off by a timer.
///
/// Everything happens on the main thread. Status texts, percents and byte counts reach their widgets with the next
/// tick; everything else happens in the call.
class ViewController final : public QObject,
                             public FTPPutControllerDelegate,
                             public FTPGetControllerDelegate,
                             public FTPListControllerDelegate,
                             public FTPCreateControllerDelegate,
                             public BrowserHost {
    Q_OBJECT

public:
    /// @p streams makes the network streams, on @p connections; both outlive the controller. The window is not shown
    /// yet.
    ViewController(FTPStreamFactory& streams, FTPConnections& connections);
    ~ViewController() override;

    // Both are called once, when the controller is made.

    /// Has a double click on a row of the table download it.
    void awakeFromNib();
    /// Connects the controls with what they do, and starts the timer.
    void viewDidLoad();

    // The queue.

    /// Appends @p paths to the queue and lists it in the drop area, or says that there is no destination. Where folders
    /// are uploaded, they and what is in folders among them follow as they are found. The items
    /// @p leftOut came with them and are no plain files: the history has them, and when they came alone nothing else.
    void uploadFiles(const PathList& paths, const QStringList& leftOut = {}) override;
    /// The same of @p drop, which a RequestWatch may follow. For unattended files no alert is raised.
    void upload(const Drop& drop);
    /// Has @p paths (TreePath) tried once more: each goes to @p destination, which is in force, or is dropped and said
    /// to be when another one is in force at its turn.
    void uploadAgain(const PathList& paths, const Destination& destination);
    /// Nor is any file tried again by itself, and folders that are looked through are left.
    void clearQueue();
    /// The names among the waiting files that the destination has according to the list, each once, in the queue's
    /// order.
    QStringList filesToReplace() const
    {
        return m_listing.isOfOtherFolder() ? QStringList() : listEntries().namesOf(m_queue.paths());
    }
    const PathList& fileUploadQueue() const { return m_queue.paths(); }
    /// What has become of each file of this run.
    UploadHistory& history() { return m_history; }
    /// The same with that of earlier runs. Closed at first: whoever starts the program opens it.
    UploadLedger& ledger() { return m_ledger; }

    /// Refreshes the window's indicators and starts the next upload. The pump comes by itself, every 10 ms while there
    /// is something to do.
    void onTick() { m_pump.tick(); }

    // Transfers.

    /// Stops the running upload and the running download. The queue goes on.
    void stopButtonAction();
    /// Stops the running download, if there is one.
    void stopDownload();
    /// Empties the list and lists the destination again, unless something is being sent or received.
    void listFTPDestination() override;
    /// The same, asked for by the user. A listing that is stuck is given up before.
    void refresh();
    const ListEntries& listEntries() const { return m_listing.entries(); }

    // Reports of the stream controllers.

    void percentDone(float percent) override { m_indicators.setPercent(percent); }
    void bytesDone(float bytes) override;
    void updateStatus(const QString& status) override;
    void fileStaysBeside(const QString& path) override;
    void statusIsAbout(const ServerAnswers& answers) override { m_indicators.setStatusAnswers(answers); }
    void uploadDone() override;
    void updateListingStatus(const QString& status) override;
    void addListEntries(const QList<ListingEntry>& entries) override;

    // What the item actions report.

    void connectionRequested() override { emit userRequestedConnection(); }
    void downloadStarts() override { m_indicators.resetProgress(); }
    void downloadStarted() override { m_indicators.transferStarted(m_gc, m_gc.isReceiving()); }
    void downloadRefused(const QString& status, const QString& note) override;
    void itemDone(const QString& text) override { m_indicators.setLastAction(text); }

    // The windows. All belong to the controller.

    MainWindow& window() { return m_window; }
    SecondaryWindows& windows() { return m_windows; }
    /// The user has set where files go.
    void destinationSet();
    /// Unless the user has turned it off, or in any case when it is forced.
    void showWelcomeWindow(bool force) { m_windows.showWelcomeWindow(force); }

    // Small window operations.

    /// A sheet with the one button "OK"; while the window is not shown alertUnseen() instead.
    void showAlert(const QString& title, const QString& text) override;
    /// Whether something is being sent or received; if so, an alert says so.
    bool alertSendingOrReceiving() override;
    /// Asks for one line of text, application-modal; null unless "OK" ends it.
    QString askInput(const QString& prompt, const QString& defaultText) override;
    /// What is lost when the program ends at this moment; null when nothing is.
    QString quitWarning() const;
    /// The application has become active. Nothing depends on it.
    void appActivated() { }

    // The parts, of which each has its own matter.

    FTPPutController& pc() { return m_pc; }
    FTPGetController& gc() { return m_gc; }
    FTPListController& lc() { return m_lc; }
    FTPCreateController& cc() { return m_cc; }
    DestinationListing& listing() { return m_listing; }
    ItemActions& items() { return m_items; }
    ItemDragging& dragging() { return m_dragging; }
    UploadQueue& queue() { return m_queue; }
    UploadIntake& intake() { return m_intake; }
    AutomaticTries& tries() { return m_tries; }
    WindowIndicators& indicators() { return m_indicators; }
    Pump& pump() { return m_pump; }

signals:
    // Commands that belong to the application.
    void copyLocationToClipboard();
    void goToWebsite();
    void updateWindowTitleAndList();
    void welcomeWindowRequested();
    void dropIconsWindowRequested();

    /// The user has asked for something that connects to the server, so that the user may be asked again about a
    /// refused certificate. Not emitted for what the program begins by itself, such as the next file of the queue.
    void userRequestedConnection();

    /// An alert was to be shown, and the window is not.
    void alertUnseen(const QString& title, const QString& text);

    /// The transfers under way or the queue have changed; emitted by the tick that notices it.
    void activityChanged(const TransferActivity& activity);

private:
    void connectParts();
    bool isLineFree() const;
    void queueChanged();
    void showQueueLength();
    void showQueuedFiles();
    void listAfterUploads();
    void refreshBesideUploads();
    void list(const Destination& destination, bool standsBack);
    void alertIfError(const QString& status);

    MainWindow m_window;
    FTPPutController m_pc;
    FTPGetController m_gc;
    FTPListController m_lc;
    FTPCreateController m_cc;
    FTPConnections& m_connections;
    UploadHistory m_history;
    UploadLedger m_ledger{ m_history };
    UploadQueue m_queue;
    AutomaticTries m_tries{ m_history, m_queue };
    UploadIntake m_intake;
    UploadRun m_run;
    DestinationListing m_listing;
    RefreshPace m_pace;
    ItemActions m_items;
    ItemDragging m_dragging;
    SecondaryWindows m_windows;
    WindowIndicators m_indicators;
    Pump m_pump;
    bool m_isUnattended = false; ///< The queue began with unattended files, and nobody has asked for anything since.
    WeakAnchor m_anchor; ///< Last, so that it dies first.
};
