#include "ItemActions.h"

#include "BrowserHost.h"
#include "DefaultApplication.h"
#include "DestinationListing.h"
#include "DestinationServer.h"
#include "DestinationSettings.h"
#include "FTPConnections.h"
#include "FTPGetController.h"
#include "IconSettings.h"
#include "ItemCall.h"
#include "ItemLocation.h"
#include "ListingTable.h"
#include "PathText.h"
#include "RunLoop.h"
#include "SheetQueue.h"
#include "UserDefaults.h"
#include "VisibleText.h"
#include "WebLink.h"

#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// How long an action may wait for the server's answers, all together.
constexpr std::chrono::seconds conversationLimit(60);

} // namespace

ItemActions::ItemActions(QWidget& window, ListingTable& table, DestinationListing& listing, FTPGetController& downloads,
                         FTPConnections& connections, BrowserHost& host, QObject* parent)
    : QObject(parent)
    , m_window(window)
    , m_table(table)
    , m_listing(listing)
    , m_downloads(downloads)
    , m_connections(connections)
    , m_host(host)
    , m_series(downloads, host)
{
}

const ListingEntry* ItemActions::selectedEntry() const
{
    const int row = m_table.selectedRow();
    return row >= 0 && row < m_listing.entries().size() ? &m_listing.entries().at(row) : nullptr;
}

const ListingEntry* ItemActions::pressedEntry()
{
    const ListingEntry* const entry = selectedEntry();
    if (entry == nullptr) {
        return nullptr;
    }
    const QString name = entry->name;
    if (m_listing.setDestination(DestinationSettings::destination())) {
        alertOtherDestination(name);
        return nullptr;
    }
    return entry;
}

bool ItemActions::isStillInForce(const Destination& pressed, const QString& name)
{
    if (DestinationSettings::destination() == pressed) {
        return true;
    }
    alertOtherDestination(name);
    return false;
}

void ItemActions::alertOtherDestination(const QString& name)
{
    m_host.showAlert(u"Destination Changed"_s,
                     u"Nothing was done to “%1”, since the destination has changed."_s.arg(visibleText(name)));
}

QString ItemActions::locationOfSelection() const
{
    QStringList locations;
    for (const int row : m_table.selectedRows()) {
        const ListingEntry& entry = m_listing.entries().at(row);
        locations.append(locationOfItem(m_listing.location(), entry.name, entry.rawName));
    }
    return locations.join(u'\n');
}

QString ItemActions::webLinkOfSelection() const
{
    const UserDefaults::Reading reading(connectionSettings());
    QStringList links;
    for (const int row : m_table.selectedRows()) {
        const ListingEntry& entry = m_listing.entries().at(row);
        links.append(webLink(locationOfItem(m_listing.location(), entry.name, entry.rawName)));
    }
    links.removeAll({});
    return links.join(u'\n');
}

void ItemActions::doubleAction()
{
    if (selectedEntry() != nullptr) {
        downloadSelection();
    }
}

QList<SheetDetail> ItemActions::foldersInQuestion(const QString& title) const
{
    if (!m_listing.isOfOtherFolder()) {
        return {};
    }
    return { { .name = title, .value = m_listing.destination().location },
             { .name = u"Listed is"_s, .value = m_listing.location() } };
}

void ItemActions::downloadSelection()
{
    if (m_host.alertSendingOrReceiving()) {
        return;
    }
    const ListingEntry* const entry = pressedEntry();
    if (entry == nullptr) {
        return;
    }
    if (const QList<int> rows = m_table.selectedRows(); rows.size() > 1) {
        downloadRows(rows);
    } else if (entry->type == ListingEntry::plainFileType) {
        downloadFile(entry->name, QString(), entry->rawName);
    } else {
        alertFolder();
    }
}

