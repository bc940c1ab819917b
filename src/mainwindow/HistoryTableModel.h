#pragma once

#include "LedgerRow.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QSet>
#include <QTimer>

#include <vector>

class UploadHistory;
class UploadLedger;

/// The history of all runs as the model of a table. The files of this run are as the history of this run has them, at
/// any moment; all others are read from the ledger page by page as somebody looks at them, and empty until then. As
/// long as all rows are shown as they came, those that come are seen at once, otherwise within a second. What was read
/// is shown until it is known whether others have changed it. Belongs to the main thread.
class HistoryTableModel final : public QAbstractTableModel {
    Q_OBJECT

public:
    /// Has the files of this run until refresh(). Both outlive the model.
    HistoryTableModel(const UploadHistory& history, UploadLedger& ledger, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    /// By @p column, or with -1 as they came.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

    /// Shows the rows that hold @p text, and of these only the failed ones, or all.
    void setFilter(const QString& text, bool failedOnly);
    const LedgerQuery& query() const { return m_query; }
    /// Asks the ledger for the rows once more; answered() follows.
    void refresh();
    /// Whether somebody can see the rows, as nobody can at first. They are asked for once somebody can; while nobody
    /// can, what changes does not have them asked for.
    void setSeen(bool isSeen);

    const LedgerKey& key(int row) const { return m_keys[row]; }
    /// Where the file of this run with that @p number is; -1 when it is not shown.
    int rowOf(int number) const;
    /// Whether the file of @p row can be queued again; also where it was not read yet.
    bool canQueueAgain(int row) const;
    /// Whether the file of @p row was confirmed and has a web address; also where it was not read yet.
    bool hasWebLink(int row) const;

signals:
    /// The ledger has told the rows that refresh() has asked for last, or that it cannot.
    void answered();

private:
    struct Known {
        HistoryEntry entry;
        bool isOld = false; ///< Others may have changed it since.
    };

    bool isKnown(int row) const;
    const HistoryEntry* entry(int row) const;
    void ask(const LedgerQuery& query);
    void show(const QList<LedgerKey>& keys, int known);
    void append(int first, int last);
    void rowsAboutToBeAppended(int first, int last);
    void rowsAppended();
    void rowsChanged(int first, int last);
    void want(int row) const;
    void readWanted();
    void othersChanged();
    void refreshSoon();
    void showAgain(int first, int end);
    void keep(const QList<LedgerKey>& keys, const QList<LedgerRow>& rows);

    const UploadHistory& m_history;
    UploadLedger& m_ledger;
    LedgerQuery m_query;
    int m_question = 0; ///< The last one that was asked; answers to earlier ones count no more.
    QList<LedgerKey> m_keys; ///< Of each row.
    std::vector<int> m_rowsOfRun; ///< For each file of this run the row, or -1.
    bool m_isInserting = false;

    int m_resets = 0; ///< So often all rows were replaced.
    QHash<LedgerKey, Known> m_read; ///< Rows of the ledger that were looked at.
    mutable HistoryEntry m_current; ///< The row of this run that was last asked for.
    mutable QSet<int> m_wantedPages;
    QSet<int> m_askedPages; ///< The ledger has yet to answer; of the present rows.
    mutable QTimer m_readSoon;
    bool m_isSeen = false;
    QTimer m_refreshSoon{ this };
};
