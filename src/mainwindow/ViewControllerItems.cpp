// Actions on the selected item of the destination folder, and new folders in it.

#include "DefaultApplication.h"
#include "DestinationServer.h"
#include "ItemLocation.h"
#include "PathText.h"
#include "RunLoop.h"
#include "SheetQueue.h"
#include "ViewController.h"
#include "VisibleText.h"
#include "WaitingPanel.h"
#include "ui_MainWindow.h"

#include <atomic>
#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// How long an action may wait for the server's answers, all together.
constexpr std::chrono::seconds conversationLimit(60);

/// What is said of an item when the server's certificate is not trusted. There is no question here: the call that would
/// have to wait for the answer suspends the program.
QString notTrustedText(const QString& whatIsNot)
{
    return u"%1, since the server has shown a certificate that is not trusted. Nothing was sent to it.\n\nRefresh the "
           "list: you are then asked about the certificate, or told what is wrong with it."_s.arg(whatIsNot);
}

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
        downloadFileTo(entry->name, QString(), entry->rawName);
    } else {
        showAlert(u"Folder Item"_s, u"Folders are not downloadable."_s);
    }
}

void ViewController::downloadFileTo(const QString& name, const QString& folder, const QByteArray& rawName)
{
    emit userRequestedConnection();
    m_percent = 0;
    m_bytes.reset();
    const QString place = createFullURLFromFTPRootRelativePath(ftpFolderFromAppName());
    if (place.isNull()) {
        return;
    }
    if (!PathText::isFileName(name)) {
        refuseFileName(name);
        return;
    }
    const QString file = folder.isNull() ? QString() : PathText::appendingPathComponent(folder, name);
    m_gc->startReceive(locationOfItem(place, name, rawName), username(), password(), file);
    m_answers = started(*m_gc, m_gc->isReceiving());
}

void ViewController::refuseFileName(const QString& name)
{
    updateStatus(u"Invalid Desftination File"_s); // A name that the server sent never leads to another folder.
    m_history.note(u"“%1” is no name for a file, and was not downloaded."_s.arg(visibleText(name)));
}

void ViewController::openDownload(const QString& path)
{
    if (DefaultApplication::isProgram(path)) {
        showAlert(u"File Not Opened"_s,
                  u"\"%1\" is there, but programs, scripts and launchers are not opened."_s.arg(
                      visibleText(PathText::lastPathComponent(path))));
    } else {
        DefaultApplication::open(path);
    }
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
    const auto deleteLater = [this, name = entry->name, rawName = entry->rawName] {
        RunLoop::dispatchAfter(answerDelayMs, this, [this, name, rawName] { deleteFile(name, rawName); });
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
    m_connections.closeIdleConnections(destination); // Some servers allow one login alone.
    auto server = serverOfDestination(destination, username(), password());
    server->setEncryption(encryption());
    server->setTimeLimit(conversationLimit);
    if (m_listingSource.location == destination) {
        server->setAddress(m_listingSource.address); // Addresses of one host may lead to different machines.
    }
    if (const QByteArray trusted = trustedFingerprint(destination); !trusted.isEmpty()) {
        server->setTrustedFingerprints({ trusted });
    }
    return server;
}

std::optional<ItemOutcome> ViewController::waitForOperation(const QString& what, std::function<ItemOutcome()> operation)
{
    const auto outcome = std::make_shared<std::atomic<ItemOutcome>>(ItemOutcome::Refused); // The call may outlive this.
    const std::optional<bool> isDone = waitForAnswer(&m_window, what, [outcome, operation = std::move(operation)] {
        *outcome = operation();
        return *outcome == ItemOutcome::Done;
    });
    return isDone ? std::optional<ItemOutcome>(*outcome) : std::nullopt;
}

void ViewController::deleteFile(const QString& name, const QByteArray& rawName)
{
    const QString shownName = visibleText(name);
    const auto server = serverForOperation();
    if (server->address().isNull() && hasIPv6Address(createFullDestinationPathFromAppNameAndFTPFolder())) {
        showAlert(
            u"Cannot Delete"_s,
            u"“%1” was not deleted. Items can be deleted through IPv4 alone, and the server's address in the "
            "preferences is an IPv6 address.\n\nGive the server's name or its IPv4 address instead."_s.arg(shownName));
        return;
    }
    const std::optional<ItemOutcome> outcome = waitForOperation(
        u"Deleting “%1”…"_s.arg(shownName),
        [nameOnServer = rawName.isNull() ? name.toUtf8() : rawName, server,
         deleteFileNamed = m_itemOperations.deleteFileNamed] { return deleteFileNamed(nameOnServer, *server); });
    if (!outcome || outcome == ItemOutcome::Unanswered) {
        showAlert(u"No Answer"_s,
                  u"The server has not answered. “%1” may or may not have been deleted."_s.arg(shownName));
        listFTPDestination();
        return;
    }
    if (outcome == ItemOutcome::Done) {
        listFTPDestination();
        return;
    }
    if (outcome == ItemOutcome::NotTrusted) {
        showAlert(u"Item Not Deleted"_s, notTrustedText(u"“%1” was not deleted"_s.arg(shownName)));
        return;
    }
    showAlert(u"Item Not Deleted"_s,
              u"\"%1\" was not deleted. If this is a folder make sure it is empty. Folders can not be deleted if they "
              "contain items.\n\nSwitch to the folder using preferences, and then delete its items."_s.arg(shownName));
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
    const QString shownName = visibleText(name);
    const std::optional<ItemOutcome> outcome = waitForOperation(
        u"Creating “%1”…"_s.arg(shownName),
        [name, server, createNewFolder = m_itemOperations.createNewFolder] { return createNewFolder(name, *server); });
    if (!outcome || outcome == ItemOutcome::Unanswered) {
        showAlert(u"No Answer"_s,
                  u"The server has not answered. Folder “%1” may or may not have been created."_s.arg(shownName));
        listFTPDestination();
        return;
    }
    if (outcome == ItemOutcome::Done) {
        listFTPDestination();
        return;
    }
    if (outcome == ItemOutcome::NotTrusted) {
        showAlert(u"Folder Not Created"_s, notTrustedText(u"Folder “%1” was not created"_s.arg(shownName)));
        return;
    }
    showAlert(u"Folder Not Created"_s,
              u"Folder \"%1\" was not created due to an error.\n\nPlease check your preference settings for correct "
              "FTP server passsword, username and folder location."_s.arg(shownName));
}
