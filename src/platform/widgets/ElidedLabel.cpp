#include "ElidedLabel.h"

#include "PlainToolTip.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

QSize ElidedLabel::minimumSizeHint() const
{
    return { 0, fontMetrics().height() };
}

QSize ElidedLabel::sizeHint() const
{
    return { 200, fontMetrics().height() };
}

QString ElidedLabel::elidedText() const
{
    // The beginning is enough to know whether all of it fits: texts may be very long.
    QString line = text().left(4096);
    line.replace(u'\n', u' ');
    return fontMetrics().elidedText(line, Qt::ElideMiddle, contentsRect().width());
}

void ElidedLabel::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    style()->drawItemText(&painter, contentsRect(), static_cast<int>(alignment()) | Qt::TextSingleLine, palette(),
                          isEnabled(), elidedText(), foregroundRole());
}

bool ElidedLabel::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip && elidedText() != text()) {
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), plainToolTip(text()) + toolTip(), this);
        return true;
    }
    return QLabel::event(event);
}
