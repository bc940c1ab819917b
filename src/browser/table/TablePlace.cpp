#include "TablePlace.h"

#include "ListingModel.h"
#include "SelectedRows.h"

#include <QScrollBar>
#include <QTableView>

TablePlace::TablePlace(QTableView& table, ListingModel& listing)
    : QObject(&table)
    , m_table(table)
    , m_listing(listing)
{
    connect(table.selectionModel(), &QItemSelectionModel::selectionChanged, this, &TablePlace::selectionChanges);
}

void TablePlace::keep()
{
    if (const QList<int> rows = selectedRowsOf(m_table); rows.size() == 1) {
        m_wantedRow = rows.first();
        m_wantedName = m_listing.entries().at(m_wantedRow).name;
    } else if (!rows.isEmpty()) {
        for (const int row : rows) {
            m_wantedNames.insert(m_listing.entries().at(row).name);
        }
    }
    if (!m_wantedScroll) {
        m_wantedScroll = m_table.verticalScrollBar()->value();
    }
    m_searchedArrivals = 0;
}

void TablePlace::restore()
{
    const ListEntries& entries = m_listing.entries();
    for (; !m_wantedName.isNull() && m_searchedArrivals < entries.size(); ++m_searchedArrivals) {
        if (entries.arrival(m_searchedArrivals).name == m_wantedName) {
            const int row = entries.rowsOfArrivals()[static_cast<size_t>(m_searchedArrivals)];
            m_wantedName.clear();
            goTo(row, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        }
    }
    if (m_wantedScroll && *m_wantedScroll <= m_table.verticalScrollBar()->maximum()) {
        m_table.verticalScrollBar()->setValue(*m_wantedScroll);
        m_wantedScroll.reset();
    }
}

void TablePlace::end()
{
    if (m_wantedScroll) {
        m_table.verticalScrollBar()->setValue(*m_wantedScroll); // As far as there is still something.
    }
    if (const int rows = m_listing.rowCount(); !m_wantedName.isNull() && rows > 0) {
        // The keyboard goes on from where the item was. Nothing is selected that the user has not chosen.
        goTo(qMin(m_wantedRow, rows - 1), QItemSelectionModel::NoUpdate);
    }
    if (!m_wantedNames.isEmpty()) {
        selectAll(m_wantedNames);
    }
    forget();
}

void TablePlace::forget()
{
    m_wantedName.clear();
    m_wantedNames.clear();
    m_wantedScroll.reset();
}

void TablePlace::selectAll(const QSet<QString>& names)
{
    QItemSelection selection;
    const int rows = m_listing.rowCount();
    const auto isWanted = [&](int row) { return names.contains(m_listing.entries().at(row).name); };
    for (int row = 0; row < rows; ++row) {
        const int first = row;
        while (row < rows && isWanted(row)) {
            ++row;
        }
        if (row > first) {
            selection.append({ m_listing.index(first, 0), m_listing.index(row - 1, m_listing.columnCount() - 1) });
        }
    }
    m_isRestoring = true;
    m_table.selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    m_isRestoring = false;
    if (!selection.isEmpty()) {
        goTo(selection.first().top(), QItemSelectionModel::NoUpdate); // Where the keyboard goes on.
    }
}

void TablePlace::goTo(int row, QItemSelectionModel::SelectionFlags flags)
{
    m_isRestoring = true;
    m_table.setAutoScroll(false); // The place that shows is the user's.
    m_table.selectionModel()->setCurrentIndex(m_listing.index(row, 0), flags);
    m_table.setAutoScroll(true);
    m_isRestoring = false;
}

void TablePlace::selectionChanges()
{
    if (!m_isRestoring && m_table.selectionModel()->hasSelection()) {
        m_wantedName.clear(); // A new selection replaces the wanted one.
        m_wantedNames.clear();
    }
    emit selectionChanged();
}
