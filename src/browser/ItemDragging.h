#pragma once

#include "PathList.h"
#include "TableDragging.h"

#include <QObject>

class BrowserHost;
class DestinationListing;
class ItemActions;
class QWidget;

/// Files dragged onto the table of the destination folder, and rows dragged out of it. Belongs to the main thread.
class ItemDragging final : public QObject, public TableDragging {
    Q_OBJECT

public:
    /// What the promise of a dragged row holds, as a JSON list of one text: the number of the row.
    static inline const QString promiseFormat = QStringLiteral("application/x-quillbox-promised-files");

    /// All outlive the dragging. @p window has the sheets.
    ItemDragging(QWidget& window, DestinationListing& listing, ItemActions& actions, BrowserHost& host,
                 QObject* parent = nullptr);

    /// The files of the last drop onto the table that was accepted.
    const PathList& droppedFiles() const { return m_droppedFiles; }
    void setDroppedFiles(const PathList& paths) { m_droppedFiles = paths; }
    /// The plain files that @p pasteboard names, in its order.
    static PathList pasteboardHasFiles(const QMimeData& pasteboard);

    Qt::DropAction validateDrop(const QMimeData& pasteboard, TableDrop& drop) const override;
    bool acceptDrop(const QMimeData& pasteboard, const TableDrop& drop) override;
    bool writeRowsWithIndexes(const QList<int>& rows, QMimeData& pasteboard) override;
    QStringList namesOfPromisedFilesDroppedAtDestination(const QString& destination, const QList<int>& rows) override;
    std::function<void(const QString& folder)> promiseOf(const ListingEntry& entry) override;
    void refuseFileName(const QString& name) override;

private:
    void makePromisedFile(const ListingEntry& entry, const QString& folder);

    QWidget& m_window;
    DestinationListing& m_listing;
    ItemActions& m_actions;
    BrowserHost& m_host;
    PathList m_droppedFiles;
};
