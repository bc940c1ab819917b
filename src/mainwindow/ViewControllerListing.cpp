// The table of the destination folder.

#include "CellValue.h"
#include "FocusKeeping.h"
#include "ViewController.h"
#include "ui_MainWindow.h"

using namespace Qt::StringLiterals;

void ViewController::addListEntries(const QList<ListingEntry>& entries)
{
    if (m_lc->isReceiving()) {
        m_listingSource = { m_listedLocation, m_lc->peerAddress() };
    }
    m_history.listed(entries);
    m_listing.add(entries); // At their places in the table's present order.
}

void ViewController::sortListEntriesByNameAscending()
{
    m_listing.sortBy({});
}

void ViewController::sortListEntriesWithDescriptors(const QList<SortDescriptor>& descriptors)
{
    m_listing.sortBy(descriptors);
}

void ViewController::sortDescriptorsDidChange()
{
    sortListEntriesWithDescriptors(m_ui->destinationListingTable->sortDescriptors());
}

qsizetype ViewController::numberOfRowsInTableView() const
{
    return listEntries().size();
}

QVariant ViewController::objectValueForTableColumn(const QString& column, qsizetype row) const
{
    return row >= 0 && row < numberOfRowsInTableView() ? cellValue(listEntries().at(row), column) : QVariant();
}

double ViewController::heightOfRow(qsizetype /*row*/) const
{
    return ListingModel::rowHeight;
}

bool ViewController::shouldSelectRow(qsizetype /*row*/) const
{
    return true;
}

void ViewController::tableViewSelectionDidChange(const QObject* table)
{
    if (table == m_ui->destinationListingTable) {
        const bool isSelected = m_ui->destinationListingTable->selectedRow() != -1;
        for (QPushButton* button : { m_ui->deleteButton, m_ui->downloadButton }) {
            setEnabledKeepingFocus(*button, isSelected, *m_ui->destinationListingTable);
        }
    }
}

bool ViewController::listingContainsName(const QString& name) const
{
    return listEntries().contains(name);
}

void ViewController::showListingState()
{
    const bool isListing = m_lc->isReceiving();
    if (m_wasListing && !isListing) {
        m_ui->destinationListingTable->listingEnded();
    }
    m_wasListing = isListing;
    const auto text = [this, isListing] {
        if (isListing) {
            return u"Listing…"_s;
        }
        if (!m_hasDestination) {
            return u"No destination"_s;
        }
        return m_isListed ? u"Empty folder"_s : u""_s;
    };
    m_ui->destinationListingTable->setEmptyText(text());
}
