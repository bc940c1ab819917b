#pragma once

#include "BrowserHost.h"
#include "DestinationListing.h"
#include "DestinationSettings.h"
#include "FTPCreateController.h"
#include "FTPGetController.h"
#include "FTPListController.h"
#include "FTPPutController.h"
#include "ItemActions.h"
#include "ItemDragging.h"
#include "MainWindow.h"
#include "Pump.h"
#include "QueueAgain.h"
#include "SecondaryWindows.h"
#include "UploadHistory.h"
#include "UploadQueue.h"
#include "UploadRun.h"
#include "WeakRef.h"
#include "WindowIndicators.h"

#include <QObject>
#include <QStringList>
#include <QVariant>

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
                             public TableDragging,
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

    // Settings and destination: see DestinationSettings.

    static QString username() { return DestinationSettings::username(); }
    static QString password() { return DestinationSettings::password(); }
    static QString address() { return DestinationSettings::address(); }
    static QString ftpFolder() { return DestinationSettings::ftpFolder(); }
    static FTPEncryption encryption() { return DestinationSettings::encryption(); }
    static QString ourAppName() { return DestinationSettings::ourAppName(); }
    static QString ftpFolderFromAppName() { return DestinationSettings::ftpFolderFromAppName(); }
    static QString createFullURLFromFTPRootRelativePath(const QString& path)
    {
        return DestinationSettings::fullURL(path);
    }
    static QString createFullPathFromFTPRootRelativePath(const QString& path)
    {
        return DestinationSettings::fullPath(path);
    }
    static QString createFullDestinationPathFromAppNameAndFTPFolder() { return DestinationSettings::location(); }

    // What the fields of the manual transfers stand for.

    QString destination() { return m_windows.manualTransfers().destination(); }
    QString urlToDownload() { return m_windows.manualTransfers().urlToDownload(); }
    QString fileToUpload() { return m_windows.manualTransfers().fileToUpload(); }
    QString folderNameToCreate() { return m_windows.manualTransfers().folderNameToCreate(); }

    // The queue.

    /// Appends @p paths to the queue and lists it in the drop area, or says that there is no destination. The items
    /// @p leftOut came with them and are no plain files: the history has them, and when they came alone nothing else.
    void uploadFiles(const QStringList& paths, const QStringList& leftOut = {}) override;
    /// Puts the files of those @p rows of the history that can work into the queue once more; asks before when they
    /// were for another destination than the one in force.
    void queueAgain(const QList<int>& rows) { ::queueAgain(*this, rows); }
    void clearQueue() { m_queue.clear(); }
    /// The names among the waiting files that the destination has according to the list, each once, in the queue's
    /// order.
    QStringList filesToReplace() const
    {
        return m_listing.isOfOtherFolder() ? QStringList() : listEntries().namesOf(m_queue.paths());
    }
    const QStringList& fileUploadQueue() const { return m_queue.paths(); }
    /// What has become of each file of this run.
    UploadHistory& history() { return m_history; }

    /// Refreshes the window's indicators and starts the next upload; called every 10 ms.
    void onTick() { m_pump.tick(); }

    // Transfers.

    /// Stops the running upload and the running download. The queue goes on.
    void stopButtonAction();
    /// Empties the list and lists the destination again, unless something is being sent or received.
    void listFTPDestination() override;
    /// The same, asked for by the user. A listing that is stuck is given up before.
    void refresh();
    /// Gives the running listing up.
    void stopListing();
    const ListEntries& listEntries() const { return m_listing.entries(); }

    void startStopUpload() { m_windows.manualTransfers().startStopUpload(); }
    void startStopDownload() { m_windows.manualTransfers().startStopDownload(); }
    /// @p sender: the button that was pressed; startStopListButton lists what the manual field names, any other the
    /// destination.
    void startStopList(const QObject* sender) { m_windows.manualTransfers().startStopList(sender); }
    /// @p sender: the button that was pressed; createButton asks for a name and creates in the destination, any other
    /// takes both from the manual fields.
    void startStopCreate(const QObject* sender) { m_windows.manualTransfers().startStopCreate(sender); }

    // Reports of the stream controllers.

    void percentDone(float percent) override { m_indicators.setPercent(percent); }
    void bytesDone(float bytes) override;
    void updateStatus(const QString& status) override;
    void uploadDone() override;
    void updateListingStatus(const QString& status) override;
    void addListEntries(const QList<ListingEntry>& entries) override;

    // The table of the destination folder.

    void sortListEntriesByNameAscending() { m_listing.model().sortBy({}); }
    /// Sorts by the first of @p descriptors, by name without one.
    void sortListEntriesWithDescriptors(const QList<SortDescriptor>& descriptors)
    {
        m_listing.model().sortBy(descriptors);
    }
    /// The user has chosen another order.
    void sortDescriptorsDidChange();
    qsizetype numberOfRowsInTableView() const { return listEntries().size(); }
    /// What the column titled @p column shows in @p row; invalid where there is nothing to show.
    QVariant objectValueForTableColumn(const QString& column, qsizetype row) const;
    /// In device-independent pixels.
    double heightOfRow(qsizetype /*row*/) const { return ListingModel::rowHeight; }
    bool shouldSelectRow(qsizetype /*row*/) const { return true; }
    /// @p table: whose selection has changed; only that of the destination folder counts.
    void tableViewSelectionDidChange(const QObject* table);
    /// Whether an item now listed has exactly this name.
    bool listingContainsName(const QString& name) const { return listEntries().contains(name); }

    // Dragging onto and out of that table: see ItemDragging.

    const QStringList& droppedFiles() const { return m_dragging.droppedFiles(); }
    void setDroppedFiles(const QStringList& paths) { m_dragging.setDroppedFiles(paths); }
    QStringList pasteboardHasFiles(const QMimeData& pasteboard) const
    {
        return ItemDragging::pasteboardHasFiles(pasteboard);
    }
    Qt::DropAction validateDrop(const QMimeData& pasteboard, TableDrop& drop) const override
    {
        return m_dragging.validateDrop(pasteboard, drop);
    }
    bool acceptDrop(const QMimeData& pasteboard, const TableDrop& drop) override
    {
        return m_dragging.acceptDrop(pasteboard, drop);
    }
    bool writeRowsWithIndexes(const QList<int>& rows, QMimeData& pasteboard) override
    {
        return m_dragging.writeRowsWithIndexes(rows, pasteboard);
    }
    QStringList namesOfPromisedFilesDroppedAtDestination(const QString& folder, const QList<int>& rows) override
    {
        return m_dragging.namesOfPromisedFilesDroppedAtDestination(folder, rows);
    }
    std::function<void(const QString& folder)> promiseOf(const ListingEntry& entry) override
    {
        return m_dragging.promiseOf(entry);
    }
    void refuseFileName(const QString& name) override { m_dragging.refuseFileName(name); }

    // Actions on the selected item: see ItemActions.

    void downloadSelection() { m_items.downloadSelection(); }
    void doubleAction();
    void downloadFile(const QString& name, const QString& folder, const QByteArray& rawName = {})
    {
        m_items.downloadFile(name, folder, rawName);
    }
    void deleteSelection() { m_items.deleteSelection(); }
    void deleteFile(const QString& name, const QByteArray& rawName = {}) { m_items.deleteFile(name, rawName); }
    void createFolderButtonAction() { m_items.createFolderButtonAction(); }
    void createFolder(const QString& name) { m_items.createFolder(name); }
    /// Others than those of the library, for tests.
    void setItemOperations(ItemOperations operations) { m_items.setOperations(std::move(operations)); }
    /// The location of the selected item; null without one.
    QString locationOfSelection() const;
    void connectionRequested() override { emit userRequestedConnection(); }
    void downloadStarts() override { m_indicators.resetProgress(); }
    void downloadStarted() override { m_indicators.transferStarted(m_gc, m_gc.isReceiving()); }
    void downloadRefused(const QString& status, const QString& note) override;
    void itemDone(const QString& text) override { m_indicators.setLastAction(text); }

    // The windows. All belong to the controller.

    QMainWindow& window() { return m_window; }
    QWidget& auxiliaryWindow() { return m_windows.manualTransfers(); }
    QDialog& welcomeWindow() { return m_windows.welcomeWindow(); }
    PreferencesController& preferences() { return m_windows.preferences(); }
    /// Null until it is first shown.
    HistoryWindow* historyWindow() { return m_windows.historyWindow(); }
    void showPreferences() { m_windows.showPreferences(); }
    void showHistory() { m_windows.showHistory({}); }
    void showManualTransfers() { m_windows.showManualTransfers(); }
    /// The user has set where files go.
    void destinationSet();
    /// Unless the user has turned it off, or in any case when it is forced.
    void showWelcomeWindow(bool force) { m_windows.showWelcome(force); }
    /// Shows the command that goes to the program's page on the web, if it has one.
    void setHasWebsite(bool hasWebsite);
    /// Notes the sizes and columns of the main window and the history's for the next run.
    void rememberWindow();

    // Small window operations.

    /// A sheet with the one button "OK"; nothing while the window is not shown.
    void showAlert(const QString& title, const QString& text) override;
    /// Whether something is being sent or received; if so, the user has been told.
    bool alertSendingOrReceiving() override;
    /// Asks for one line of text, application-modal; null unless "OK" ends it.
    QString askInput(const QString& prompt, const QString& defaultText) override;
    /// @p bytes as a file size.
    static QString stringForFileSize(quint64 bytes);
    /// @p value with its unit.
    static QString stringForNumber(double value, const QString& unit);
    /// What is lost when the program ends at this moment; null when nothing is.
    QString quitWarning() const;
    /// The application has become active. Nothing depends on it.
    void appActivated() { }

    FTPPutController& pc() { return m_pc; }
    FTPGetController& gc() { return m_gc; }
    FTPListController& lc() { return m_lc; }
    FTPCreateController& cc() { return m_cc; }

signals:
    // Commands that belong to the application.
    void copyLocationToClipboard();
    void goToWebsite();
    void updateWindowTitleAndList();
    void welcomeWindowRequested();
    void copiesWindowRequested();

    /// The user has asked for something that connects to the server, so that the user may be asked again about a
    /// refused certificate. Not emitted for what the program begins by itself, such as the next file of the queue.
    void userRequestedConnection();

    /// The transfers under way or the queue have changed; emitted by the tick that notices it.
    void activityChanged(const TransferActivity& activity);

private:
    void connectParts();
    void alertIfError(const QString& status);

    MainWindow m_window;
    FTPPutController m_pc;
    FTPGetController m_gc;
    FTPListController m_lc;
    FTPCreateController m_cc;
    UploadHistory m_history;
    UploadQueue m_queue;
    UploadRun m_run;
    DestinationListing m_listing;
    ItemActions m_items;
    ItemDragging m_dragging;
    SecondaryWindows m_windows;
    WindowIndicators m_indicators;
    Pump m_pump;
    WeakAnchor m_anchor; ///< Last, so that it dies first.
};
