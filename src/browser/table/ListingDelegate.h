#pragma once

#include "KTVerticallyCenteredTextFieldCell.h"

#include <QStyledItemDelegate>

/// Paints the cells of the listing table: one line of text, centred in its row, or an icon.
class ListingDelegate final : public QStyledItemDelegate {
    Q_OBJECT

public:
    static constexpr int iconSide = 20; ///< In pixels.

    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    /// A cell without a tool tip of its own shows its text in one while it is too narrow for it.
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

private:
    KTVerticallyCenteredTextFieldCell<> cellOf(const QStyleOptionViewItem& item) const;
};
