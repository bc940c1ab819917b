#include "FiguresRow.h"

#include <QLabel>
#include <QLayout>

FiguresRow::FiguresRow(QWidget* parent)
    : QWidget(parent)
{
    setLayoutDirection(Qt::LeftToRight);
}

void FiguresRow::textsChanged()
{
    if (const int wanted = sizeHint().width(); wanted != m_wantedWidth) {
        m_wantedWidth = wanted;
        updateGeometry();
        fit();
    }
}

/// The room may be there only after the next layout, which then comes here again.
void FiguresRow::fit()
{
    // What is left over is on the side of what stands before the row.
    layout()->setAlignment(parentWidget()->isRightToLeft() ? Qt::AlignLeft : Qt::AlignRight);
    int room = contentsRect().width() - widthOfTheRest();
    for (QLabel* label : m_givingWay) {
        room -= label->sizeHint().width();
        label->setVisible(!label->text().isEmpty() && room >= 0);
    }
}

QSize FiguresRow::sizeHint() const
{
    int width = widthOfTheRest();
    for (const QLabel* label : m_givingWay) {
        width += label->sizeHint().width();
    }
    return { width, layout()->sizeHint().height() };
}

QSize FiguresRow::minimumSizeHint() const
{
    return { widthOfTheRest(), layout()->minimumSize().height() };
}

void FiguresRow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    fit();
}

int FiguresRow::widthOfTheRest() const
{
    int width = 0;
    for (int i = 0; i < layout()->count(); ++i) {
        auto* const label = qobject_cast<QLabel*>(layout()->itemAt(i)->widget());
        if (!m_givingWay.contains(label) && !label->isHidden()) {
            width += label->sizeHint().width();
        }
    }
    return width;
}
