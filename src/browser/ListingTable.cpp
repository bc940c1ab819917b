#include "ListingTable.h"

#include "ListingDelegate.h"
#include "ListingModel.h"
#include "TableColumns.h"

#include <QHeaderView>
#include <QMouseEvent>
#include <QPainter>
#include <QProxyStyle>
#include <QScrollBar>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// How long an emptied table keeps its picture while nothing has come.
constexpr auto longestHold = 200ms;
/// How often the table shows what keeps coming. A picture of it costs more than a block of items.
constexpr auto pictureInterval = 80ms;

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

ListingTable::ListingTable(QWidget* parent)
    : QTableView(parent)
{
    setItemDelegate(new ListingDelegate(this));
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setAlternatingRowColors(true);
    setShowGrid(false);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setUpHeaders();
    m_hold.setSingleShot(true);
    connect(&m_hold, &QTimer::timeout, this, &ListingTable::showAgain);
}

void ListingTable::setUpHeaders()
{
    verticalHeader()->setVisible(false);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setMinimumSectionSize(0);
    verticalHeader()->setDefaultSectionSize(static_cast<int>(ListingModel::rowHeight));
    QHeaderView& header = *horizontalHeader();
    auto* const style = new HeaderStyle;
    style->setParent(this);
    header.setStyle(style);
    header.setSectionsClickable(true);
    header.setSectionsMovable(true);
    header.setHighlightSections(false);
    header.setSortIndicatorShown(true);
    header.setSortIndicator(0, Qt::AscendingOrder);
    header.setFocusPolicy(Qt::NoFocus);
    connect(&header, &QHeaderView::sortIndicatorChanged, this, &ListingTable::sortDescriptorsDidChange);
}

void ListingTable::setListing(ListingModel& model)
{
    m_listing = &model;
    setModel(&model);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, &ListingTable::tableViewSelectionDidChange);
    connect(&model, &QAbstractItemModel::modelAboutToBeReset, this, &ListingTable::keepPlace);
    // A view that is reset drops its selection without a word.
    connect(&model, &QAbstractItemModel::modelReset, this, &ListingTable::tableViewSelectionDidChange);
    connect(&model, &QAbstractItemModel::layoutChanged, this, &ListingTable::restorePlace);
    setDefaultWidths();
}

void ListingTable::setDefaultWidths()
{
    const auto widthOf = [this](const QString& text) { return fontMetrics().horizontalAdvance(text) + 28; };
    QHeaderView& header = *horizontalHeader();
    const auto column = [](const QString& title) { return static_cast<int>(TableColumns::all.indexOf(title)); };
    header.setMinimumSectionSize(widthOf(u"M"_s));
    header.resizeSection(column(TableColumns::size), widthOf(u"888.88 MB"_s));
    header.resizeSection(column(TableColumns::type), widthOf(TableColumns::type));
    header.resizeSection(column(TableColumns::date), widthOf(u"88.88.8888, 88:88 PM"_s));
    header.resizeSection(column(TableColumns::mode), widthOf(u"drwxrwxrwx "_s) + 24);
    header.setSectionResizeMode(column(TableColumns::name), QHeaderView::Stretch);
    // The icon stands before the name that it belongs to.
    header.moveSection(header.visualIndex(column(TableColumns::type)), 0);
}

QList<SortDescriptor> ListingTable::sortDescriptors() const
{
    const QHeaderView& header = *horizontalHeader();
    const int section = header.sortIndicatorSection();
    if (section < 0 || section >= TableColumns::all.size()) {
        return {};
    }
    return { { .key = TableColumns::all[section], .ascending = header.sortIndicatorOrder() == Qt::AscendingOrder } };
}

