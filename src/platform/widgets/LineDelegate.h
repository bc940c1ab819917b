#pragma once

#include <QStyledItemDelegate>

/// Lines of text in a list. They are as wide as the view, whatever they hold. Each stands at the side that the window's
/// direction says, and has the direction of its own text, so that it reads as elsewhere.
class LineDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    static int heightOfLine(const QFontMetrics& metrics);

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
    /// What shows of the line, which has the text of @p option and its room. The view cuts what is too long.
    virtual QString shownText(const QStyleOptionViewItem& option) const { return option.text; }
};
