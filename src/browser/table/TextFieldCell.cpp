#include "TextFieldCell.h"

#include <QApplication>
#include <QFontMetricsF>
#include <QLineEdit>
#include <QPainter>

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

void TextFieldCell::draw(QPainter& painter, const QRectF& bounds) const
{
    const QRectF rectangle = drawingRectForBounds(bounds);
    painter.setFont(font);
    const QString shown = QFontMetricsF(font).elidedText(text, Qt::ElideMiddle, rectangle.width());
    painter.drawText(
        rectangle, static_cast<int>((alignment & Qt::AlignHorizontal_Mask) | Qt::AlignTop) | Qt::TextSingleLine, shown);
}
