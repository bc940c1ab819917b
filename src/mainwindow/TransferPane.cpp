#include "TransferPane.h"

#include "FocusKeeping.h"
#include "OutcomeLine.h"

#include <QLayout>

#include <algorithm>

void TransferPane::setParts(const Parts& parts)
{
    m_parts = { &parts.details, &parts.otherFolder, &parts.brokenListing, &parts.outcome };
    m_details = &parts.details;
    m_outcome = &parts.outcome;
    m_refuge = &parts.refuge;
    connect(m_outcome, &OutcomeLine::told, this, [this](bool isTold) { tell(*m_outcome, isTold); });
}

void TransferPane::tell(QWidget& part, bool isTold)
{
    if (isTold != m_told.contains(&part)) {
        isTold ? void(m_told.insert(&part)) : void(m_told.remove(&part));
        showWhatIsTold();
    }
}

void TransferPane::showWhatIsTold()
{
    // The buttons above stay where they are when the one takes the place of the other.
    m_details->setMinimumHeight(m_outcome->sizeHint().height());
    const bool isLow = m_dropAreaHeight == 0;
    bool isRoom = true;
    for (QWidget* part : m_parts) {
        const bool isShown = m_told.contains(part) && isRoom;
        setVisibleKeepingFocus(*part, isShown, *m_refuge);
        isRoom = isRoom && !(isLow && isShown);
    }
}

void TransferPane::fitTo(int windowHeight, bool isLow)
{
    m_outcome->setLow(isLow);
    const int line = fontMetrics().lineSpacing();
    const int height = isLow ? 0 : std::clamp(windowHeight / 5, 6 * line, 12 * line);
    if (height != m_dropAreaHeight) {
        m_dropAreaHeight = height;
        showWhatIsTold();
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