void ItemActions::downloadRows(const QList<int>& rows)
{
    QList<DownloadSeries::File> files;
    for (const int row : rows) {
        const ListingEntry& entry = m_listing.entries().at(row);
        if (entry.type == ListingEntry::plainFileType) {
            files.append({ .name = entry.name, .rawName = entry.rawName });
        }
    }
    if (files.isEmpty()) {
        alertFolder();
        return;
    }
    m_host.connectionRequested();
    m_series.begin(files, rows.size() - files.size(),
                   [this, pressed = m_listing.destination()](const DownloadSeries::File& file) {
                       const bool isInForce = isStillInForce(pressed, file.name);
                       if (isInForce) {
                           downloadFile(file.name, QString(), file.rawName);
                       }
                       return isInForce;
                   });
}

void ItemActions::alertFolder()
{
    m_host.showAlert(u"Folder Item"_s, u"Folders are not downloadable."_s);
}

void ItemActions::downloadFile(const QString& name, const QString& folder, const QByteArray& rawName)
{
    m_series.noteEnd();
    if (!m_series.isUnderWay()) { // The user has asked for all of a series at once.
        m_host.connectionRequested();
    }
    m_host.downloadStarts();
    const QString location
        = DestinationSettings::createFullURLFromFTPRootRelativePath(DestinationSettings::ftpFolderFromAppName());
    if (location.isNull()) {
        return;
    }
    if (!PathText::isFileName(name)) {
        refuseFileName(name);
        return;
    }
    const QString file = folder.isNull() ? QString() : localFileOfItem(folder, name);
    m_downloads.startReceive(locationOfItem(location, name, rawName), DestinationSettings::username(),
                             DestinationSettings::password(), file);
    m_host.downloadStarted();
}

void ItemActions::overwriteFile(const QString& name, const QString& folder, const QByteArray& rawName)
{
    m_downloads.setKeepsFileUntilWhole(true);
    downloadFile(name, folder, rawName);
    m_downloads.setKeepsFileUntilWhole(false);
}

void ItemActions::refuseFileName(const QString& name)
{
    // A name that the server sent never leads to another folder.
    m_host.downloadRefused(u"Invalid Desftination File"_s,
                           u"“%1” is no name for a file, and was not downloaded."_s.arg(visibleText(name)));
}

void ItemActions::openDownload(const QString& path)
{
    using Result = DefaultApplication::Result;
    const QString title = u"File Not Opened"_s;
    const Result result = DefaultApplication::open(path);
    if (result == Result::FolderShown) {
        m_host.showAlert(title,
                         u"\"%1\" can run or hold programs, and is shown in its folder instead of opened."_s.arg(
                             visibleText(PathText::lastPathComponent(path))));
    } else if (result == Result::FolderNotShown) {
        m_host.showAlert(title, u"“%1” can run or hold programs, and is not opened."_s.arg(visibleText(path)));
    }
}

void ItemActions::deleteSelection()
{
    if (m_host.alertSendingOrReceiving()) {
        return;
    }
    const ListingEntry* const entry = pressedEntry();
    if (entry == nullptr) {
        return;
    }
    if (m_table.selectedRows().size() > 1) {
        m_host.showAlert(u"Select one item"_s, u"Items are deleted one at a time."_s);
        return;
    }
    const auto deleteLater = [this, pressed = m_listing.destination(), name = entry->name, rawName = entry->rawName] {
        RunLoop::dispatchAfter(answerDelayMs, this, [this, pressed, name, rawName] {
            if (isStillInForce(pressed, name)) {
                deleteFile(name, rawName);
            }
        });
    };
    SheetQueue::of(m_window).raise({ .title = u"Delete Item"_s,
                                     .text = u"Are you sure you want to delete \"%1\"?"_s.arg(visibleText(entry->name)),
                                     .defaultButton = u"Cancel"_s,
                                     .alternateButton = u"Delete"_s,
                                     .onAlternate = deleteLater,
                                     .details = foldersInQuestion(u"Deleted from"_s) });
}

