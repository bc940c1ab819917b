#pragma once

#include <QAbstractTableModel>

class UploadHistory;

/// The history as the model of a table: a row for each of its entries, in its order. Belongs to the main thread.
class HistoryTableModel final : public QAbstractTableModel {
    Q_OBJECT

public:
    /// @p history outlives the model.
    explicit HistoryTableModel(const UploadHistory& history, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    const UploadHistory& m_history;
};
