#include "IconLabel.h"

#include <QPainter>

void IconLabel::setIcon(const QIcon& icon)
{
    m_icon = icon;
    update();
}

QSize IconLabel::sizeHint() const
{
    constexpr int side = 16; // In device-independent pixels.
    return { side, side };
}

void IconLabel::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    m_icon.paint(&painter, contentsRect());
}
