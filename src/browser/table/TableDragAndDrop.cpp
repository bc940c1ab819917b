#include "TableDragAndDrop.h"

#include "CellValue.h"
#include "ListingDelegate.h"
#include "ListingModel.h"
#include "PathText.h"
#include "PromisedFile.h"
#include "SelectedRows.h"
#include "TableColumns.h"
#include "TableDragging.h"
#include "VisibleText.h"

#include <QAbstractItemView>
#include <QDragEnterEvent>
#include <QIcon>
#include <QMimeData>
#include <QPainter>

namespace {

constexpr int pictureWidth = 280;
constexpr int pictureHeight = 28;
constexpr int iconSide = ListingDelegate::iconSide;
constexpr int margin = 6;

} // namespace

TableDragAndDrop::TableDragAndDrop(QAbstractItemView& table)
    : m_table(table)
{
}

// Onto the table.

TableDrop TableDragAndDrop::dropAt(const QPoint& point) const
{
    const QModelIndex index = m_table.indexAt(point);
    return index.isValid() ? TableDrop{ .row = index.row(), .operation = TableDrop::Operation::On }
                           : TableDrop{ .row = m_listing->rowCount(), .operation = TableDrop::Operation::Above };
}

void TableDragAndDrop::setDropTarget(bool isDropTarget)
{
    if (m_isDropTarget != isDropTarget) {
        m_isDropTarget = isDropTarget;
        m_table.viewport()->update();
    }
}

void TableDragAndDrop::enter(QDragEnterEvent& event)
{
    TableDrop drop = dropAt(event.position().toPoint());
    m_offeredAction = m_dragging == nullptr ? Qt::IgnoreAction : m_dragging->validateDrop(*event.mimeData(), drop);
    setDropTarget(m_offeredAction != Qt::IgnoreAction && drop.row == -1);
    // Accepted also without an action: an ignored drag would not tell when it leaves.
    event.setDropAction(m_offeredAction);
    event.accept();
}

void TableDragAndDrop::move(QDragMoveEvent& event)
{
    // What a drag names stays the same while it moves, and may be a list of thousands.
    event.setDropAction(m_offeredAction);
    event.accept();
}

void TableDragAndDrop::leave()
{
    m_offeredAction = Qt::IgnoreAction;
    setDropTarget(false);
}

void TableDragAndDrop::drop(QDropEvent& event)
{
    m_offeredAction = Qt::IgnoreAction;
    setDropTarget(false);
    TableDrop drop = dropAt(event.position().toPoint());
    if (m_dragging != nullptr && m_dragging->validateDrop(*event.mimeData(), drop) == Qt::CopyAction
        && m_dragging->acceptDrop(*event.mimeData(), drop)) {
        // A copy, whatever was proposed: a move would have the source delete its files.
        event.setDropAction(Qt::CopyAction);
        event.accept();
        return;
    }
    event.setDropAction(Qt::IgnoreAction);
    event.ignore();
}

// Out of the table.

void TableDragAndDrop::startDrag()
{
    const QList<int> rows = selectedRowsOf(m_table);
    if (m_dragging == nullptr || rows.isEmpty()) {
        return;
    }
    const int row = rows.first();
    const ListingEntry entry = m_listing->entries().at(row);
    auto file
        = std::make_unique<PromisedFile>(PathText::localFileName(entry.name), m_table, m_dragging->promiseOf(entry));
    if (!m_dragging->writeRowsWithIndexes(rows, *file)) {
        return;
    }
    if (PathText::isFileName(entry.name)) {
        PromisedFile::drag(std::move(file), pictureOf(row));
    } else {
        m_dragging->refuseFileName(entry.name);
    }
}

QPixmap TableDragAndDrop::pictureOf(int row) const
{
    const QFontMetrics metrics = m_table.fontMetrics();
    const ListingEntry& entry = m_listing->entries().at(row);
    const auto icon = cellValue(entry, TableColumns::type).value<QIcon>();
    const int textWidth = pictureWidth - iconSide - 3 * margin;
    const QString text = metrics.elidedText(visibleText(entry.name), Qt::ElideMiddle, textWidth);
    const int width = iconSide + 3 * margin + metrics.horizontalAdvance(text);
    QPixmap picture(QSize(width, pictureHeight) * m_table.devicePixelRatio());
    picture.setDevicePixelRatio(m_table.devicePixelRatio());
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(m_table.palette().color(QPalette::Base));
    painter.setPen(m_table.palette().color(QPalette::Highlight));
    painter.drawRoundedRect(QRectF(0, 0, width, pictureHeight).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    icon.paint(&painter, margin, (pictureHeight - iconSide) / 2, iconSide, iconSide);
    painter.setFont(m_table.font());
    painter.setPen(m_table.palette().color(QPalette::Text));
    painter.drawText(QRect(iconSide + 2 * margin, 0, width, pictureHeight), Qt::AlignVCenter, text);
    return picture;
}
