#include "IconLabel.h"

#include <QPainter>

void IconLabel::setIcon(const QIcon& icon)
{
    m_icon = icon;
    update();
}

void IconLabel::setSide(int side)
{
    m_side = side;
    updateGeometry();
}

QSize IconLabel::sizeHint() const
{
    const int side = qMax(m_side, fontMetrics().height());
    return { side, side };
}

void IconLabel::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    m_icon.paint(&painter, contentsRect());
}
