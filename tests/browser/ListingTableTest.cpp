#include "ListingTable.h"

#include "DateText.h"
#include "Entries.h"
#include "ListingModel.h"
#include "Printers.h"
#include "TableColumns.h"
#include "WaitFor.h"

#include <QElapsedTimer>
#include <QFontDatabase>
#include <QHeaderView>
#include <QHelpEvent>
#include <QLocale>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QToolTip>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

class ListingTableTest : public ::testing::Test {
protected:
    ListingTableTest()
    {
        m_table.setListing(m_model);
        m_table.resize(700, 300);
        m_table.show();
    }

    static QList<ListingEntry> numbered(int first, int end)
    {
        QList<ListingEntry> entries;
        for (int i = first; i < end; ++i) {
            entries.append(fileEntry(u"file %1"_s.arg(i, 4, 10, QChar(u'0'))));
        }
        return entries;
    }
    QString selectedName() const
    {
        const int row = m_table.selectedRow();
        return row < 0 ? QString() : m_model.entries().at(row).name;
    }
    void paint()
    {
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&m_table));
        m_table.viewport()->repaint();
    }
    /// Adds items so soon after a picture that they have to wait for the next one.
    void addRightAfterAPicture()
    {
        ASSERT_TRUE(waitFor([this] {
            paint();
            m_model.add(numbered(m_model.rowCount(), m_model.rowCount() + 3));
            return !m_table.updatesEnabled(); // Unless the machine was too slow for that.
        }));
    }
    /// The smallest rectangle around all that is painted of a column's cell in the first row, as seen from the cell.
    QRect inkOf(int column)
    {
        const QRect cell = m_table.visualRect(m_model.index(0, column));
        const QImage picture = m_table.viewport()->grab(cell).toImage();
        QRegion ink;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                if (picture.pixel(x, y) != picture.pixel(0, 0)) {
                    ink += QRect(x, y, 1, 1);
                }
            }
        }
        return ink.boundingRect();
    }
    void press(Qt::Key key) { QTest::keyClick(&m_table, key); }

    ListingModel m_model;
    ListingTable m_table;
};

TEST_F(ListingTableTest, RowsAreThirtyHigh)
{
    m_model.add(numbered(0, 3));

    EXPECT_EQ(m_table.rowHeight(0), 30);
    EXPECT_EQ(m_table.rowHeight(2), 30);
}

TEST_F(ListingTableTest, TheIconStandsBeforeTheNameAndTheRestBehindIt)
{
    QStringList titles;
    for (int place = 0; place < m_model.columnCount(); ++place) {
        titles.append(TableColumns::all.at(m_table.horizontalHeader()->logicalIndex(place)));
    }

    EXPECT_EQ(titles, (QStringList{ u"Type"_s, u"Name"_s, u"Size"_s, u"Date"_s, u"Mode"_s }));
}

TEST_F(ListingTableTest, TextsAreCentredInTheirRowsAndSizesStandOnTheRight)
{
    m_model.add({ fileEntry(u"Ägypten"_s, 5) });

    const QRect name = inkOf(0);
    EXPECT_NEAR(name.center().y(), 15, 3);
    EXPECT_LT(name.center().x(), m_table.columnWidth(0) / 2);
    const QRect size = inkOf(1);
    EXPECT_NEAR(size.center().y(), 15, 3);
    EXPECT_GT(size.center().x(), m_table.columnWidth(1) / 2);
}

TEST_F(ListingTableTest, TheArrowOfTheOrderStandsAtItsTitle)
{
    QHeaderView& header = *m_table.horizontalHeader();
    const auto pictureOf = [&header](int sorted, int section) {
        header.setSortIndicator(sorted, Qt::AscendingOrder);
        return header.grab({ header.sectionViewportPosition(section), 0, header.sectionSize(section), header.height() })
            .toImage();
    };
    // Where the pictures of a title with and without the arrow differ.
    const auto placeOfArrow = [&pictureOf](int section) {
        const QImage with = pictureOf(section, section);
        const QImage without = pictureOf(1 - section, section);
        QRect place;
        for (int y = 0; y < with.height(); ++y) {
            for (int x = 0; x < with.width(); ++x) {
                place |= with.pixel(x, y) == without.pixel(x, y) ? QRect() : QRect(x, y, 1, 1);
            }
        }
        return place.center();
    };
    const auto widthOf = [&header](const QString& title) { return header.fontMetrics().horizontalAdvance(title); };

    const QPoint atName = placeOfArrow(0);
    EXPECT_NEAR(atName.x(), 7 + widthOf(TableColumns::name) + 9, 3);
    EXPECT_NEAR(atName.y(), header.height() / 2, 3);
    EXPECT_NEAR(placeOfArrow(1).x(), header.sectionSize(1) - 7 - widthOf(TableColumns::size) - 9, 3);
}

