#pragma once

#include <QScreen>
#include <QStyle>
#include <QWidget>

/// How large a window may be on the screen of @p widget, its frame aside: a larger one would have buttons outside.
inline QSize roomOnScreen(const QWidget& widget)
{
    constexpr QSize frame(8, 40); // What a window manager adds at most, as a rule.
    return widget.screen()->availableSize() - frame;
}

/// How much wider @p window, whose contents scroll, would like to be than its screen allows; 0 where it has room.
inline int excessWidth(const QWidget& window)
{
    const int scrollBar = window.style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    return qMax(0, window.sizeHint().width() + scrollBar - roomOnScreen(window).width());
}

/// Makes @p window, whose contents scroll, as large as they are, as far as the screen allows. One that scrolls down has
/// room for the scroll bar and need not scroll sideways, too.
inline void resizeToContents(QWidget& window)
{
    const QSize wanted = window.sizeHint();
    const QSize room = roomOnScreen(window);
    const int scrollBar = wanted.height() > room.height() ? window.style()->pixelMetric(QStyle::PM_ScrollBarExtent) : 0;
    window.resize((wanted + QSize(scrollBar, 0)).boundedTo(room));
}

/// Makes @p window smaller where it is larger than that.
inline void keepWithinScreen(QWidget& window)
{
    window.resize(window.size().boundedTo(roomOnScreen(window)));
}
