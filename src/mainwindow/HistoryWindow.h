#pragma once

#include "FileChooser.h"
#include "LedgerRow.h"
#include "WindowSight.h"

#include <QList>
#include <QPointer>
#include <QSet>
#include <QStringList>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>

class HistoryTableModel;
class QHeaderView;
class UploadHistory;
class UploadLedger;

namespace Ui {
class HistoryWindow;
} // namespace Ui

/// The window of the history of all runs. It follows the file that is being sent as long as the user does not scroll
/// away from it. What changes shows at once; what depends on the whole of it, within a fraction of a second.
class HistoryWindow final : public QWidget {
    Q_OBJECT

public:
    /// Puts files into the queue once more.
    using QueueAgain = std::function<void(const QList<LedgerKey>& keys)>;

    /// Both outlive the window.
    HistoryWindow(UploadHistory& history, UploadLedger& ledger, QueueAgain queueAgain);
    ~HistoryWindow() override;

    QHeaderView& columns();
    /// Selects the rows of @p keys alone, and shows the first of them, when they are there. Nothing without any.
    void select(const QList<LedgerKey>& keys);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void connectActions();
    void setDefaultWidths();
    QList<int> selectedRows() const;
    QList<LedgerKey> keysOf(const QList<int>& rows) const;
    int nextShownUnsettled(int number) const;
    QList<int> selectRowsOf(const QSet<LedgerKey>& keys);
    void keepSelection();
    void restoreSelection();
    void selectWanted();
    void clearHistory();
    void askWhereToExport();
    void exportTo(const QString& path);
    void showPlace();
    void queueAgain();
    void copy();
    void copyWebLink();
    void setSeen(bool isSeen);
    void refreshSoon();
    void refresh();
    void showWhatCanBeDone();
    void follow();
    int rowOfFollowed() const;
    bool isRowVisible(int row) const;

    UploadHistory& m_history;
    UploadLedger& m_ledger;
    QueueAgain m_queueAgain;
    std::unique_ptr<Ui::HistoryWindow> m_ui;
    HistoryTableModel* m_model;
    FileChooser m_chooser{ *this };
    QPointer<QObject> m_copying; ///< Puts rows on the clipboard.
    QTimer m_refresh;
    WindowSight m_sight{ *this };
    QTimer m_lookForOthers; ///< Runs while the window is seen.
    QTimer m_filter; ///< Until nothing is typed for a moment.
    int m_followed = -1; ///< The file that was being sent at the last look.
    QSet<LedgerKey> m_wanted; ///< To be selected when they are there.
    QSet<LedgerKey> m_selected; ///< While the rows are replaced.
    std::optional<LedgerKey> m_current; ///< The row that the keyboard moves from, likewise.
    int m_currentColumn = 0;
    std::optional<LedgerKey> m_top; ///< The first row that is seen, likewise; none where the last one is seen.
};
