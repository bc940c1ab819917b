#pragma once

#include <QScreen>
#include <QWidget>

/// How large a window may be on the screen of @p widget, its frame aside: a larger one would have buttons outside.
inline QSize roomOnScreen(const QWidget& widget)
{
    constexpr QSize frame(8, 40); // What a window manager adds at most, as a rule.
    return widget.screen()->availableSize() - frame;
}

/// Makes @p window smaller where it is larger than that.
inline void keepWithinScreen(QWidget& window)
{
    window.resize(window.size().boundedTo(roomOnScreen(window)));
}
