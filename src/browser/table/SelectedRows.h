#pragma once

#include <QAbstractItemView>
#include <QItemSelectionModel>
#include <QList>

#include <algorithm>

/// The rows that are selected in @p view, which selects whole rows, from the top. Takes time by their number and by
/// that of the stretches that they are in.
inline QList<int> selectedRowsOf(const QAbstractItemView& view)
{
    QList<int> rows;
    for (const QItemSelectionRange& range : view.selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row) {
            rows.append(row);
        }
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}
