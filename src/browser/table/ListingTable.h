#pragma once

#include "SortDescriptor.h"
#include "TableDragAndDrop.h"
#include "TextTable.h"

#include <QElapsedTimer>
#include <QList>
#include <QString>
#include <QTimer>

class ListingModel;
class QToolButton;
class TablePlace;

/// The table of the destination folder. What the user sees stays in place while the folder is listed again: the
/// selected name, the scroll position, and for a moment the old picture.
class ListingTable final : public TextTable {
    Q_OBJECT

public:
    /// More take so long that a click on a title sorts them beside the loop.
    static constexpr int mostRowsSortedInATurn = 100'000;

    explicit ListingTable(QWidget* parent = nullptr);

    /// @p model outlives the table.
    void setListing(ListingModel& model);
    /// @p dragging, not owned, outlives the table or is taken back by null: without it nothing is dragged.
    void setDragging(TableDragging* dragging) { m_dragAndDrop.setDragging(dragging); }

    /// The column that the header's arrow shows; none without an arrow.
    QList<SortDescriptor> sortDescriptors() const;
    /// The first of the selected rows; -1 without a selection.
    int selectedRow() const;
    /// All of them, from the top.
    QList<int> selectedRows() const;
    /// Sorts by sortDescriptors(): the user has chosen another order, or items have come.
    void sortDescriptorsDidChange();
    /// All items have come: what has not come back by now is gone.
    void listingEnded();
    /// The list is about another folder than before: nothing comes back, and the old picture goes at once.
    void folderChanged();

    /// Whether a button on the table offers to end the listing that runs.
    void offerStop(bool isOffered);

signals:
    void stopRequested();
    void tableViewSelectionDidChange();

public: // What a view answers to.
    void keyboardSearch(const QString& text) override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void startDrag(Qt::DropActions /*actions*/) override { m_dragAndDrop.startDrag(); }
    void dragEnterEvent(QDragEnterEvent* event) override { m_dragAndDrop.enter(*event); }
    void dragMoveEvent(QDragMoveEvent* event) override { m_dragAndDrop.move(*event); }
    void dragLeaveEvent(QDragLeaveEvent* /*event*/) override { m_dragAndDrop.leave(); }
    void dropEvent(QDropEvent* event) override { m_dragAndDrop.drop(*event); }
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    int highlightWidth() const override { return m_dragAndDrop.isDropTarget() ? 5 : TextTable::highlightWidth(); }

private:
    void setUpHeaders();
    void orderChosen();
    void setDefaultWidths();
    void placeStopButton();
    void keepPlace();
    void restorePlace();
    void showSoon();
    void showAgain();

    ListingModel* m_listing = nullptr;
    QToolButton* m_stopButton;
    TablePlace* m_place = nullptr; ///< Of m_listing.
    QTimer m_hold{ this }; ///< Runs while the old picture stays.
    TableDragAndDrop m_dragAndDrop{ *this };
    QElapsedTimer m_sincePicture; ///< Since the table was last painted.
    QElapsedTimer m_sinceEmptied; ///< Since the list was last emptied, which is how a listing begins.
};