TEST_F(ListingTableTest, InANarrowTableModesAndThenDatesGiveWayToNames)
{
    const auto column = [](const QString& title) { return static_cast<int>(TableColumns::all.indexOf(title)); };
    const int leastForNames = columnWidthFor(m_table, QString(14, u'n'));
    const QHeaderView& header = *m_table.horizontalHeader();
    const int modeWidth = m_table.columnWidth(column(TableColumns::mode));
    QStringList seen;
    for (int width = 700; width >= 300; width -= 10) {
        m_table.resize(width, 300);
        EXPECT_GE(m_table.columnWidth(column(TableColumns::name)), leastForNames) << width;
        const QString shown = (header.isSectionHidden(column(TableColumns::date)) ? u""_s : u"date "_s)
            + (header.isSectionHidden(column(TableColumns::mode)) ? u""_s : u"mode"_s);
        if (!seen.contains(shown)) {
            seen.append(shown);
        }
    }
    EXPECT_EQ(seen, (QStringList{ u"date mode"_s, u"date "_s, u""_s }));

    m_table.resize(700, 300);

    EXPECT_EQ(m_table.columnWidth(column(TableColumns::mode)), modeWidth);
}

TEST_F(ListingTableTest, AColumnThatIsMadeWiderTakesNothingFromTheLeastOfNames)
{
    const int dates = static_cast<int>(TableColumns::all.indexOf(TableColumns::date));

    m_table.setColumnWidth(dates, 350);
    drainEventLoop();

    EXPECT_TRUE(m_table.isColumnHidden(static_cast<int>(TableColumns::all.indexOf(TableColumns::mode))));
    EXPECT_FALSE(m_table.isColumnHidden(dates));
    EXPECT_GE(m_table.columnWidth(0), columnWidthFor(m_table, QString(14, u'n')));
}

TEST_F(ListingTableTest, AColumnThatIsMadeTooWideHasItsUsualWidthAgain)
{
    for (const QString& title : { TableColumns::date, TableColumns::mode }) {
        const int column = static_cast<int>(TableColumns::all.indexOf(title));
        const int usual = m_table.columnWidth(column);

        m_table.setColumnWidth(column, 5000);
        EXPECT_TRUE(waitFor([&] { return !m_table.isColumnHidden(column) && m_table.columnWidth(column) == usual; }))
            << title.toStdString();
    }
}

TEST_F(ListingTableTest, DatesOfEveryLocaleFitTheirColumn)
{
    for (const QLocale::Language language : { QLocale::English, QLocale::German, QLocale::Arabic, QLocale::Chinese }) {
        QLocale::setDefault(QLocale(language));
        ListingTable table;
        table.setListing(m_model);
        const QString date = shortDateShortTimeText(QDateTime(QDate(2026, 11, 22), QTime(19, 38)));

        EXPECT_GE(table.columnWidth(3), table.fontMetrics().horizontalAdvance(date) + 16) << date.toStdString();
    }
    QLocale::setDefault(QLocale::system());
}

TEST_F(ListingTableTest, ALargeFontFitsTheRows)
{
    m_model.add({ fileEntry(u"Ägypten"_s, 5) });
    QFont font = m_table.font();
    font.setPointSizeF(40);
    m_table.setFont(font);

    const QRect ink = inkOf(0);

    EXPECT_EQ(m_table.rowHeight(0), 30);
    EXPECT_GT(ink.top(), 0);
    EXPECT_LT(ink.bottom(), 29);
}

TEST_F(ListingTableTest, ATextThatIsCutStandsWholeInAToolTip)
{
    ListingEntry entry = fileEntry(u"a"_s);
    entry.modDate = 0;
    m_model.add({ entry });
    const QModelIndex date = m_model.index(0, 3);
    const auto toolTipOver = [this, &date] {
        QToolTip::hideText();
        QHelpEvent hover(QEvent::ToolTip, m_table.visualRect(date).center(), QPoint(5, 5));
        QApplication::sendEvent(m_table.viewport(), &hover);
        return QToolTip::text();
    };
    EXPECT_EQ(toolTipOver(), u""_s);

    m_table.setColumnWidth(3, 40);

    EXPECT_TRUE(toolTipOver().contains(date.data().toString()));
}

