#pragma once

#include <QList>
#include <Qt>

class ListingModel;
class QAbstractItemView;
class QDragEnterEvent;
class QDragMoveEvent;
class QDropEvent;
class QPixmap;
class QPoint;
class TableDragging;
struct TableDrop;

/// Drag and drop of a table of listed items: the drag that hovers over it, and the rows that are dragged out of it. The
/// table hands its events on; what a drag does, a TableDragging decides. Belongs to the main thread.
class TableDragAndDrop final {
public:
    /// @p table outlives this.
    explicit TableDragAndDrop(QAbstractItemView& table);

    /// What the table shows; outlives this.
    void setListing(ListingModel& listing) { m_listing = &listing; }
    /// Not owned, and outlives this or is taken back by null: without it nothing is dragged.
    void setDragging(TableDragging* dragging) { m_dragging = dragging; }

    /// Whether the drag over the table would be dropped onto it as a whole.
    bool isDropTarget() const { return m_isDropTarget; }

    // The events of a drag over the table.

    void enter(QDragEnterEvent& event);
    void move(QDragMoveEvent& event);
    void leave();
    void drop(QDropEvent& event);

    /// Drags the first of the selected rows out of the table, until the user lets go.
    void startDrag();

private:
    TableDrop dropAt(const QPoint& point) const;
    void setDropTarget(bool isDropTarget);
    QPixmap pictureOf(int row) const;

    QAbstractItemView& m_table;
    ListingModel* m_listing = nullptr;
    TableDragging* m_dragging = nullptr;
    Qt::DropAction m_offeredAction = Qt::IgnoreAction; ///< To the drag that hovers over the table.
    bool m_isDropTarget = false;
};
