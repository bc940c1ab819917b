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

/// The largest font in which it fits, in two lines where the height has room for them, or else the smallest font.
ElidedLabel::Shown ElidedLabel::shown() const
{
    const QString line = this->line();
    const QSize room = contentsRect().size();
    QFont font = this->font();
    if (m_smallestScale == 1 || fontMetrics().horizontalAdvance(line) <= room.width()) {
        return { .font = font, .text = fontMetrics().elidedText(line, Qt::ElideMiddle, room.width()) };
    }
    const int usual = QFontInfo(font).pixelSize();
    const int smallest = std::max(1, static_cast<int>(usual * m_smallestScale));
    const bool canFit = fontMetrics().horizontalAdvance(line) * m_smallestScale <= 2 * room.width();
    for (int size = usual; canFit && size >= smallest; --size) {
        font.setPixelSize(size);
        const QFontMetrics metrics(font);
        if (metrics.horizontalAdvance(line) <= room.width()) {
            return { .font = font, .text = line };
        }
        const QSize wrapped = metrics.boundingRect({ {}, room }, Qt::TextWordWrap, line).size();
        if (wrapped.boundedTo(room) == wrapped) {
            return { .font = font, .text = line, .flags = Qt::TextWordWrap };
        }
    }
    font.setPixelSize(smallest);
    return { .font = font, .text = QFontMetrics(font).elidedText(line, Qt::ElideMiddle, room.width()) };
}

void ElidedLabel::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    const Shown shown = this->shown();
    painter.setFont(shown.font);
    style()->drawItemText(&painter, contentsRect(), static_cast<int>(alignment()) | shown.flags, palette(), isEnabled(),
                          shown.text, foregroundRole());
}

bool ElidedLabel::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip && isCut()) {
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), plainToolTip(text()) + toolTip(), this);
        return true;
    }
    return QLabel::event(event);
}
