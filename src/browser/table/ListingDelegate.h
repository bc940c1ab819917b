#pragma once

#include <QStyledItemDelegate>

/// Paints the cells of the listing table: one line of text, centred in its row, or an icon.
class ListingDelegate final : public QStyledItemDelegate {
    Q_OBJECT

public:
    static constexpr int iconSide = 20; ///< In pixels.

    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};
