#pragma once

#include <QItemSelectionModel>
#include <QObject>
#include <QSet>
#include <QString>

#include <optional>

class ListingModel;
class QTableView;

/// Keeps what the user sees of a table in place while its folder is listed again: the selected names, the current row
/// and the scroll position. Belongs to the main thread.
class TablePlace final : public QObject {
    Q_OBJECT

public:
    /// @p table shows @p listing; both outlive the place.
    TablePlace(QTableView& table, ListingModel& listing);

    /// The list is about to be emptied.
    void keep();
    /// Items have come.
    void restore();
    /// Whether a scroll position waits for enough rows.
    bool awaitsScroll() const { return m_wantedScroll.has_value(); }
    /// All items have come: what has not come back by now is gone.
    void end();
    /// The user goes elsewhere, or the list is about another folder.
    void forget();
    void forgetScroll() { m_wantedScroll.reset(); }

signals:
    /// The selection has changed, be it by the user or by coming back.
    void selectionChanged();

private:
    void selectionChanges();
    void goTo(int row, QItemSelectionModel::SelectionFlags flags);

    QTableView& m_table;
    ListingModel& m_listing;
    void selectAll(const QSet<QString>& names);

    QString m_wantedName; ///< Of the one item that was selected before the list was emptied; null: none.
    int m_wantedRow = -1; ///< Where that item was.
    QSet<QString> m_wantedNames; ///< Of several. They come back together, when all items have come.
    bool m_isRestoring = false; ///< What is selected now, the user has not chosen now.
    std::optional<int> m_wantedScroll;
    int m_searchedArrivals = 0; ///< So many items are known not to have the wanted name.
};
