#pragma once

#include "FTPConnections.h"
#include "FTPCreateController.h"
#include "FTPEncryption.h"
#include "FTPGetController.h"
#include "FTPListController.h"
#include "FTPPutController.h"
#include "ItemOperations.h"
#include "ListingModel.h"
#include "TableDragging.h"
#include "TransferActivity.h"
#include "TransferRate.h"
#include "UploadHistory.h"
#include "WeakRef.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QList>
#include <QMainWindow>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QVariant>

#include <functional>
#include <memory>
#include <optional>

class HistoryWindow;
class PreferencesController;
class QDialog;

namespace Ui {
class MainWindow;
class ManualTransfers;
class Welcome;
} // namespace Ui

/// The controller of the main window and the hub of the program: settings and destination, the upload queue with the
/// timer that works it off, the stream controllers and what the window shows of them.
///
/// Everything happens on the main thread. Status texts, percents and byte counts reach their widgets with the next
/// tick; everything else happens in the call.
class ViewController final : public QObject,
                             public FTPPutControllerDelegate,
                             public FTPGetControllerDelegate,
                             public FTPListControllerDelegate,
                             public FTPCreateControllerDelegate,
                             public TableDragging {
    Q_OBJECT

public:
    /// @p streams makes the network streams, on @p connections; both outlive the controller. Loads the view; the window
    /// is not shown yet.
    ViewController(FTPStreamFactory& streams, FTPConnections& connections);
    ~ViewController() override;

    // Settings and destination. Read afresh on every call; null stands for nothing.

    static QString username();
    static QString password();
    static QString address();
    static QString ftpFolder();
    /// The setting "Encryption"; see encryptionSetting().
    static FTPEncryption encryption();
    /// The program's file name as the user sees it.
    static QString ourAppName();
    /// The sub-folder that a drop icon uploads into; null under the product's own name.
    static QString ftpFolderFromAppName();
    /// The location of @p path, which may be null, in the configured folder.
    static QString createFullURLFromFTPRootRelativePath(const QString& path);
    /// The same with "/" at its end.
    static QString createFullPathFromFTPRootRelativePath(const QString& path);
    /// The destination folder's location, "/" at its end; null when no usable address is set.
    static QString createFullDestinationPathFromAppNameAndFTPFolder();

    // What the fields of the manual transfers stand for.

    QString destination() const;
    QString urlToDownload() const;
    QString fileToUpload() const;
    QString folderNameToCreate() const;

    // The queue.

    /// Appends @p paths to the queue and lists it in the drop area, or says that there is no destination.
    void uploadFiles(const QStringList& paths);
    void clearQueue();
    /// The names among the waiting files that the destination has according to the list, each once, in the queue's
    /// order.
    QStringList filesToReplace() const;
    const QStringList& fileUploadQueue() const { return m_fileUploadQueue; }
    /// What has become of each file of this run.
    UploadHistory& history() { return m_history; }

    /// Refreshes the window's indicators and starts the next upload; called every 10 ms.
    void onTick();

    // Transfers.

    /// Stops the running upload and the running download. The queue goes on.
    void stopButtonAction();
    /// Empties the list and lists the destination again, unless something is being sent or received.
    void listFTPDestination();
    const ListEntries& listEntries() const { return m_listing.entries(); }

    void startStopUpload();
    void startStopDownload();
    /// @p sender: the button that was pressed; startStopListButton lists what the manual field names, any other the
    /// destination.
    void startStopList(const QObject* sender);
    /// @p sender: the button that was pressed; createButton asks for a name and creates in the destination, any other
    /// takes both from the manual fields.
    void startStopCreate(const QObject* sender);

    // Reports of the stream controllers.

    void percentDone(float percent) override;
    void bytesDone(float bytes) override;
    void updateStatus(const QString& status) override;
    void uploadDone() override;
    void updateListingStatus(const QString& status) override;
    void addListEntries(const QList<ListingEntry>& entries) override;

    // The table of the destination folder.

    void sortListEntriesByNameAscending();
    /// Sorts by the first of @p descriptors, by name without one.
    void sortListEntriesWithDescriptors(const QList<SortDescriptor>& descriptors);
    /// The user has chosen another order.
    void sortDescriptorsDidChange();
    qsizetype numberOfRowsInTableView() const;
    /// What the column titled @p column shows in @p row; invalid where there is nothing to show.
    QVariant objectValueForTableColumn(const QString& column, qsizetype row) const;
    /// In device-independent pixels.
    double heightOfRow(qsizetype row) const;
    bool shouldSelectRow(qsizetype row) const;
    /// @p table: whose selection has changed; only that of the destination folder counts.
    void tableViewSelectionDidChange(const QObject* table);
    /// Whether an item now listed has exactly this name.
    bool listingContainsName(const QString& name) const;

    // Dragging onto and out of that table.

    /// What the promise of a dragged row holds, as a JSON list of one text: the number of the row.
    static inline const QString promiseFormat = QStringLiteral("application/x-quillbox-promised-files");

    /// The files of the last drop onto the table that was accepted.
    const QStringList& droppedFiles() const { return m_droppedFiles; }
    /// The plain files that @p pasteboard names, in its order.
    QStringList pasteboardHasFiles(const QMimeData& pasteboard) const;
    Qt::DropAction validateDrop(const QMimeData& pasteboard, TableDrop& drop) const override;
    bool acceptDrop(const QMimeData& pasteboard, const TableDrop& drop) override;
    bool writeRowsWithIndexes(const QList<int>& rows, QMimeData& pasteboard) override;
    QStringList namesOfPromisedFilesDroppedAtDestination(const QString& destination, const QList<int>& rows) override;
    void makePromisedFile(const ListingEntry& entry, const QString& destination) override;

    // Actions on the selected item.

    void downloadSelection();
    void doubleAction();
    /// Downloads the item @p name of the destination into @p folder; null: where downloads go by default. @p rawName:
    /// what the server knows it by, where that is no UTF-8.
    void downloadFileTo(const QString& name, const QString& folder, const QByteArray& rawName = {});
    void deleteSelection();
    /// Waits for the server's answer, or until the user no longer wants to.
    void deleteFile(const QString& name, const QByteArray& rawName = {});
    void createFolderButtonAction();
    /// Waits for the server's answer, or until the user no longer wants to.
    void createFolder(const QString& name);

    // Commands of the menus.

    /// Lets the user choose files to upload.
    void openFiles();
    /// Uploads the files on the clipboard.
    void pasteFiles();
    /// Copies the location of the selected item.
    void copyItemLocation();
    void showAbout();

    // The windows.

    /// Notes the sizes and columns of the main window and the history's for the next run.
    void rememberWindow();

    void showPreferences();
    /// Shows the history of this run. It holds nothing.
    void showHistory();
    /// Shows the welcome window: unless the user has turned it off, or in any case when it is forced.
    void showWelcomeWindow(bool force);

    // Small window operations.

    /// A sheet with the one button "OK"; nothing while the window is not shown.
    void showAlert(const QString& title, const QString& text);
    /// Whether something is being sent or received; if so, the user has been told.
    bool alertSendingOrReceiving();
    /// Asks for one line of text, application-modal; null unless "OK" ends it.
    QString askInput(const QString& prompt, const QString& defaultText);
    /// @p bytes as a file size.
    static QString stringForFileSize(quint64 bytes);
    /// @p value with its unit.
    static QString stringForNumberAsUnits(double value, const QString& unit);
    /// What is lost when the program ends at this moment; null when nothing is.
    QString quitWarning() const;
    /// The application has become active. Nothing depends on it.
    void appActivated() { }

    // The windows, for those who show them. Owned by the controller.

    QMainWindow& window() { return m_window; }
    QWidget& auxiliaryWindow() { return m_auxiliaryWindow; }
    QDialog& welcomeWindow() { return *m_welcomeWindow; }
    PreferencesController& preferences() { return *m_preferences; }
    /// Null until it is first shown.
    HistoryWindow* historyWindow() { return m_historyWindow.get(); }

    /// Others than those of the library, for tests.
    void setItemOperations(ItemOperations operations) { m_itemOperations = std::move(operations); }

    FTPPutController& pc() { return *m_pc; }
    FTPGetController& gc() { return *m_gc; }
    FTPListController& lc() { return *m_lc; }
    FTPCreateController& cc() { return *m_cc; }

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
    void loadView();
    void loadOtherWindows();
    void rememberWelcomeChoice(bool isTurnedOff);
    void viewDidLoad();
    void connectControls();
    void connectActions();
    void connectSortActions();
    void showAuxiliaryWindow();

    /// Everything that a tick shows or decides by.
    struct Snapshot {
        bool isSending = false;
        bool isReceiving = false;
        bool isListing = false;
        bool isListed = false;
        bool isListingWanted = false;
        bool hasDestination = false;
        bool isItemSelected = false;
        qsizetype waiting = 0;
        float percent = 0;
        float auxiliaryPercent = 0;
        std::optional<quint64> bytes;
        QString status;
        QString listingStatus;
        QString reply;
        QString listingReply;
        std::optional<FTPSecurity> security;

        bool operator==(const Snapshot&) const = default;
    };
    Snapshot snapshot() const;

    /// Whether a new second has begun.
    bool showDate();
    void showQueueLength();
    /// False when the numbers have to wait.
    bool showProgress();
    void showSpeed();
    void showTexts();
    void showListingState();
    void showLastReplies();
    void showSecurity();
    void showWhatCanBeDone();
    void startNextUpload(bool isNewSecond);
    void reportActivity();
    void startUpload(const QString& path, const QString& destination);
    void stopUpload();
    /// @p answers, to what has just been started; null when it was over before it had sent anything.
    const ServerAnswers* started(const ServerAnswers& answers, bool isRunning);
    void startListing(const QString& location);
    void noteUploadStatus(const QString& status);
    void noteEnd(const QString& status);
    void noteConfirmation();
    void listAgainIfWanted();
    void resetProgress();
    void emptyList();
    std::shared_ptr<FMServer> serverForOperation();
    void refresh();
    /// Runs @p operation while its panel says @p what; std::nullopt when the user has stopped waiting.
    std::optional<ItemOutcome> waitForOperation(const QString& what, std::function<ItemOutcome()> operation);
    /// Between a drop or an answer and its consequence.
    static constexpr int answerDelayMs = 1000;

    void refuseFileName(const QString& name);
    void openDownload(const QString& path);
    /// Null without a selection.
    const ListingEntry* selectedEntry() const;
    void alertIfError(const QString& status);

    FTPStreamFactory& m_streams;
    FTPConnections& m_connections;
    QMainWindow m_window;
    QWidget m_auxiliaryWindow; ///< The manual transfers.
    QDialog* m_welcomeWindow; ///< A window of the main window's.
    std::unique_ptr<Ui::MainWindow> m_ui;
    std::unique_ptr<Ui::ManualTransfers> m_manual;
    std::unique_ptr<Ui::Welcome> m_welcome;
    std::unique_ptr<PreferencesController> m_preferences;
    QTimer m_timer;

    std::unique_ptr<FTPPutController> m_pc;
    std::unique_ptr<FTPGetController> m_gc;
    std::unique_ptr<FTPListController> m_lc;
    std::unique_ptr<FTPCreateController> m_cc;

    QStringList m_fileUploadQueue;
    QStringList m_droppedFiles;
    UploadHistory m_history;
    bool m_isStartingUpload = false; ///< The upload controller has been asked to start and has not answered yet.
    bool m_hasStartedUpload = false; ///< It has, and its stream was opened.
    QString m_startStatus; ///< What it said last while it started.
    TransferActivity m_reportedActivity;
    std::unique_ptr<HistoryWindow> m_historyWindow;
    ListingModel m_listing;
    QString m_listedLocation; ///< Of the folder whose items the list holds.
    /// The latest listing that has brought something: of which folder, from which machine.
    struct {
        QString location;
        QHostAddress address;
    } m_listingSource;
    bool m_isListed = false; ///< The list holds all that the server told.
    bool m_wasListing = false; ///< At the last tick.
    bool m_hasDestination = false; ///< As it was when it was last looked at.
    bool m_listingWanted = false; ///< A refresh is due that could not be had when it was asked for.

    // What the next tick shows.
    float m_percent = 0;
    float m_auxiliaryPercent = 0;
    std::optional<quint64> m_bytes; ///< std::nullopt: no text.
    std::optional<quint64> m_shownBytes;
    QElapsedTimer m_sinceProgressShown; ///< Percent and bytes.
    std::optional<Snapshot> m_shownSnapshot; ///< std::nullopt: something has not been shown yet.
    TransferRate m_rate;
    const ServerAnswers* m_answers = nullptr; ///< To what m_status is about; null: nothing was sent.
    const ServerAnswers* m_listingAnswers = nullptr; ///< Likewise of m_listingStatus.
    const ServerAnswers* m_latestAnswers = nullptr; ///< To what was started last of all.
    QString m_shownReply;
    QString m_shownListingReply;
    std::optional<FTPSecurity> m_shownSecurity;
    QString m_status;
    QString m_shownStatus;
    QString m_listingStatus;
    qint64 m_shownSecond = -1; ///< Of the date that is shown, since the epoch.

    ItemOperations m_itemOperations = libraryItemOperations();
    QString m_lastOpenedFolder;

    WeakAnchor m_anchor; ///< Last, so that it dies first.
};
