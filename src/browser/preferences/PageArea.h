#pragma once

#include <QScrollArea>

/// A page that would like to be as large as what is on it, and scrolls where the screen has less.
class PageArea final : public QScrollArea {
    Q_OBJECT

public:
    explicit PageArea(QWidget* parent = nullptr)
        : QScrollArea(parent)
    {
        setFrameShape(QFrame::NoFrame);
        setWidgetResizable(true);
        setFocusPolicy(Qt::NoFocus); // The fields on it have the keyboard, and are scrolled to.
    }

    QSize sizeHint() const override { return widget() == nullptr ? QScrollArea::sizeHint() : widget()->sizeHint(); }
};
