#include "ListingDelegate.h"

#include "KTVerticallyCenteredTextFieldCell.h"

#include <QApplication>
#include <QPainter>

void ListingDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QStyleOptionViewItem item = option;
    initStyleOption(&item, index);
    const QStyle& style = *item.widget->style();
    painter->save();
    style.drawPrimitive(QStyle::PE_PanelItemViewItem, &item, painter, item.widget);
    if (!item.icon.isNull()) {
        QRect place(0, 0, iconSide, iconSide);
        place.moveCenter(item.rect.center());
        item.icon.paint(painter, place);
    } else {
        KTVerticallyCenteredTextFieldCell cell;
        cell.text = item.text;
        cell.font = item.font;
        cell.alignment = item.displayAlignment;
        const bool isSelected = (item.state & QStyle::State_Selected) != 0;
        const QPalette::ColorGroup group
            = (item.state & QStyle::State_Active) != 0 ? QPalette::Active : QPalette::Inactive;
        painter->setPen(item.palette.color(group, isSelected ? QPalette::HighlightedText : QPalette::Text));
        cell.draw(*painter, item.rect);
    }
    // Where the keyboard is, as long as the selection does not show it. The style would do so after some keys only.
    if ((item.state & (QStyle::State_HasFocus | QStyle::State_Selected)) == QStyle::State_HasFocus) {
        painter->setPen(item.palette.color(QPalette::Highlight));
        painter->drawRect(item.rect.adjusted(0, 0, -1, -1));
    }
    painter->restore();
}
