#include "TextFieldCell.h"

#include <QApplication>
#include <QFontMetricsF>
#include <QLineEdit>
#include <QPainter>
#include <QStyle>

namespace {

constexpr qreal sideMargin = 8;

} // namespace

QRectF TextFieldCell::drawingRectForBounds(const QRectF& bounds) const
{
    return bounds.adjusted(sideMargin, 0, -sideMargin, 0);
}

QSizeF TextFieldCell::cellSizeForBounds(const QRectF& bounds) const
{
    const QFontMetricsF metrics(font);
    return { qMin(metrics.horizontalAdvance(text) + 2 * sideMargin, bounds.width()), metrics.height() };
}

void TextFieldCell::selectWithFrame(const QRectF& frame, QWidget* view, QLineEdit* editor, QObject* delegate, int start,
                                    int length)
{
    place(frame, view, editor, delegate);
    editor->setSelection(start, length);
}

void TextFieldCell::editWithFrame(const QRectF& frame, QWidget* view, QLineEdit* editor, QObject* delegate,
                                  QEvent* event)
{
    place(frame, view, editor, delegate);
    if (event != nullptr) {
        QApplication::sendEvent(editor, event);
    }
}

void TextFieldCell::place(const QRectF& frame, QWidget* view, QLineEdit* editor, QObject* delegate) const
{
    editor->setParent(view);
    editor->setFrame(false);
    editor->setFont(font);
    editor->setText(text);
    editor->setGeometry(drawingRectForBounds(frame).toAlignedRect());
    if (delegate != nullptr) {
        editor->installEventFilter(delegate);
    }
    editor->show();
    editor->setFocus();
}

bool TextFieldCell::isCutIn(const QRectF& bounds) const
{
    return QFontMetricsF(font).horizontalAdvance(text) > drawingRectForBounds(bounds).width();
}

void TextFieldCell::draw(QPainter& painter, const QRectF& bounds) const
{
    const QRectF rectangle = drawingRectForBounds(bounds);
    painter.setFont(font);
    const QString shown = QFontMetricsF(font).elidedText(text, Qt::ElideMiddle, rectangle.width());
    // On the side that the window's direction says, and in the direction of its own words.
    const Qt::Alignment side = QStyle::visualAlignment(painter.layoutDirection(), alignment & Qt::AlignHorizontal_Mask);
    const int direction = text.isRightToLeft() ? Qt::TextForceRightToLeft : Qt::TextForceLeftToRight;
    painter.drawText(rectangle,
                     static_cast<int>(side | Qt::AlignTop | Qt::AlignAbsolute) | Qt::TextSingleLine | direction, shown);
}
