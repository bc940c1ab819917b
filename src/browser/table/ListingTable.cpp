#include "ListingTable.h"

#include "DateText.h"
#include "FocusKeeping.h"
#include "ListingModel.h"
#include "SelectedRows.h"
#include "TableColumns.h"
#include "TablePlace.h"
#include "YieldingColumns.h"

#include <QDateTime>
#include <QHeaderView>
#include <QMouseEvent>
#include <QToolButton>

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

int column(const QString& title)
{
    return static_cast<int>(TableColumns::all.indexOf(title));
}

} // namespace

ListingTable::ListingTable(QWidget* parent)
    : TextTable(parent)
    , m_stopButton(new QToolButton(this))
{
    m_stopButton->setObjectName(u"stopListingButton"_s);
    m_stopButton->setText(u"Stop Listing"_s);
    m_stopButton->hide();
    connect(m_stopButton, &QToolButton::clicked, this, &ListingTable::stopRequested);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setDragEnabled(true);
    setAcceptDrops(true);
    setUpHeaders();
    m_hold.setSingleShot(true);
    connect(&m_hold, &QTimer::timeout, this, &ListingTable::showAgain);
}

void ListingTable::setUpHeaders()
{
    verticalHeader()->setDefaultSectionSize(static_cast<int>(ListingModel::heightOfRow(0)));
    QHeaderView& header = *horizontalHeader();
    header.setSectionsClickable(true);
    header.setSortIndicatorShown(true);
    header.setSortIndicator(0, Qt::AscendingOrder);
}

void ListingTable::setListing(ListingModel& model)
{
    m_listing = &model;
    m_dragAndDrop.setListing(model);
    setModel(&model);
    m_place = new TablePlace(*this, model);
    connect(m_place, &TablePlace::selectionChanged, this, &ListingTable::tableViewSelectionDidChange);
    connect(&model, &QAbstractItemModel::modelAboutToBeReset, this, &ListingTable::keepPlace);
    // A view that is reset drops its selection without a word.
    connect(&model, &QAbstractItemModel::modelReset, this, &ListingTable::tableViewSelectionDidChange);
    connect(&model, &QAbstractItemModel::layoutChanged, this, &ListingTable::restorePlace);
    connect(&model, &QAbstractItemModel::dataChanged, this, &ListingTable::restorePlace);
    connect(horizontalHeader(), &QHeaderView::sortIndicatorChanged, this, &ListingTable::orderChosen);
    setDefaultWidths();
}

void ListingTable::setDefaultWidths()
{
    const auto widthOf = [this](const QString& text) { return columnWidthFor(*this, text); };
    QHeaderView& header = *horizontalHeader();
    const QDate longDate(2028, 12, 28);
    const auto widthOfDateAt = [&](const QTime& time) { return widthOf(shortDateShortTimeText({ longDate, time })); };
    header.setMinimumSectionSize(widthOf(u"M"_s));
    header.resizeSection(column(TableColumns::size), widthOf(u"888.88 MB"_s));
    header.resizeSection(column(TableColumns::type), widthOf(TableColumns::type));
    header.resizeSection(column(TableColumns::date), std::max(widthOfDateAt({ 10, 58 }), widthOfDateAt({ 22, 58 })));
    header.resizeSection(column(TableColumns::mode), widthOf(u"drwxrwxrwx "_s) + 24);
    constexpr int leastCharacters = 14; // Of a name, so that names are told apart.
    new YieldingColumns(*this, column(TableColumns::name), widthOf(QString(leastCharacters, u'n')),
                        { column(TableColumns::date), column(TableColumns::mode) });
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

void ListingTable::sortDescriptorsDidChange()
{
    m_listing->sortListEntriesWithDescriptors(sortDescriptors());
}

void ListingTable::orderChosen()
{
    if (m_listing->rowCount() > mostRowsSortedInATurn) {
        m_listing->prepareSorting(sortDescriptors(), [this] { sortDescriptorsDidChange(); });
    } else {
        sortDescriptorsDidChange();
    }
}

int ListingTable::selectedRow() const
{
    const QItemSelection selection = selectionModel()->selection();
    const auto first = std::min_element(selection.begin(), selection.end(),
                                        [](const auto& one, const auto& other) { return one.top() < other.top(); });
    return first == selection.end() ? -1 : first->top();
}

QList<int> ListingTable::selectedRows() const
{
    return selectedRowsOf(*this);
}

void ListingTable::offerStop(bool isOffered)
{
    if (isOffered != m_stopButton->isVisibleTo(this)) {
        placeStopButton();
        setVisibleKeepingFocus(*m_stopButton, isOffered, *this);
    }
}

void ListingTable::placeStopButton()
{
    constexpr int margin = 12;
    m_stopButton->adjustSize();
    // Not on the viewport, whose children move when it is scrolled.
    const QRect place = viewport()->geometry();
    m_stopButton->move(place.center().x() - m_stopButton->width() / 2,
                       place.bottom() - m_stopButton->height() - margin);
}

void ListingTable::resizeEvent(QResizeEvent* event)
{
    TextTable::resizeEvent(event);
    placeStopButton();
}

// Keeping the place.

void ListingTable::keepPlace()
{
    m_sinceEmptied.start();
    if (m_listing->entries().isEmpty()) {
        return; // What is wanted from the list before stays wanted.
    }
    m_place->keep();
    setUpdatesEnabled(false);
    m_hold.start(longestHold);
}

void ListingTable::restorePlace()
{
    showSoon();
    if (m_place->awaitsScroll()) {
        updateGeometries(); // The scroll bar knows how far it goes. It takes time by the number of rows.
    }
    m_place->restore();
}

void ListingTable::listingEnded()
{
    // What has taken long is awaited, and listings that take long do not end often.
    const bool hasTakenLong = m_sinceEmptied.isValid() && m_sinceEmptied.hasExpired(pictureInterval.count());
    hasTakenLong ? showAgain() : showSoon();
    updateGeometries();
    m_place->end();
}

void ListingTable::folderChanged()
{
    m_place->forget();
    showAgain();
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
        m_place->forgetScroll(); // Not for those alone: they are part of going to another window.
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
    m_place->forget();
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
    m_place->forgetScroll();
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
