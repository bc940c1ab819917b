#pragma once

#include <QHash>
#include <QList>
#include <QObject>

class QHeaderView;
class QTableView;

/// One column of a table takes the room that the others leave. Where the table is too narrow, others are left out
/// before that one is narrower than it may be. Belongs to the table.
class YieldingColumns final : public QObject {
    Q_OBJECT

public:
    /// Column @p taking is at least @p leastWidth wide, in device-independent pixels. Of @p yielding, which have their
    /// usual widths, the last one is left out first.
    YieldingColumns(QTableView& table, int taking, int leastWidth, QList<int> yielding);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void fit();

    QTableView& m_table;
    QHeaderView& m_header;
    int m_taking;
    int m_leastWidth;
    QList<int> m_yielding;
    QHash<int, int> m_usualWidths; ///< Of the yielding columns.
    QHash<int, int> m_hiddenWidths; ///< Of those that are left out.
};