TEST_F(ListingTableTest, PermissionsAreWrittenInTheFixedFont)
{
    m_model.add({ fileEntry(u"a"_s) });
    const int column = static_cast<int>(TableColumns::all.indexOf(TableColumns::mode));
    const QString text = m_model.index(0, column).data().toString().trimmed();
    const auto widthIn = [&text](const QFont& font) { return QFontMetrics(font).tightBoundingRect(text).width(); };
    const int expected = widthIn(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    ASSERT_GT(std::abs(expected - widthIn(m_table.font())), 4);

    EXPECT_NEAR(inkOf(column).width(), expected, 2);
}

TEST_F(ListingTableTest, TheTextOfTheSelectedRowHasTheColourForThat)
{
    QPalette palette = m_table.palette();
    palette.setColor(QPalette::Text, Qt::black);
    palette.setColor(QPalette::Highlight, Qt::white);
    palette.setColor(QPalette::HighlightedText, Qt::red);
    m_table.setPalette(palette);
    m_model.add({ fileEntry(u"selected"_s) });
    m_table.selectRow(0);

    const QImage picture = m_table.viewport()->grab(m_table.visualRect(m_model.index(0, 0))).toImage();

    int strongestRed = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QColor colour = picture.pixelColor(x, y);
            strongestRed = std::max(strongestRed, colour.red() - colour.blue());
        }
    }
    EXPECT_GT(strongestRed, 100);
}

TEST_F(ListingTableTest, AClickOnATitleSortsAndShowsTheArrow)
{
    QList<ListingEntry> entries = numbered(0, 2);
    entries[0].size = 9;
    entries[1].size = 1;
    m_model.add(entries);
    QHeaderView* const header = m_table.horizontalHeader();
    EXPECT_EQ(m_table.sortDescriptors(), (QList<SortDescriptor>{ { .key = u"Name"_s } }));
    const auto click = [&](int section) {
        const QPoint middle(header->sectionViewportPosition(section) + header->sectionSize(section) / 2, 10);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, middle);
    };

    click(1);
    EXPECT_EQ(m_table.sortDescriptors(), (QList<SortDescriptor>{ { .key = u"Size"_s } }));
    EXPECT_EQ(m_model.entries().at(0).size, 1);
    click(1);
    EXPECT_EQ(m_table.sortDescriptors(), (QList<SortDescriptor>{ { .key = u"Size"_s, .ascending = false } }));
    EXPECT_EQ(m_model.entries().at(0).size, 9);
    EXPECT_TRUE(header->isSortIndicatorShown());
}

TEST_F(ListingTableTest, ShiftAndControlSelectFurtherRows)
{
    m_model.add(numbered(0, 9));
    QSignalSpy changes(&m_table, &ListingTable::tableViewSelectionDidChange);
    EXPECT_EQ(m_table.selectedRow(), -1);
    const auto click = [this](int row, Qt::KeyboardModifiers modifiers) {
        QTest::mouseClick(m_table.viewport(), Qt::LeftButton, modifiers,
                          m_table.visualRect(m_model.index(row, 0)).center());
    };

    click(2, {});
    click(4, Qt::ShiftModifier);
    EXPECT_EQ(m_table.selectedRows(), (QList<int>{ 2, 3, 4 }));
    click(0, Qt::ControlModifier);
    click(3, Qt::ControlModifier);

    EXPECT_EQ(m_table.selectedRows(), (QList<int>{ 0, 2, 4 }));
    EXPECT_EQ(m_table.selectedRow(), 0);
    EXPECT_EQ(changes.size(), 4);
    click(4, {});
    EXPECT_EQ(m_table.selectedRows(), QList<int>{ 4 });
}

