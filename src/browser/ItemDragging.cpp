#include "ItemDragging.h"

#include "BrowserHost.h"
#include "DestinationListing.h"
#include "DestinationSettings.h"
#include "DroppedFiles.h"
#include "ItemActions.h"
#include "LocalItem.h"
#include "PathText.h"
#include "RunLoop.h"
#include "SheetQueue.h"
#include "VisibleText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QMimeData>

#include <utility>

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

QStringList ItemDragging::pasteboardHasFiles(const QMimeData& pasteboard)
{
    return plainLocalFiles(pasteboard);
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
    const QStringList files = pasteboardHasFiles(pasteboard);
    const QStringList leftOut = otherItems(pasteboard);
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
                           [this, files, leftOut] { m_host.uploadFiles(files, leftOut); });
    return true;
}

bool ItemDragging::writeRowsWithIndexes(const QList<int>& rows, QMimeData& pasteboard)
{
    if (m_host.alertSendingOrReceiving()) {
        return false;
    }
    m_dragged = DestinationSettings::destination();
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

void ItemDragging::makePromisedFile(const ListingEntry& entry, const QString& destination)
{
    const QString& name = entry.name;
    const Destination present = DestinationSettings::destination();
    const Destination pressed = std::exchange(m_dragged, std::nullopt).value_or(present);
    const auto download = [this, pressed, name, destination, rawName = entry.rawName] {
        if (m_actions.isStillInForce(pressed, name)) {
            m_actions.downloadFile(name, destination, rawName);
        }
    };
    const QString path = PathText::appendingPathComponent(destination, name);
    // A link that leads to nothing is no file to ask about: nothing is written through it.
    if (PathText::isFileName(name) && LocalItem::at(path)) {
        const QString shownName = visibleText(name);
        SheetQueue::of(m_window).raise({ .title = u"File \"%1\" Exists."_s.arg(shownName),
                                         .text = u"Do you want to overwrite the existing file \"%1\"?"_s.arg(shownName),
                                         .defaultButton = u"Cancel"_s,
                                         .alternateButton = u"Overwrite"_s,
                                         .onAlternate = [this, download] {
                                             RunLoop::dispatchAfter(ItemActions::answerDelayMs, this, download);
                                         } });
    } else {
        download();
    }
}
