#pragma once

#include "TextFieldCell.h"

/// A text cell that centres its line in a frame taller than the text. @p Base is the cell that draws and edits.
template <typename Base = TextFieldCell> class KTVerticallyCenteredTextFieldCell : public Base {
public:
    using Base::Base;

    QRectF drawingRectForBounds(const QRectF& bounds) const override
    {
        QRectF rectangle = Base::drawingRectForBounds(bounds);
        if (mIsEditingOrSelecting) {
            return rectangle;
        }
        // Kept: the difference has single precision.
        const auto excess = static_cast<float>(rectangle.height() - this->cellSizeForBounds(bounds).height());
        if (excess > 0) {
            rectangle.setHeight(rectangle.height() - static_cast<qreal>(excess));
            rectangle.translate(0, static_cast<qreal>(excess) * 0.5);
        }
        return rectangle;
    }

    void selectWithFrame(const QRectF& frame, QWidget* view, QLineEdit* editor, QObject* delegate, int start,
                         int length) override
    {
        const QRectF centred = drawingRectForBounds(frame);
        // The base asks for the rectangle again while it sets up; it must not be centred twice.
        mIsEditingOrSelecting = true;
        Base::selectWithFrame(centred, view, editor, delegate, start, length);
        mIsEditingOrSelecting = false;
    }

    void editWithFrame(const QRectF& frame, QWidget* view, QLineEdit* editor, QObject* delegate, QEvent* event) override
    {
        const QRectF centred = drawingRectForBounds(frame);
        mIsEditingOrSelecting = true;
        Base::editWithFrame(centred, view, editor, delegate, event);
        mIsEditingOrSelecting = false;
    }

private:
    bool mIsEditingOrSelecting = false; // NOLINT(readability-identifier-naming): the name it is known by
};
