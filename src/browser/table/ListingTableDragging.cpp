// What the table does while files are dragged onto it and rows out of it.

#include "CellValue.h"
#include "ListingDelegate.h"
#include "ListingModel.h"
#include "ListingTable.h"
#include "PathText.h"
#include "PromisedFile.h"
#include "TableColumns.h"
#include "VisibleText.h"

#include <QDragEnterEvent>
#include <QIcon>
#include <QMimeData>
#include <QPainter>

#include <algorithm>

namespace {

constexpr int pictureWidth = 280;
constexpr int pictureHeight = 28;
constexpr int iconSide = ListingDelegate::iconSide;
constexpr int margin = 6;

} // namespace

// Onto the table.

TableDrop ListingTable::dropAt(const QPoint& point) const
{
    const QModelIndex index = indexAt(point);
    return index.isValid() ? TableDrop{ .row = index.row(), .operation = TableDrop::Operation::On }
                           : TableDrop{ .row = model()->rowCount(), .operation = TableDrop::Operation::Above };
}

void ListingTable::setDropTarget(bool isDropTarget)
{
    if (m_isDropTarget != isDropTarget) {
        m_isDropTarget = isDropTarget;
        viewport()->update();
    }
}

void ListingTable::dragEnterEvent(QDragEnterEvent* event)
{
    TableDrop drop = dropAt(event->position().toPoint());
    m_offeredAction = m_dragging == nullptr ? Qt::IgnoreAction : m_dragging->validateDrop(*event->mimeData(), drop);
    setDropTarget(m_offeredAction != Qt::IgnoreAction && drop.row == -1);
    // Accepted also without an action: an ignored drag would not tell when it leaves.
    event->setDropAction(m_offeredAction);
    event->accept();
}

void ListingTable::dragMoveEvent(QDragMoveEvent* event)
{
    // What a drag names stays the same while it moves, and may be a list of thousands.
    event->setDropAction(m_offeredAction);
    event->accept();
}

void ListingTable::dragLeaveEvent(QDragLeaveEvent* /*event*/)
{
    m_offeredAction = Qt::IgnoreAction;
    setDropTarget(false);
}

void ListingTable::dropEvent(QDropEvent* event)
{
    m_offeredAction = Qt::IgnoreAction;
    setDropTarget(false);
    TableDrop drop = dropAt(event->position().toPoint());
    if (m_dragging != nullptr && m_dragging->validateDrop(*event->mimeData(), drop) == Qt::CopyAction
        && m_dragging->acceptDrop(*event->mimeData(), drop)) {
        // A copy, whatever was proposed: a move would have the source delete its files.
        event->setDropAction(Qt::CopyAction);
        event->accept();
        return;
    }
    event->setDropAction(Qt::IgnoreAction);
    event->ignore();
}

// Out of the table.

void ListingTable::startDrag(Qt::DropActions /*actions*/)
{
    QList<int> rows;
    for (const QModelIndex& index : selectionModel()->selectedRows()) {
        rows.append(index.row());
    }
    std::sort(rows.begin(), rows.end());
    if (m_dragging == nullptr || rows.isEmpty()) {
        return;
    }
    const int row = rows.first();
    const ListingEntry entry = m_listing->entries().at(row);
    auto file = std::make_unique<PromisedFile>(entry.name, *this,
                                               [this, entry](const QString& folder) { fulfilPromise(entry, folder); });
    if (!m_dragging->writeRowsWithIndexes(rows, *file)) {
        return;
    }
    if (PathText::isFileName(entry.name)) {
        PromisedFile::drag(std::move(file), dragPicture(row));
    } else {
        emit unnamableItemDragged(entry.name);
    }
}

void ListingTable::fulfilPromise(const ListingEntry& entry, const QString& folder)
{
    if (m_dragging == nullptr) {
        return;
    }
    // It may stand elsewhere by now, or be away while the folder is listed again.
    const int row = m_listing->entries().rowOf(entry.name);
    if (row >= 0 && m_listing->entries().at(row).rawName == entry.rawName) {
        m_dragging->namesOfPromisedFilesDroppedAtDestination(folder, { row });
    } else {
        m_dragging->makePromisedFile(entry, folder);
    }
}

QPixmap ListingTable::dragPicture(int row) const
{
    const ListingEntry& entry = m_listing->entries().at(row);
    const auto icon = cellValue(entry, TableColumns::type).value<QIcon>();
    const int textWidth = pictureWidth - iconSide - 3 * margin;
    const QString text = fontMetrics().elidedText(visibleText(entry.name), Qt::ElideMiddle, textWidth);
    const int width = iconSide + 3 * margin + fontMetrics().horizontalAdvance(text);
    QPixmap picture(QSize(width, pictureHeight) * devicePixelRatio());
    picture.setDevicePixelRatio(devicePixelRatio());
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(palette().color(QPalette::Base));
    painter.setPen(palette().color(QPalette::Highlight));
    painter.drawRoundedRect(QRectF(0, 0, width, pictureHeight).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    icon.paint(&painter, margin, (pictureHeight - iconSide) / 2, iconSide, iconSide);
    painter.setFont(font());
    painter.setPen(palette().color(QPalette::Text));
    painter.drawText(QRect(iconSide + 2 * margin, 0, width, pictureHeight), Qt::AlignVCenter, text);
    return picture;
}
