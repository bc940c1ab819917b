#include "TransferPane.h"

#include "OutcomeLine.h"

#include <QLayout>

#include <algorithm>

void TransferPane::setParts(QWidget& details, OutcomeLine& outcome)
{
    m_details = &details;
    m_outcome = &outcome;
}

void TransferPane::showDetails(bool areShown)
{
    if (areShown == m_details->isHidden()) {
        m_details->setVisible(areShown);
        giveWay();
    }
}

void TransferPane::giveWay()
{
    m_outcome->setGivingWay(m_dropAreaHeight == 0 && !m_details->isHidden());
}

void TransferPane::fitTo(int windowHeight, bool isLow)
{
    m_outcome->setLow(isLow);
    const int line = fontMetrics().lineSpacing();
    const int height = isLow ? 0 : std::clamp(windowHeight / 5, 6 * line, 12 * line);
    if (height != m_dropAreaHeight) {
        m_dropAreaHeight = height;
        giveWay();
        updateGeometry();
    }
}

QSize TransferPane::sizeHint() const
{
    const int wanted = m_dropAreaHeight == 0 ? leastHeight() : heightWithDropArea(m_dropAreaHeight);
    return { layout()->sizeHint().width(), std::max(wanted, layout()->minimumSize().height()) };
}

QSize TransferPane::minimumSizeHint() const
{
    return { layout()->minimumSize().width(), std::max(leastHeight(), layout()->minimumSize().height()) };
}

/// Room for the drop area, for the status and for one of what comes and goes.
int TransferPane::leastHeight() const
{
    int most = 0;
    for (int i = 2; i < layout()->count(); ++i) {
        most = std::max(most, layout()->itemAt(i)->widget()->sizeHint().height());
    }
    return heightWithDropArea(layout()->itemAt(0)->minimumSize().height()) + layout()->spacing() + most;
}

int TransferPane::heightWithDropArea(int dropAreaHeight) const
{
    return dropAreaHeight + layout()->spacing() + layout()->itemAt(1)->sizeHint().height();
}
