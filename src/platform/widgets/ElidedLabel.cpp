#include "ElidedLabel.h"

#include "PlainToolTip.h"

#include <QFontInfo>
#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

#include <algorithm>

QSize ElidedLabel::minimumSizeHint() const
{
    return { 0, fontMetrics().height() };
}

QSize ElidedLabel::sizeHint() const
{
    return { 200, fontMetrics().height() };
}

/// The beginning is enough to know whether all of it fits: texts may be very long.
QString ElidedLabel::line() const
{
    return text().left(4096).replace(u'\n', u' ');
}

QFont ElidedLabel::fittingFont() const
{
    QFont fitting = font();
    const int wanted = fontMetrics().horizontalAdvance(line());
    if (m_smallestScale < 1 && wanted > contentsRect().width()) {
        const double scale = std::max(m_smallestScale, static_cast<double>(contentsRect().width()) / wanted);
        fitting.setPixelSize(std::max(1, static_cast<int>(QFontInfo(fitting).pixelSize() * scale)));
    }
    return fitting;
}

QString ElidedLabel::elidedText(const QFont& font) const
{
    return QFontMetrics(font).elidedText(line(), Qt::ElideMiddle, contentsRect().width());
}

void ElidedLabel::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    const QFont font = fittingFont();
    painter.setFont(font);
    style()->drawItemText(&painter, contentsRect(), static_cast<int>(alignment()) | Qt::TextSingleLine, palette(),
                          isEnabled(), elidedText(font), foregroundRole());
}

bool ElidedLabel::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip && isCut()) {
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), plainToolTip(text()) + toolTip(), this);
        return true;
    }
    return QLabel::event(event);
}
