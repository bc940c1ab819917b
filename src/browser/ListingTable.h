#pragma once

#include "SortDescriptor.h"

#include <QElapsedTimer>
#include <QList>
#include <QString>
#include <QTableView>
#include <QTimer>

#include <optional>

class ListingModel;

/// The table of the destination folder. What the user sees stays in place while the folder is listed anew: the selected
/// name, the scroll position, and for a moment the old picture.
class ListingTable final : public QTableView {
    Q_OBJECT

public:
    explicit ListingTable(QWidget* parent = nullptr);

    /// @p model outlives the table.
    void setListing(ListingModel& model);

    /// The column that the header's arrow shows; none without an arrow.
    QList<SortDescriptor> sortDescriptors() const;
    /// -1 without a selection.
    int selectedRow() const;
    /// What an empty table says.
    const QString& emptyText() const { return m_emptyText; }
    void setEmptyText(const QString& text);
    /// All items have come: what has not come back by now is gone.
    void listingEnded();

signals:
    void sortDescriptorsDidChange();
    void tableViewSelectionDidChange();

public: // What a view answers to.
    void keyboardSearch(const QString& text) override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void setUpHeaders();
    void setDefaultWidths();
    void keepPlace();
    void restorePlace();
    void forgetPlace();
    void showSoon();
    void showAgain();

    ListingModel* m_listing = nullptr;
    QString m_emptyText;
    QString m_wantedName; ///< Of the item that was selected before the list was emptied; null: none.
    std::optional<int> m_wantedScroll;
    int m_searchedArrivals = 0; ///< So many items are known not to have the wanted name.
    QTimer m_hold; ///< Runs while the old picture stays.
    QElapsedTimer m_sincePicture; ///< Since the table was last painted.
};
