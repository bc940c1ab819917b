#pragma once

#include "Destination.h"
#include "DownloadSeries.h"
#include "ItemOperations.h"
#include "ListingEntry.h"

#include <QObject>

#include <memory>

class BrowserHost;
class DestinationListing;
class FTPConnections;
class FTPGetController;
class ListingTable;
class QWidget;
struct SheetDetail;

/// What the user does with the items of the destination folder: download, delete, and new folders. Belongs to the main
/// thread.
class ItemActions final : public QObject {
    Q_OBJECT

public:
    /// Between a drop or an answer and its consequence.
    static constexpr int answerDelayMs = 1000;

    /// All outlive the actions. @p window has the sheets.
    ItemActions(QWidget& window, ListingTable& table, DestinationListing& listing, FTPGetController& downloads,
                FTPConnections& connections, BrowserHost& host, QObject* parent = nullptr);

    /// Others than those of the library, for tests.
    void setOperations(ItemOperations operations) { m_operations = std::move(operations); }

    /// The selected item, the first of several; null without a selection.
    const ListingEntry* selectedEntry() const;

    /// The locations of all selected items, a line each; empty without a selection.
    QString locationOfSelection() const;
    /// The web addresses of all selected items that have one, a line each; empty without any.
    QString webLinkOfSelection() const;

    /// With several rows: their plain files, one after another.
    void downloadSelection();
    /// Whether files of several rows are being downloaded.
    bool isDownloadingSeveral() const { return m_series.isUnderWay(); }
    /// Whether the next one of them has to be started, by startNextDownload(), as soon as nothing is sent or received.
    bool isDownloadDue() const { return m_series.isDue(); }
    void startNextDownload() { m_series.goOn(); }
    /// None follows the one under way.
    void stopDownloads() { m_series.stop(); }
    /// A double click on the table: as downloadSelection(), and nothing without a selection.
    void doubleAction();
    /// Whether @p pressed, the destination when the user began something, is still in force; if not, an alert says
    /// that nothing was done to the item @p name.
    bool isStillInForce(const Destination& pressed, const QString& name);
    /// What a question about an item says besides, when its row is of another folder than the destination, where the
    /// item is then meant: both folders, that of the destination called @p title.
    QList<SheetDetail> foldersInQuestion(const QString& title) const;
    /// Downloads the item @p name of the destination into @p folder; null: where downloads go by default. @p rawName:
    /// what the server knows it by, where that is no UTF-8.
    void downloadFile(const QString& name, const QString& folder, const QByteArray& rawName = {});
    /// The same over a file of that name, which is kept until the download is whole.
    void overwriteFile(const QString& name, const QString& folder, const QByteArray& rawName = {});
    /// Says that no file can be called @p name.
    void refuseFileName(const QString& name);
    void deleteSelection();
    /// Waits for the server's answer, or until the user no longer wants to.
    void deleteFile(const QString& name, const QByteArray& rawName = {});
    void createFolderButtonAction();
    /// Waits for the server's answer, or until the user no longer wants to.
    void createFolder(const QString& name);
    /// Opens the file at @p path with the program that the user has chosen for its kind; one that can run or hold
    /// programs is shown in its folder instead.
    void openDownload(const QString& path);

private:
    /// As selectedEntry(). Null when its row is of a destination that is no longer in force; an alert says so.
    const ListingEntry* pressedEntry();
    void alertFolder();
    void downloadRows(const QList<int>& rows);
    void alertOtherDestination(const QString& name);
    std::shared_ptr<FMServer> server() const;
    ListedKind listedKind(const QString& name, const QByteArray& rawName) const;

    QWidget& m_window;
    ListingTable& m_table;
    DestinationListing& m_listing;
    FTPGetController& m_downloads;
    FTPConnections& m_connections;
    BrowserHost& m_host;
    DownloadSeries m_series;
    ItemOperations m_operations = libraryItemOperations();
};
