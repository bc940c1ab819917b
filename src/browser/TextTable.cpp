#include "TextTable.h"

#include "ListingDelegate.h"

#include <QHeaderView>
#include <QPainter>
#include <QProxyStyle>

using namespace Qt::StringLiterals;

namespace {

/// Gives the titles the margins of the cells.
class HeaderStyle final : public QProxyStyle {
public:
    HeaderStyle()
        : QProxyStyle(u"Fusion"_s)
    {
    }

    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override
    {
        return metric == PM_HeaderMargin ? 7 : QProxyStyle::pixelMetric(metric, option, widget);
    }
};

} // namespace

TextTable::TextTable(QWidget* parent)
    : QTableView(parent)
{
    setItemDelegate(new ListingDelegate(this));
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setAlternatingRowColors(true);
    setShowGrid(false);
    setWordWrap(false);
    setTabKeyNavigation(false);
    verticalHeader()->setVisible(false);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setMinimumSectionSize(0);
    auto* const style = new HeaderStyle;
    style->setParent(this);
    horizontalHeader()->setStyle(style);
    horizontalHeader()->setSectionsMovable(true);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setFocusPolicy(Qt::NoFocus);
}

void TextTable::setEmptyText(const QString& text)
{
    if (m_emptyText != text) {
        m_emptyText = text;
        setAccessibleDescription(text);
        viewport()->update();
    }
}

void TextTable::paintEvent(QPaintEvent* event)
{
    QTableView::paintEvent(event);
    QPainter painter(viewport());
    if (model() == nullptr || model()->rowCount() == 0) {
        QFont font = this->font();
        font.setPointSizeF(font.pointSizeF() * 1.25);
        painter.setFont(font);
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(viewport()->rect(), Qt::AlignCenter, m_emptyText);
    }
    if (const int width = highlightWidth(); width > 0) {
        painter.setPen(QPen(palette().color(QPalette::Highlight), width, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
        const int inset = width / 2;
        painter.drawRect(viewport()->rect().adjusted(inset, inset, -inset - width % 2, -inset - width % 2));
    }
}

void TextTable::focusInEvent(QFocusEvent* event)
{
    QTableView::focusInEvent(event);
    viewport()->update();
}

void TextTable::focusOutEvent(QFocusEvent* event)
{
    QTableView::focusOutEvent(event);
    viewport()->update();
}

int columnWidthFor(const QTableView& table, const QString& text)
{
    return table.fontMetrics().horizontalAdvance(text) + 28;
}