int ListingTable::selectedRow() const
{
    const QModelIndexList rows = selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void ListingTable::setEmptyText(const QString& text)
{
    if (m_emptyText != text) {
        m_emptyText = text;
        viewport()->update();
    }
}

// Keeping the place.

void ListingTable::keepPlace()
{
    if (m_listing->entries().isEmpty()) {
        return; // What is wanted from the list before stays wanted.
    }
    if (const int row = selectedRow(); row >= 0) {
        m_wantedName = m_listing->entries().at(row).name;
    }
    if (!m_wantedScroll) {
        m_wantedScroll = verticalScrollBar()->value();
    }
    m_searchedArrivals = 0;
    setUpdatesEnabled(false);
    m_hold.start(longestHold);
}

void ListingTable::restorePlace()
{
    showSoon();
    const ListEntries& entries = m_listing->entries();
    for (; !m_wantedName.isNull() && m_searchedArrivals < entries.size(); ++m_searchedArrivals) {
        if (entries.arrival(m_searchedArrivals).name == m_wantedName) {
            const int row = entries.rowsOfArrivals()[static_cast<size_t>(m_searchedArrivals)];
            m_wantedName.clear();
            selectionModel()->setCurrentIndex(model()->index(row, 0),
                                              QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        }
    }
    if (m_wantedScroll) {
        updateGeometries();
        if (*m_wantedScroll <= verticalScrollBar()->maximum()) {
            verticalScrollBar()->setValue(*m_wantedScroll);
            m_wantedScroll.reset();
        }
    }
}

void ListingTable::forgetPlace()
{
    m_wantedName.clear();
    m_wantedScroll.reset();
}

void ListingTable::listingEnded()
{
    showSoon();
    if (m_wantedScroll) {
        updateGeometries();
        verticalScrollBar()->setValue(*m_wantedScroll); // As far as there is still something.
    }
    forgetPlace();
}

/// Shows what the table holds, at once when the last picture is old enough.
void ListingTable::showSoon()
{
    const auto age
        = std::chrono::milliseconds(m_sincePicture.isValid() ? m_sincePicture.elapsed() : pictureInterval.count());
    if (age >= pictureInterval) {
        showAgain();
        return;
    }
    setUpdatesEnabled(false);
    m_hold.start(pictureInterval - age);
}

void ListingTable::showAgain()
{
    m_hold.stop();
    setUpdatesEnabled(true);
}

void ListingTable::keyPressEvent(QKeyEvent* event)
{
    showAgain();
    forgetPlace();
    QTableView::keyPressEvent(event);
}

void ListingTable::mousePressEvent(QMouseEvent* event)
{
    showAgain();
    forgetPlace();
    QTableView::mousePressEvent(event);
    if (!indexAt(event->position().toPoint()).isValid()) {
        clearSelection();
    }
}

void ListingTable::wheelEvent(QWheelEvent* event)
{
    m_wantedScroll.reset();
    QTableView::wheelEvent(event);
}

// Keys.

void ListingTable::keyboardSearch(const QString& text)
{
    // Typing looks for names, whatever column was clicked.
    if (currentIndex().column() > 0) {
        selectionModel()->setCurrentIndex(currentIndex().siblingAtColumn(0), QItemSelectionModel::NoUpdate);
    }
    QTableView::keyboardSearch(text);
}

QModelIndex ListingTable::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    const int column = qMax(0, currentIndex().column());
    switch (action) {
    case MoveHome:
        return model()->index(0, column);
    case MoveEnd:
        return model()->index(model()->rowCount() - 1, column);
    default:
        return QTableView::moveCursor(action, modifiers);
    }
}

// Painting.

void ListingTable::paintEvent(QPaintEvent* event)
{
    m_sincePicture.start();
    QTableView::paintEvent(event);
    QPainter painter(viewport());
    if (model() == nullptr || model()->rowCount() == 0) {
        QFont font = this->font();
        font.setPointSizeF(font.pointSizeF() * 1.25);
        painter.setFont(font);
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(viewport()->rect(), Qt::AlignCenter, m_emptyText);
    }
    if (hasFocus()) {
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.drawRect(viewport()->rect().adjusted(1, 1, -1, -1));
    }
}

void ListingTable::focusInEvent(QFocusEvent* event)
{
    QTableView::focusInEvent(event);
    viewport()->update();
}

void ListingTable::focusOutEvent(QFocusEvent* event)
{
    QTableView::focusOutEvent(event);
    viewport()->update();
}