std::shared_ptr<FMServer> ItemActions::server() const
{
    const Destination destination = DestinationSettings::destination();
    m_connections.closeIdleConnections(destination.location); // Some servers allow one login alone.
    auto server = serverOfDestination(destination.location, destination.username, destination.password);
    server->setEncryption(destination.encryption);
    server->setTimeLimit(conversationLimit);
    server->setCareful(true);
    // Addresses of one host may lead to different machines.
    server->setAddress(m_listing.addressOf(destination.location));
    if (const QByteArray trusted = trustedFingerprint(destination.location); !trusted.isEmpty()) {
        server->setTrustedFingerprints({ trusted });
    }
    return server;
}

void ItemActions::deleteFile(const QString& name, const QByteArray& rawName)
{
    const QString shownName = visibleText(name);
    const auto record = server();
    if (record->address().isNull()
        && hasIPv6Address(DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder())) {
        m_host.showAlert(
            u"Cannot Delete"_s,
            u"“%1” was not deleted. Items can be deleted through IPv4 alone, and the server's address in the "
            "preferences is an IPv6 address.\n\nGive the server's name or its IPv4 address instead."_s.arg(shownName));
        return;
    }
    const ItemCall call{
        .panelText = u"Deleting “%1”…"_s.arg(shownName),
        .call
        = [nameOnServer = rawName.isNull() ? name.toUtf8() : rawName, kind = listedKind(name, rawName), record,
           deleteFileNamed = m_operations.deleteFileNamed] { return deleteFileNamed(nameOnServer, kind, *record); },
        .subject = u"“%1”"_s.arg(shownName),
        .participle = u"deleted"_s,
        .title = u"Item Not Deleted"_s,
        .refusedText
        = u"\"%1\" was not deleted. If this is a folder make sure it is empty. Folders can not be deleted if they "
          "contain items.\n\nSwitch to the folder using preferences, and then delete its items."_s.arg(shownName)
    };
    runItemCall(call, m_window, m_host);
}

void ItemActions::createFolderButtonAction()
{
    if (m_host.alertSendingOrReceiving()) {
        return;
    }
    const Destination pressed = m_listing.destination();
    const QString name = m_host.askInput(u"Enter name of folder to create."_s, u""_s);
    if (!name.isNull() && isStillInForce(pressed, name)) {
        createFolder(name);
    }
}

void ItemActions::createFolder(const QString& name)
{
    if (name.isEmpty()) {
        m_host.showAlert(u"Folder Not Created"_s, u"Please retry with a name."_s);
        return;
    }
    const QString shownName = visibleText(name);
    if (m_listing.listingContainsName(name)) {
        m_host.showAlert(u"Folder Exists"_s, u"Folder \"%1\" already exists. Try another name."_s.arg(shownName));
        return;
    }
    const ItemCall call{
        .panelText = u"Creating “%1”…"_s.arg(shownName),
        .call = [name, record = server(),
                 createNewFolder = m_operations.createNewFolder] { return createNewFolder(name, *record); },
        .subject = u"Folder “%1”"_s.arg(shownName),
        .participle = u"created"_s,
        .title = u"Folder Not Created"_s,
        .refusedText
        = u"Folder \"%1\" was not created due to an error.\n\nPlease check your preference settings for correct "
          "FTP server passsword, username and folder location."_s.arg(shownName)
    };
    runItemCall(call, m_window, m_host);
}

/// What the item @p name is according to a complete listing of the destination.
ListedKind ItemActions::listedKind(const QString& name, const QByteArray& rawName) const
{
    const int row = m_listing.entries().rowOf(name);
    const bool isKnown = m_listing.state() == DestinationListing::State::Complete && !m_listing.isOfOtherFolder();
    if (!isKnown || row < 0 || m_listing.entries().at(row).rawName != rawName) {
        return ListedKind::Unknown;
    }
    switch (m_listing.entries().at(row).type.value_or(0)) {
    case ListingEntry::folderType:
        return ListedKind::Folder;
    case ListingEntry::plainFileType:
    case ListingEntry::linkType:
        return ListedKind::File;
    default:
        return ListedKind::Unknown;
    }
}
