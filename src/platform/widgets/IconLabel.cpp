#include "IconLabel.h"

#include <QPainter>

void IconLabel::setIcon(const QIcon& icon)
{
    m_icon = icon;
    update();
}

QSize IconLabel::sizeHint() const
{
    const int side = qMax(16, fontMetrics().height()); // In device-independent pixels.
    return { side, side };
}

void IconLabel::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    m_icon.paint(&painter, contentsRect());
}
