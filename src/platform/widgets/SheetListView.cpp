#include "SheetListView.h"

#include "LineDelegate.h"
#include "PlainToolTip.h"

#include <QAbstractListModel>
#include <QScrollBar>

#include <algorithm>
#include <utility>

namespace {

constexpr int leastLines = 2; ///< Of those that are scrolled.
constexpr int mostRows = 10;
constexpr int mostMeasured = 50;

class SheetListModel final : public QAbstractListModel {
public:
    SheetListModel(SheetList list, QObject* parent)
        : QAbstractListModel(parent)
        , m_list(std::move(list))
    {
    }

    int rowCount(const QModelIndex& parent) const override { return parent.isValid() ? 0 : m_list.count; }
    QVariant data(const QModelIndex& index, int role) const override
    {
        switch (role) {
        case Qt::DisplayRole:
            return m_list.line(index.row());
        case Qt::ToolTipRole:
            return plainToolTip(m_list.line(index.row()));
        default:
            return {};
        }
    }

private:
    SheetList m_list;
};

} // namespace

SheetListView::SheetListView(const SheetList& list, int mostHeight)
{
    setModel(new SheetListModel(list, this));
    setItemDelegate(new LineDelegate(this));
    setAccessibleName(list.name);
    setUniformItemSizes(true);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setTextElideMode(Qt::ElideMiddle);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    const int line = LineDelegate::heightOfLine(fontMetrics());
    const int lines = std::clamp(mostHeight / line, leastLines, mostRows);
    if (list.count <= lines) {
        setFrameShape(QFrame::NoFrame);
        setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        viewport()->setAutoFillBackground(false);
    }
    setFixedHeight(std::min(list.count, lines) * line + 2 * frameWidth());
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

int SheetListView::widthOfLines() const
{
    int width = 0;
    for (int row = 0; row < std::min(model()->rowCount(), mostMeasured); ++row) {
        width = std::max(width, fontMetrics().horizontalAdvance(model()->index(row, 0).data().toString()));
    }
    const int besideText = 2 * (style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, this) + 1 + frameWidth());
    const bool isScrolled = verticalScrollBarPolicy() != Qt::ScrollBarAlwaysOff;
    return width + fontMetrics().averageCharWidth() + besideText
        + (isScrolled ? verticalScrollBar()->sizeHint().width() : 0);
}
