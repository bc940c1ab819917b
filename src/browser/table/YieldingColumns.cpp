#include "YieldingColumns.h"

#include <QEvent>
#include <QHeaderView>
#include <QTableView>

#include <algorithm>
#include <utility>

YieldingColumns::YieldingColumns(QTableView& table, int taking, int leastWidth, QList<int> yielding)
    : QObject(&table)
    , m_table(table)
    , m_header(*table.horizontalHeader())
    , m_taking(taking)
    , m_leastWidth(leastWidth)
    , m_yielding(std::move(yielding))
{
    for (const int section : m_yielding) {
        m_usualWidths[section] = m_header.sectionSize(section);
    }
    m_table.viewport()->installEventFilter(this);
    fit();
    // The header is in the middle of its own changes.
    connect(&m_header, &QHeaderView::sectionResized, this, &YieldingColumns::fit, Qt::QueuedConnection);
}

bool YieldingColumns::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize) {
        fit();
    }
    return QObject::eventFilter(watched, event);
}

/// After the table, or a column of it, has become wider or narrower.
void YieldingColumns::fit()
{
    // A header that was restored has the modes that it was saved with.
    m_header.setStretchLastSection(false);
    if (m_header.sectionResizeMode(m_taking) != QHeaderView::Stretch) {
        m_header.setSectionResizeMode(m_taking, QHeaderView::Stretch);
    }
    int room = m_table.viewport()->width() - m_leastWidth;
    for (int section = 0; section < m_header.count(); ++section) {
        room -= section == m_taking || m_yielding.contains(section) ? 0 : m_header.sectionSize(section);
    }
    for (const int section : m_yielding) {
        if (m_header.isSectionHidden(section) && !m_hiddenWidths.contains(section)) {
            m_header.showSection(section); // Only one that shows tells its width.
        }
        const bool isHidden = m_header.isSectionHidden(section);
        const int width = isHidden ? m_hiddenWidths.value(section) : m_header.sectionSize(section);
        room -= width;
        if (isHidden != (room < 0)) {
            // One that was made too wide comes back with its usual width, or it never would.
            const int widthThen = std::min(width, m_usualWidths.value(section));
            m_hiddenWidths[section] = widthThen;
            m_header.setSectionHidden(section, room < 0);
            m_header.resizeSection(section, widthThen);
        }
    }
}