TEST_F(ListingTableTest, SeveralSelectedRowsAreThereAgainAfterARefreshWithoutWhatHasGone)
{
    m_model.add(numbered(0, 9));
    for (const int row : { 1, 2, 3, 7 }) {
        m_table.selectionModel()->select(m_model.index(row, 0),
                                         QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }

    m_model.clear();
    m_model.add(numbered(2, 9));
    m_table.listingEnded();

    EXPECT_EQ(m_table.selectedRows(), (QList<int>{ 0, 1, 5 })); // Files 2, 3 and 7.
    EXPECT_EQ(m_table.currentIndex().row(), 0);
}

TEST_F(ListingTableTest, AClickBelowTheRowsSelectsNothing)
{
    m_model.add(numbered(0, 2));
    m_table.selectRow(1);

    QTest::mouseClick(m_table.viewport(), Qt::LeftButton, {}, QPoint(50, 150));

    EXPECT_EQ(m_table.selectedRow(), -1);
}

TEST_F(ListingTableTest, SelectionAndScrollPositionSurviveBatches)
{
    m_model.add(numbered(100, 200));
    m_table.selectRow(50);
    m_table.verticalScrollBar()->setValue(1200);

    m_model.add(numbered(0, 100));
    m_model.add(numbered(200, 300));

    EXPECT_EQ(selectedName(), u"file 0150"_s);
    EXPECT_EQ(m_table.selectedRow(), 150);
    EXPECT_EQ(m_table.verticalScrollBar()->value(), 1200);
}

TEST_F(ListingTableTest, SelectionAndScrollPositionSurviveARefresh)
{
    m_model.add(numbered(0, 200));
    m_table.selectRow(120);
    m_table.verticalScrollBar()->setValue(3000);
    QSignalSpy changes(&m_table, &ListingTable::tableViewSelectionDidChange);

    m_model.clear();
    EXPECT_EQ(m_table.selectedRow(), -1);
    EXPECT_EQ(changes.size(), 1);
    m_model.add(numbered(100, 200));
    EXPECT_EQ(selectedName(), u"file 0120"_s);
    EXPECT_LT(m_table.verticalScrollBar()->value(), 3000);
    m_model.add(numbered(0, 100));

    EXPECT_EQ(selectedName(), u"file 0120"_s);
    EXPECT_EQ(m_table.verticalScrollBar()->value(), 3000);
}

TEST_F(ListingTableTest, ASelectionThatComesBackLateLeavesTheScrollPositionAlone)
{
    m_model.add(numbered(0, 200));
    m_table.selectRow(150);
    m_table.verticalScrollBar()->setValue(600);

    m_model.clear();
    m_model.add(numbered(0, 100));
    EXPECT_EQ(m_table.verticalScrollBar()->value(), 600);
    m_model.add(numbered(100, 200));

    EXPECT_EQ(selectedName(), u"file 0150"_s);
    EXPECT_EQ(m_table.verticalScrollBar()->value(), 600);
}

TEST_F(ListingTableTest, WhoUsesTheTableDuringARefreshIsNotScrolledBackToTheFormerPlace)
{
    const QPoint place(10, 250); // Below the first rows.
    const auto click = [this, place] { QTest::mouseClick(m_table.viewport(), Qt::LeftButton, {}, place); };
    const auto turnTheWheel = [this, place] {
        QWheelEvent turn(place, m_table.viewport()->mapToGlobal(place), {}, { 0, 120 }, {}, {}, Qt::NoScrollPhase,
                         false);
        QCoreApplication::sendEvent(m_table.viewport(), &turn);
    };
    const auto pressHome = [this] { press(Qt::Key_Home); };
    for (const std::function<void()>& use : { std::function<void()>(click), { turnTheWheel }, { pressHome } }) {
        m_model.clear();
        m_model.add(numbered(0, 200));
        drainEventLoop();
        m_table.verticalScrollBar()->setValue(3000);
        ASSERT_EQ(m_table.verticalScrollBar()->value(), 3000);
        m_model.clear();
        m_model.add(numbered(0, 3));

        use();
        m_model.add(numbered(3, 200));
        m_table.listingEnded();

        EXPECT_LT(m_table.verticalScrollBar()->value(), 3000);
    }
}

TEST_F(ListingTableTest, AfterADeletionTheKeyboardGoesOnFromThere)
{
    m_model.add(numbered(0, 100));
    m_table.selectRow(50);
    m_table.setFocus();

    m_model.clear();
    m_model.add(numbered(0, 50) + numbered(51, 100));
    m_table.listingEnded();

    EXPECT_EQ(m_table.selectedRow(), -1);
    EXPECT_EQ(m_table.currentIndex().row(), 50);
    press(Qt::Key_Down);
    EXPECT_EQ(selectedName(), u"file 0051"_s);
    press(Qt::Key_Down);
    EXPECT_EQ(selectedName(), u"file 0052"_s);
}

TEST_F(ListingTableTest, TheFirstArrowKeySelectsTheMarkedRow)
{
    m_model.add(numbered(0, 3));
    m_table.setCurrentIndex({});
    m_table.setFocus(Qt::TabFocusReason);
    m_table.selectionModel()->setCurrentIndex(m_model.index(0, 0), QItemSelectionModel::NoUpdate);

    press(Qt::Key_Down);

    EXPECT_EQ(m_table.selectedRow(), 0);
}

TEST_F(ListingTableTest, TheMarkedRowIsShownBeforeItIsSelected)
{
    m_model.add(numbered(0, 3));
    QApplication::setActiveWindow(&m_table);
    m_table.setFocus();
    m_table.selectionModel()->setCurrentIndex({}, QItemSelectionModel::NoUpdate);
    const QImage unmarked = m_table.viewport()->grab().toImage();

    m_table.selectionModel()->setCurrentIndex(m_model.index(1, 0), QItemSelectionModel::NoUpdate);

    EXPECT_NE(m_table.viewport()->grab().toImage(), unmarked);
}

TEST_F(ListingTableTest, WhatIsSelectedWithoutAKeyMeanwhileStaysToo)
{
    m_model.add(numbered(0, 3));
    m_table.selectRow(1);
    m_model.clear();
    m_model.add(numbered(2, 3));

    m_table.selectRow(0); // As a screen reader does.
    m_model.add(numbered(0, 2));

    EXPECT_EQ(selectedName(), u"file 0002"_s);
}

TEST_F(ListingTableTest, AModifierAloneForgetsNothing)
{
    m_model.add(numbered(0, 200));
    m_table.selectRow(120);
    m_table.verticalScrollBar()->setValue(3000);
    m_table.setFocus();
    m_model.clear();

    press(Qt::Key_Alt);
    press(Qt::Key_Control);
    m_model.add(numbered(0, 200));

    EXPECT_EQ(selectedName(), u"file 0120"_s);
    EXPECT_EQ(m_table.verticalScrollBar()->value(), 3000);
}

TEST_F(ListingTableTest, ANameThatIsGoneIsNotSelectedLater)
{
    m_model.add(numbered(0, 3));
    m_table.selectRow(1);

    m_model.clear();
    m_model.add(numbered(2, 3));
    m_table.listingEnded();
    m_model.add(numbered(1, 2));

    EXPECT_EQ(m_table.selectedRow(), -1);
}

TEST_F(ListingTableTest, WhatTheUserSelectsMeanwhileStays)
{
    m_model.add(numbered(0, 3));
    m_table.selectRow(1);
    m_model.clear();
    m_model.add(numbered(2, 3));
    m_table.setFocus();

    press(Qt::Key_Home);
    m_model.add(numbered(0, 2));

    EXPECT_EQ(selectedName(), u"file 0002"_s);
}

TEST_F(ListingTableTest, TheOldPictureStaysForAFifthOfASecondAtMost)
{
    m_model.add(numbered(0, 3));

    m_model.clear();
    EXPECT_FALSE(m_table.updatesEnabled());
    EXPECT_EQ(m_table.findChild<QTimer*>()->interval(), 200);
    EXPECT_TRUE(waitFor([this] { return m_table.updatesEnabled(); }));

    m_model.add(numbered(0, 3));
    m_model.clear();
    m_model.add(numbered(0, 3));
    EXPECT_TRUE(waitFor([this] { return m_table.updatesEnabled(); }));
    m_model.clear();
    m_table.listingEnded();
    EXPECT_TRUE(waitFor([this] { return m_table.updatesEnabled(); }));
}

TEST_F(ListingTableTest, ItemsThatComeRightAfterAPictureWaitForTheNextOne)
{
    addRightAfterAPicture();

    EXPECT_GE(m_model.rowCount(), 3);
    EXPECT_LE(m_table.findChild<QTimer*>()->interval(), 80); // Twelve a second.
    EXPECT_TRUE(waitFor([this] { return m_table.updatesEnabled(); }));
}

TEST_F(ListingTableTest, TheEndOfAListingThatHasTakenLongIsShownAtOnce)
{
    m_model.clear();
    QElapsedTimer sinceEmptied;
    sinceEmptied.start();
    ASSERT_TRUE(waitFor([&sinceEmptied] { return sinceEmptied.hasExpired(100); }));
    addRightAfterAPicture();

    m_table.listingEnded();

    EXPECT_TRUE(m_table.updatesEnabled());
}

TEST_F(ListingTableTest, TheEndOfAShortListingWaitsForTheNextPicture)
{
    ASSERT_TRUE(waitFor([this] {
        m_model.clear();
        m_model.add(numbered(0, 3));
        paint();
        m_table.listingEnded();
        return !m_table.updatesEnabled(); // Unless the machine was too slow for that.
    }));
}

TEST_F(ListingTableTest, AClickOnATitleSortsVeryManyRowsBesideTheLoop)
{
    const auto firstName = [this] { return m_model.entries().at(0).name; };
    m_model.add(numbered(0, ListingTable::mostRowsSortedInATurn + 1));
    m_table.selectRow(1);

    m_table.horizontalHeader()->setSortIndicator(0, Qt::DescendingOrder);
    EXPECT_EQ(firstName(), u"file 0000"_s);
    EXPECT_TRUE(waitFor([&firstName] { return firstName() == u"file 99999"_s; }));
    EXPECT_EQ(selectedName(), u"file 0001"_s);

    // The last of two clicks counts.
    m_table.horizontalHeader()->setSortIndicator(1, Qt::DescendingOrder);
    m_table.horizontalHeader()->setSortIndicator(0, Qt::AscendingOrder);
    EXPECT_TRUE(waitFor([&firstName] { return firstName() == u"file 0000"_s; }));

    m_table.horizontalHeader()->setSortIndicator(0, Qt::DescendingOrder);
    m_table.sortDescriptorsDidChange();
    EXPECT_EQ(firstName(), u"file 99999"_s);
}

TEST_F(ListingTableTest, WhoeverUsesTheTableSeesItAtOnce)
{
    addRightAfterAPicture();

    press(Qt::Key_Down);

    EXPECT_TRUE(m_table.updatesEnabled());
}

TEST_F(ListingTableTest, TypingSelectsByNameWhateverColumnWasClicked)
{
    m_model.add({ fileEntry(u"alpha"_s), fileEntry(u"beta"_s), fileEntry(u"gamma"_s) });
    m_table.setFocus();
    m_table.setCurrentIndex(m_model.index(0, 3));

    QTest::keyClicks(&m_table, u"ga"_s);

    EXPECT_EQ(selectedName(), u"gamma"_s);
}

TEST_F(ListingTableTest, HomeAndEndGoToTheFirstAndLastRow)
{
    m_model.add(numbered(0, 50));
    m_table.setFocus();
    m_table.selectRow(20);

    press(Qt::Key_End);
    EXPECT_EQ(m_table.selectedRow(), 49);
    press(Qt::Key_Home);
    EXPECT_EQ(m_table.selectedRow(), 0);
}

TEST_F(ListingTableTest, TabLeavesTheTable)
{
    EXPECT_FALSE(m_table.tabKeyNavigation());
}

TEST_F(ListingTableTest, AnEmptyTableSaysWhy)
{
    const QImage blank = m_table.viewport()->grab().toImage();

    m_table.setEmptyText(u"Empty folder"_s);
    EXPECT_NE(m_table.viewport()->grab().toImage(), blank);
    EXPECT_EQ(m_table.accessibleDescription(), u"Empty folder"_s);

    m_model.add(numbered(0, 1));
    const QImage full = m_table.viewport()->grab().toImage();
    m_table.setEmptyText(u""_s);
    EXPECT_EQ(m_table.viewport()->grab().toImage(), full);
}

TEST_F(ListingTableTest, ScreenReadersHearHowManyRowsThereAreOrWhyThereAreNone)
{
    const auto isDescribedAs
        = [this](const QString& words) { return waitFor([&] { return m_table.accessibleDescription() == words; }); };
    m_table.setEmptyText(u"Empty folder"_s);
    m_model.add(numbered(0, 1));
    EXPECT_TRUE(isDescribedAs(u"1 row"_s));

    m_model.add(numbered(1, 1000));
    EXPECT_TRUE(isDescribedAs(u"1000 rows"_s));

    m_model.clear();
    EXPECT_TRUE(isDescribedAs(u"Empty folder"_s));
}

TEST_F(ListingTableTest, OddNamesKeepTheirRows)
{
    m_model.add({ fileEntry(QString(1'000'000, u'x')), fileEntry(u"مرحبا بالعالم.txt"_s), fileEntry(u"a\nb"_s) });

    EXPECT_EQ(m_table.rowHeight(0), 30);
    EXPECT_EQ(m_table.rowHeight(2), 30);
    EXPECT_FALSE(m_table.grab().isNull());
    EXPECT_LE(m_table.horizontalHeader()->length(), m_table.viewport()->width());
}

} // namespace
