#include "ItemDragging.h"

#include "BrowserHost.h"
#include "DestinationListing.h"
#include "DestinationSettings.h"
#include "DroppedFiles.h"
#include "DroppedFolders.h"
#include "ItemActions.h"
#include "ItemLocation.h"
#include "LocalItem.h"
#include "PathText.h"
#include "RunLoop.h"
#include "SheetQueue.h"
#include "VisibleText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QMimeData>

using namespace Qt::StringLiterals;

ItemDragging::ItemDragging(QWidget& window, DestinationListing& listing, ItemActions& actions, BrowserHost& host,
                           QObject* parent)
    : QObject(parent)
    , m_window(window)
    , m_listing(listing)
    , m_actions(actions)
    , m_host(host)
{
}

PathList ItemDragging::pasteboardHasFiles(const QMimeData& pasteboard)
{
    return droppedItems(pasteboard, DroppedFolders::areUploaded()).files;
}

Qt::DropAction ItemDragging::validateDrop(const QMimeData& pasteboard, TableDrop& drop) const
{
    if (!namesLocalFiles(pasteboard)) {
        return Qt::IgnoreAction;
    }
    drop = { .row = -1, .operation = TableDrop::Operation::On };
    return Qt::CopyAction;
}

bool ItemDragging::acceptDrop(const QMimeData& pasteboard, const TableDrop& /*drop*/)
{
    const auto [files, leftOut] = droppedItems(pasteboard, DroppedFolders::areUploaded());
    if (files.isEmpty()) {
        if (!leftOut.isEmpty()) {
            m_host.uploadFiles({}, leftOut);
        }
        m_host.showAlert(u"No Files"_s, u"Drop files only."_s);
        return false;
    }
    m_droppedFiles = files;
    // Its own files, also when the next drop comes before they are handed over.
    RunLoop::dispatchAfter(ItemActions::answerDelayMs, this,
                           [this, files = files, leftOut = leftOut] { m_host.uploadFiles(files, leftOut); });
    return true;
}

bool ItemDragging::writeRowsWithIndexes(const QList<int>& rows, QMimeData& pasteboard)
{
    if (m_host.alertSendingOrReceiving()) {
        return false;
    }
    // Kept: the number of the row stands where others tell types of files. Nobody reads it.
    const QJsonArray properties{ QString::number(rows.first()) };
    pasteboard.setData(promiseFormat, QJsonDocument(properties).toJson(QJsonDocument::Compact));
    return true;
}

QStringList ItemDragging::namesOfPromisedFilesDroppedAtDestination(const QString& destination, const QList<int>& rows)
{
    if (rows.isEmpty() || rows.first() >= m_listing.entries().size()) {
        return {};
    }
    const ListingEntry entry = m_listing.entries().at(rows.first());
    makePromisedFile(entry, destination);
    return { entry.name };
}

std::function<void(const QString& folder)> ItemDragging::promiseOf(const ListingEntry& entry)
{
    return [this, entry, pressed = DestinationSettings::destination()](const QString& folder) {
        if (!m_actions.isStillInForce(pressed, entry.name)) {
            return;
        }
        // It may stand elsewhere by now, or be away while the folder is listed again.
        const int row = m_listing.entries().rowOf(entry.name);
        if (row >= 0 && m_listing.entries().at(row).rawName == entry.rawName) {
            namesOfPromisedFilesDroppedAtDestination(folder, { row });
        } else {
            makePromisedFile(entry, folder);
        }
    };
}

void ItemDragging::refuseFileName(const QString& name)
{
    m_actions.refuseFileName(name);
}

void ItemDragging::makePromisedFile(const ListingEntry& entry, const QString& folder)
{
    const QString& name = entry.name;
    const QString path = localFileOfItem(folder, name);
    const bool isFileName = PathText::isFileName(name);
    const QString linkTarget = isFileName ? LocalItem::linkTarget(path) : QString();
    if (!isFileName || (linkTarget.isNull() && !LocalItem::at(path))) {
        m_actions.downloadFile(name, folder, entry.rawName);
        return;
    }
    const auto overwrite = [this, pressed = DestinationSettings::destination(), name, folder, rawName = entry.rawName] {
        if (m_actions.isStillInForce(pressed, name)) {
            m_actions.overwriteFile(name, folder, rawName);
        }
    };
    const QString shownName = visibleText(name);
    QString question = u"Do you want to overwrite the existing file \"%1\"?"_s.arg(shownName);
    if (!linkTarget.isNull()) {
        question += u"\n\nIt is a link to “%1”. The link is replaced, what it leads to is not."_s.arg(
            visibleText(linkTarget));
    }
    SheetQueue::of(m_window).raise(
        { .title = u"File \"%1\" Exists."_s.arg(shownName),
          .text = question,
          .defaultButton = u"Cancel"_s,
          .alternateButton = u"Overwrite"_s,
          .onAlternate = [this, overwrite] { RunLoop::dispatchAfter(ItemActions::answerDelayMs, this, overwrite); },
          .details = m_actions.foldersInQuestion(u"Downloaded from"_s) });
}
