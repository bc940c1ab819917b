#pragma once

#include "ListingEntry.h"

#include <QList>
#include <QStringList>
#include <Qt>

#include <functional>

class QMimeData;

/// Where in a table something is dropped.
struct TableDrop {
    enum class Operation { On, Above };

    int row = -1; ///< -1: the table as a whole.
    Operation operation = Operation::On;
};

/// Decides for a table what dragging does: files that come over it, and rows that leave it. Called on the main thread.
class TableDragging {
public:
    virtual ~TableDragging() = default;

    /// What a drag of @p pasteboard would do at @p drop, which the answer may move elsewhere.
    virtual Qt::DropAction validateDrop(const QMimeData& pasteboard, TableDrop& drop) const = 0;
    /// Whether what was dropped has been taken.
    virtual bool acceptDrop(const QMimeData& pasteboard, const TableDrop& drop) = 0;
    /// Puts the promise of the files of @p rows, which are not empty, on @p pasteboard. False: there is to be no drag.
    virtual bool writeRowsWithIndexes(const QList<int>& rows, QMimeData& pasteboard) = 0;
    /// Has the promised files of @p rows made in the local folder @p destination, and answers their names, before they
    /// are there.
    virtual QStringList namesOfPromisedFilesDroppedAtDestination(const QString& destination, const QList<int>& rows)
        = 0;
    /// What makes the file of the item @p entry, which is dragged now, in the local folder that it is given, wherever
    /// the item stands by then.
    virtual std::function<void(const QString& folder)> promiseOf(const ListingEntry& entry) = 0;
    /// The user drags an item whose name @p name no file can have.
    virtual void refuseFileName(const QString& name) = 0;

protected:
    TableDragging() = default;
    TableDragging(const TableDragging&) = default;
    TableDragging& operator=(const TableDragging&) = default;
};
