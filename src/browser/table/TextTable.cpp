#include "TextTable.h"

#include "ListingDelegate.h"

#include <QHeaderView>
#include <QPainter>
#include <QProxyStyle>
#include <QRegion>
#include <QStyleOptionHeader>

using namespace Qt::StringLiterals;

namespace {

/// Draws titles that are quieter than the rows below them, with the margins of the cells, and the arrow of the order at
/// its title.
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
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override
    {
        if (const auto* const header = qstyleoption_cast<const QStyleOptionHeaderV2*>(option);
            element == CE_Header && header != nullptr) {
            drawHeader(*header, painter, widget);
            return;
        }
        if (element != CE_HeaderSection && element != CE_HeaderEmptyArea) {
            QProxyStyle::drawControl(element, option, painter, widget);
            return;
        }
        const bool isPressed = (option->state & State_Sunken) != 0;
        painter->fillRect(option->rect, option->palette.color(isPressed ? QPalette::Midlight : QPalette::Window));
        painter->fillRect(QRect(option->rect.bottomLeft(), QSize(option->rect.width(), 1)),
                          option->palette.color(QPalette::Midlight).darker(110));
    }

private:
    void drawHeader(const QStyleOptionHeaderV2& header, QPainter* painter, const QWidget* widget) const
    {
        drawControl(CE_HeaderSection, &header, painter, widget);
        const int titleMargin = pixelMetric(PM_HeaderMargin, &header, widget);
        QStyleOptionHeaderV2 part = header;
        part.rect = header.rect.adjusted(titleMargin, 0, -titleMargin, 0);
        drawControl(CE_HeaderLabel, &part, painter, widget);
        if (header.sortIndicator != QStyleOptionHeader::None) {
            part.rect = placeOfArrow(header, part.rect);
            drawPrimitive(PE_IndicatorHeaderArrow, &part, painter, widget);
        }
    }
    /// Beside the title, on the side where there is room.
    static QRect placeOfArrow(const QStyleOptionHeader& header, const QRect& label)
    {
        constexpr int arrowSide = 10;
        constexpr int arrowGap = 4;
        const QSize size(header.fontMetrics.horizontalAdvance(header.text), arrowSide);
        const Qt::Alignment alignment = visualAlignment(header.direction, header.textAlignment);
        const QRect title = alignedRect(Qt::LeftToRight, alignment | Qt::AlignVCenter, size, label);
        const bool isOnTheRight = (alignment & Qt::AlignRight) != 0;
        const int left = isOnTheRight ? title.left() - arrowGap - arrowSide : title.right() + 1 + arrowGap;
        return { qBound(label.left(), left, label.right() + 1 - arrowSide), title.top() + 1, arrowSide, arrowSide };
    }
};

} // namespace

TextTable::TextTable(QWidget* parent)
    : QTableView(parent)
{
    m_descriptionTimer.setSingleShot(true);
    m_descriptionTimer.setInterval(200);
    connect(&m_descriptionTimer, &QTimer::timeout, this, &TextTable::describe);
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
        describe();
        viewport()->update();
    }
}

void TextTable::setModel(QAbstractItemModel* model)
{
    if (this->model() != nullptr) {
        this->model()->disconnect(&m_descriptionTimer);
    }
    QTableView::setModel(model);
    const auto describeLater = [this] {
        if (!m_descriptionTimer.isActive()) {
            m_descriptionTimer.start();
        }
    };
    connect(model, &QAbstractItemModel::rowsInserted, &m_descriptionTimer, describeLater);
    connect(model, &QAbstractItemModel::rowsRemoved, &m_descriptionTimer, describeLater);
    connect(model, &QAbstractItemModel::modelReset, &m_descriptionTimer, describeLater);
    describe();
}

void TextTable::describe()
{
    const int rows = model() != nullptr ? model()->rowCount() : 0;
    const QString text = rows == 0 ? m_emptyText : rows == 1 ? u"1 row"_s : u"%1 rows"_s.arg(rows);
    if (text != accessibleDescription()) {
        setAccessibleDescription(text);
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
        painter.setLayoutDirection(m_emptyText.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
        painter.drawText(viewport()->rect(), Qt::AlignCenter | Qt::TextWordWrap, m_emptyText);
    }
    if (const int width = highlightWidth(); width > 0) {
        // Areas: lines may miss the edge where a pixel of ours is one and a half of the screen's.
        const QRect whole = viewport()->rect();
        const QRegion inside = whole.adjusted(width, width, -width, -width);
        for (const QRect& edge : QRegion(whole) - inside) {
            painter.fillRect(edge, palette().color(QPalette::Highlight));
        }
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
