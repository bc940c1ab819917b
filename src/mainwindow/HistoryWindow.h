#pragma once

#include <QList>
#include <QStringList>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <memory>

class QHeaderView;
class UploadHistory;

namespace Ui {
class HistoryWindow;
} // namespace Ui

/// The window of the history. It follows the file that is being sent as long as the user does not scroll away from it.
/// What changes shows at once; what depends on the whole of it, within a fraction of a second.
class HistoryWindow final : public QWidget {
    Q_OBJECT

public:
    /// Puts the files of rows into the queue once more.
    using QueueAgain = std::function<void(const QList<int>& rows)>;

    /// @p history outlives the window.
    HistoryWindow(UploadHistory& history, QueueAgain queueAgain);
    ~HistoryWindow() override;

    QHeaderView& columns();
    /// Selects @p rows alone, and shows the first of them. Nothing without any.
    void select(const QList<int>& rows);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void connectActions();
    void setDefaultWidths();
    QList<int> selectedRows() const;
    void queueAgain();
    void copy();
    void refreshSoon();
    void refresh();
    void showWhatCanBeDone();
    void follow();
    bool isRowVisible(int row) const;

    UploadHistory& m_history;
    QueueAgain m_queueAgain;
    std::unique_ptr<Ui::HistoryWindow> m_ui;
    QTimer m_refresh;
    int m_followedRow = -1; ///< The row of the file that was being sent at the last look.
};
