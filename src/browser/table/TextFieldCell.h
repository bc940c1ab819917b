#pragma once

#include <QFont>
#include <QRectF>
#include <QString>

class QEvent;
class QLineEdit;
class QObject;
class QPainter;
class QWidget;

/// Draws one line of text at the top of a frame, and places the editor of that text there. Belongs to the main thread.
class TextFieldCell {
public:
    virtual ~TextFieldCell() = default;

    /// Where in @p bounds the text is drawn. All lengths are device-independent pixels.
    virtual QRectF drawingRectForBounds(const QRectF& bounds) const;
    /// The size that the text needs in @p bounds.
    virtual QSizeF cellSizeForBounds(const QRectF& bounds) const;

    /// Places @p editor, a child of @p view, in @p frame with @p length characters from @p start selected. @p delegate,
    /// which may be null, filters the editor's events from then on.
    virtual void selectWithFrame(const QRectF& frame, QWidget* view, QLineEdit* editor, QObject* delegate, int start,
                                 int length);
    /// Places @p editor likewise and passes on @p event, which began the editing and may be null.
    virtual void editWithFrame(const QRectF& frame, QWidget* view, QLineEdit* editor, QObject* delegate, QEvent* event);

    /// Whether the text is too long for its rectangle.
    bool isCutIn(const QRectF& bounds) const;
    /// Draws the text with the painter's pen. A text too long for its rectangle is shortened in the middle.
    void draw(QPainter& painter, const QRectF& bounds) const;

    QString text;
    QFont font;
    Qt::Alignment alignment = Qt::AlignLeft; ///< The horizontal one.

protected:
    void place(const QRectF& frame, QWidget* view, QLineEdit* editor, QObject* delegate) const;
};
