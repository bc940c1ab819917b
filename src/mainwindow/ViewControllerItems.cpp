// Actions on the selected item of the destination folder, and new folders in it.

#include "DestinationServer.h"
#include "FTPLocation.h"
#include "PathText.h"
#include "RunLoop.h"
#include "SheetQueue.h"
#include "TrustedCertificates.h"
#include "URLText.h"
#include "ViewController.h"
#include "VisibleText.h"
#include "ui_MainWindow.h"

using namespace Qt::StringLiterals;

namespace {

/// Between an answer and what it leads to.
constexpr int answerDelayMs = 1000;

} // namespace

const ListingEntry* ViewController::selectedEntry() const
{
    const int row = m_ui->destinationListingTable->selectedRow();
    return row >= 0 && row < listEntries().size() ? &listEntries().at(row) : nullptr;
}

void ViewController::doubleAction()
{
    if (selectedEntry() != nullptr) {
        downloadSelection();
    }
}

void ViewController::downloadSelection()
{
    if (alertSendingOrReceiving()) {
        return;
    }
    const ListingEntry* const entry = selectedEntry();
    if (entry == nullptr) {
        return;
    }
    if (entry->type == ListingEntry::plainFileType) {
        downloadFileTo(entry->name, QString());
    } else {
        showAlert(u"Folder Item"_s, u"Folders are not downloadable."_s);
    }
}

void ViewController::downloadFileTo(const QString& name, const QString& folder)
{
    m_percent = 0;
    m_bytes.reset();
    const QString place = createFullURLFromFTPRootRelativePath(ftpFolderFromAppName());
    if (place.isNull()) {
        return;
    }
    if (!folder.isNull() && !PathText::isFileName(name)) {
        refuseFileName();
        return;
    }
    const QString file = folder.isNull() ? QString() : PathText::appendingPathComponent(folder, name);
    m_gc->startReceive(URLText::appendingPathComponent(place, name), username(), password(), file);
}

void ViewController::refuseFileName()
{
    updateStatus(u"Invalid Desftination File"_s); // A name that the server sent never leads to another folder.
}

void ViewController::deleteSelection()
{
    if (alertSendingOrReceiving()) {
        return;
    }
    const ListingEntry* const entry = selectedEntry();
    if (entry == nullptr) {
        return;
    }
    const auto deleteLater = [this, name = entry->name] {
        RunLoop::dispatchAfter(answerDelayMs, this, [this, name] { deleteFile(name); });
    };
    SheetQueue::of(m_window).raise({ .title = u"Delete Item"_s,
                                     .text = u"Are you sure you want to delete \"%1\"?"_s.arg(visibleText(entry->name)),
                                     .defaultButton = u"Cancel"_s,
                                     .alternateButton = u"Delete"_s,
                                     .onAlternate = deleteLater });
}

std::shared_ptr<FMServer> ViewController::serverForOperation()
{
    const QString destination = createFullDestinationPathFromAppNameAndFTPFolder();
    m_streams.closeIdleConnections(destination); // Some servers allow one login alone.
    auto server = serverOfDestination(destination, username(), password());
    server->setEncryption(encryption());
    if (const std::optional<FTPLocation> place = FTPLocation::fromText(destination)) {
        const QByteArray trusted = TrustedCertificates::standard().fingerprint(place->host, place->port);
        server->setTrustedFingerprints(trusted.isEmpty() ? QList<QByteArray>() : QList<QByteArray>{ trusted });
    }
    return server;
}

void ViewController::deleteFile(const QString& name)
{
    const auto server = serverForOperation();
    if (m_itemOperations.deleteFileNamed(name, *server)) {
        listFTPDestination();
        return;
    }
    showAlert(u"Item Not Deleted"_s,
              u"\"%1\" was not deleted. If this is a folder make sure it is empty. Folders can not be deleted if they "
              "contain items.\n\nSwitch to the folder using preferences, and then delete its items."_s.arg(
                  visibleText(name)));
}

void ViewController::createFolderButtonAction()
{
    if (alertSendingOrReceiving()) {
        return;
    }
    const QString name = askInput(u"Enter name of folder to create."_s, u""_s);
    if (!name.isNull()) {
        createFolder(name);
    }
}

void ViewController::createFolder(const QString& name)
{
    if (name.isEmpty()) {
        showAlert(u"Folder Not Created"_s, u"Please retry with a name."_s);
        return;
    }
    if (listingContainsName(name)) {
        showAlert(u"Folder Exists"_s, u"Folder \"%1\" already exists. Try another name."_s.arg(visibleText(name)));
        return;
    }
    const auto server = serverForOperation();
    if (m_itemOperations.createNewFolder(name, *server)) {
        listFTPDestination();
        return;
    }
    showAlert(u"Folder Not Created"_s,
              u"Folder \"%1\" was not created due to an error.\n\nPlease check your preference settings for correct "
              "FTP server passsword, username and folder location."_s.arg(visibleText(name)));
}
