#include "LineDelegate.h"

#include <QFontMetrics>
#include <QStyle>
#include <QWidget>

int LineDelegate::heightOfLine(const QFontMetrics& metrics)
{
    return metrics.lineSpacing() + 3;
}

QSize LineDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& /*index*/) const
{
    return { 1, heightOfLine(option.fontMetrics) };
}

void LineDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    option->text = shownText(*option);
    const QPalette& palette = option->widget->palette();
    option->palette.setColor(QPalette::Text, palette.color(option->widget->foregroundRole()));
    const Qt::Alignment side = QStyle::visualAlignment(option->direction, Qt::AlignLeft);
    option->displayAlignment = side | Qt::AlignVCenter | Qt::AlignAbsolute;
    option->direction = option->text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight;
    option->state.setFlag(QStyle::State_MouseOver, false);
}
