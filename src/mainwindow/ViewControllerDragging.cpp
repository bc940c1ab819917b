// Files dragged onto the table of the destination folder, and rows dragged out of it.

#include "DroppedFiles.h"
#include "LocalItem.h"
#include "PathText.h"
#include "RunLoop.h"
#include "SheetQueue.h"
#include "ViewController.h"
#include "VisibleText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QMimeData>

using namespace Qt::StringLiterals;

QStringList ViewController::pasteboardHasFiles(const QMimeData& pasteboard) const
{
    return plainLocalFiles(pasteboard);
}

Qt::DropAction ViewController::validateDrop(const QMimeData& pasteboard, TableDrop& drop) const
{
    if (!namesLocalFiles(pasteboard)) {
        return Qt::IgnoreAction;
    }
    drop = { .row = -1, .operation = TableDrop::Operation::On };
    return Qt::CopyAction;
}

bool ViewController::acceptDrop(const QMimeData& pasteboard, const TableDrop& /*drop*/)
{
    const QStringList files = pasteboardHasFiles(pasteboard);
    if (files.isEmpty()) {
        showAlert(u"No Files"_s, u"Drop files only."_s);
        return false;
    }
    m_droppedFiles = files;
    // Its own files, also when the next drop comes before they are handed over.
    RunLoop::dispatchAfter(answerDelayMs, this, [this, files] { uploadFiles(files); });
    return true;
}

bool ViewController::writeRowsWithIndexes(const QList<int>& rows, QMimeData& pasteboard)
{
    if (alertSendingOrReceiving()) {
        return false;
    }
    // Kept: the number of the row stands where others tell types of files. Nobody reads it.
    const QJsonArray properties{ QString::number(rows.first()) };
    pasteboard.setData(promiseFormat, QJsonDocument(properties).toJson(QJsonDocument::Compact));
    return true;
}

QStringList ViewController::namesOfPromisedFilesDroppedAtDestination(const QString& destination, const QList<int>& rows)
{
    const int row = rows.first();
    if (row >= listEntries().size()) {
        return {};
    }
    const ListingEntry entry = listEntries().at(row);
    makePromisedFile(entry, destination);
    return { entry.name };
}

void ViewController::makePromisedFile(const ListingEntry& entry, const QString& destination)
{
    const QString& name = entry.name;
    const auto download
        = [this, name, destination, rawName = entry.rawName] { downloadFileTo(name, destination, rawName); };
    const QString path = PathText::appendingPathComponent(destination, name);
    // A link that leads to nothing is no file to ask about: nothing is written through it.
    if (PathText::isFileName(name) && LocalItem::at(path)) {
        const QString shownName = visibleText(name);
        SheetQueue::of(m_window).raise(
            { .title = u"File \"%1\" Exists."_s.arg(shownName),
              .text = u"Do you want to overwrite the existing file \"%1\"?"_s.arg(shownName),
              .defaultButton = u"Cancel"_s,
              .alternateButton = u"Overwrite"_s,
              .onAlternate = [this, download] { RunLoop::dispatchAfter(answerDelayMs, this, download); } });
    } else {
        download();
    }
}
