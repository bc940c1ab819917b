#include "ListingDelegate.h"

#include "PlainToolTip.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QFontInfo>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

namespace {

constexpr int iconMargin = 8; ///< Beside an icon that has a text.

/// @p font, or as much smaller as its lines are too high for @p height.
QFont fontWithin(int height, const QFont& font)
{
    const int lineHeight = QFontMetrics(font).height();
    if (lineHeight <= height) {
        return font;
    }
    QFont smaller = font;
    smaller.setPixelSize(qMax(1, QFontInfo(font).pixelSize() * height / lineHeight));
    return smaller;
}

} // namespace

void ListingDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QStyleOptionViewItem item = option;
    initStyleOption(&item, index);
    const QStyle& style = *item.widget->style();
    painter->save();
    style.drawPrimitive(QStyle::PE_PanelItemViewItem, &item, painter, item.widget);
    QRect textPlace = item.rect;
    if (!item.icon.isNull()) {
        QRect place(0, 0, iconSide, iconSide);
        place.moveCenter(item.rect.center());
        if (!item.text.isEmpty()) { // Before the text.
            const QSize side = item.decorationSize;
            place = QStyle::alignedRect(item.direction, Qt::AlignLeft | Qt::AlignVCenter, side,
                                        item.rect.adjusted(iconMargin, 0, -iconMargin, 0));
            textPlace
                = QStyle::visualRect(item.direction, item.rect, item.rect.adjusted(side.width() + iconMargin, 0, 0, 0));
        }
        item.icon.paint(painter, place);
    }
    if (!item.text.isEmpty()) {
        const bool isSelected = (item.state & QStyle::State_Selected) != 0;
        const QPalette::ColorGroup group
            = (item.state & QStyle::State_Active) != 0 ? QPalette::Active : QPalette::Inactive;
        painter->setPen(item.palette.color(group, isSelected ? QPalette::HighlightedText : QPalette::Text));
        cellOf(item).draw(*painter, textPlace);
    }
    // Where the keyboard is, as long as the selection does not show it. The style would do so after some keys only.
    if ((item.state & (QStyle::State_HasFocus | QStyle::State_Selected)) == QStyle::State_HasFocus) {
        painter->setPen(item.palette.color(QPalette::Highlight));
        painter->drawRect(item.rect.adjusted(0, 0, -1, -1));
    }
    painter->restore();
}

KTVerticallyCenteredTextFieldCell<> ListingDelegate::cellOf(const QStyleOptionViewItem& item) const
{
    KTVerticallyCenteredTextFieldCell<> cell;
    cell.text = item.text;
    cell.font = fontWithin(item.rect.height(), item.font);
    cell.alignment = item.displayAlignment;
    return cell;
}

bool ListingDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                                const QModelIndex& index)
{
    QStyleOptionViewItem item = option;
    initStyleOption(&item, index);
    const auto cell = cellOf(item);
    const bool hasOwn = !index.data(Qt::ToolTipRole).toString().isEmpty();
    if (event->type() != QEvent::ToolTip || hasOwn || !cell.isCutIn(item.rect)) {
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    }
    QToolTip::showText(event->globalPos(), plainToolTip(item.text), view, item.rect);
    return true;
}
