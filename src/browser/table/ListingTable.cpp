#include "ListingTable.h"

#include "ListingModel.h"
#include "TableColumns.h"

#include <QHeaderView>
#include <QMouseEvent>
#include <QScrollBar>

#include <algorithm>
#include <array>
#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// How long an emptied table keeps its picture while nothing has come.
constexpr auto longestHold = 200ms;
/// How often the table shows what keeps coming. A picture of it costs more than a block of items.
constexpr auto pictureInterval = 80ms;

} // namespace

ListingTable::ListingTable(QWidget* parent)
    : TextTable(parent)
{
    setSelectionMode(QAbstractItemView::SingleSelection);
    setDragEnabled(true);
    setAcceptDrops(true);
    setUpHeaders();
    m_hold.setSingleShot(true);
    connect(&m_hold, &QTimer::timeout, this, &ListingTable::showAgain);
}

void ListingTable::setUpHeaders()
{
    verticalHeader()->setDefaultSectionSize(static_cast<int>(ListingModel::rowHeight));
    QHeaderView& header = *horizontalHeader();
    header.setSectionsClickable(true);
    header.setSortIndicatorShown(true);
    header.setSortIndicator(0, Qt::AscendingOrder);
    connect(&header, &QHeaderView::sortIndicatorChanged, this, &ListingTable::sortDescriptorsDidChange);
}

void ListingTable::setListing(ListingModel& model)
{
    m_listing = &model;
    setModel(&model);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, &ListingTable::selectionChanges);
    connect(&model, &QAbstractItemModel::modelAboutToBeReset, this, &ListingTable::keepPlace);
    // A view that is reset drops its selection without a word.
    connect(&model, &QAbstractItemModel::modelReset, this, &ListingTable::tableViewSelectionDidChange);
    connect(&model, &QAbstractItemModel::layoutChanged, this, &ListingTable::restorePlace);
    setDefaultWidths();
}

void ListingTable::setDefaultWidths()
{
    const auto widthOf = [this](const QString& text) { return columnWidthFor(*this, text); };
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

// Keeping the place.

void ListingTable::keepPlace()
{
    if (m_listing->entries().isEmpty()) {
        return; // What is wanted from the list before stays wanted.
    }
    if (const int row = selectedRow(); row >= 0) {
        m_wantedName = m_listing->entries().at(row).name;
        m_wantedRow = row;
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
            goTo(row, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
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
    if (!m_wantedName.isNull() && model()->rowCount() > 0) {
        // The keyboard goes on from where the item was. Nothing is selected that the user has not chosen.
        goTo(qMin(m_wantedRow, model()->rowCount() - 1), QItemSelectionModel::NoUpdate);
    }
    forgetPlace();
}

void ListingTable::goTo(int row, QItemSelectionModel::SelectionFlags flags)
{
    m_isRestoring = true;
    setAutoScroll(false); // The place that shows is the user's.
    selectionModel()->setCurrentIndex(model()->index(row, 0), flags);
    setAutoScroll(true);
    m_isRestoring = false;
}

void ListingTable::selectionChanges()
{
    if (!m_isRestoring && selectionModel()->hasSelection()) {
        m_wantedName.clear(); // A new selection replaces the wanted one.
    }
    emit tableViewSelectionDidChange();
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
    static constexpr std::array modifiers{ Qt::Key_Shift, Qt::Key_Control, Qt::Key_Alt, Qt::Key_AltGr, Qt::Key_Meta };
    if (std::find(modifiers.begin(), modifiers.end(), event->key()) == modifiers.end()) {
        m_wantedScroll.reset(); // Not for those alone: they are part of going to another window.
    }
    const bool isArrow = event->key() == Qt::Key_Down || event->key() == Qt::Key_Up;
    if (isArrow && event->modifiers() == Qt::NoModifier && currentIndex().isValid()
        && !selectionModel()->hasSelection()) {
        selectionModel()->select(currentIndex(), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        event->accept(); // The row that was only marked before is the first to go to.
        return;
    }
    TextTable::keyPressEvent(event);
}

void ListingTable::mousePressEvent(QMouseEvent* event)
{
    showAgain();
    forgetPlace();
    TextTable::mousePressEvent(event);
    if (!indexAt(event->position().toPoint()).isValid()) {
        clearSelection();
    }
}

void ListingTable::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        TextTable::mouseDoubleClickEvent(event);
    } else {
        mousePressEvent(event); // Two clicks, which mean nothing together.
    }
}

void ListingTable::wheelEvent(QWheelEvent* event)
{
    m_wantedScroll.reset();
    TextTable::wheelEvent(event);
}

// Keys.

void ListingTable::keyboardSearch(const QString& text)
{
    // Typing looks for names, whatever column was clicked.
    if (currentIndex().column() > 0) {
        selectionModel()->setCurrentIndex(currentIndex().siblingAtColumn(0), QItemSelectionModel::NoUpdate);
    }
    TextTable::keyboardSearch(text);
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
        return TextTable::moveCursor(action, modifiers);
    }
}

// Painting.

void ListingTable::paintEvent(QPaintEvent* event)
{
    m_sincePicture.start();
    TextTable::paintEvent(event);
}
