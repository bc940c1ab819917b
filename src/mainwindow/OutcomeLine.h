#pragma once

#include <QFrame>
#include <QList>

#include <optional>

class QLabel;
class QToolButton;
class UploadHistory;

/// The line below the status that says what has become of the last queue: "3 of 5 uploaded, 2 failed". It comes when a
/// queue has ended, is corrected when a later listing knows better, and stays until the next queue begins or until it
/// is dismissed. Belongs to the main thread.
class OutcomeLine final : public QFrame {
    Q_OBJECT

public:
    explicit OutcomeLine(QWidget* parent = nullptr);

    /// Whose queues the line is about. @p history outlives it.
    void setHistory(const UploadHistory& history);

signals:
    /// The user wants to see the files of @p rows in the history.
    void showRequested(const QList<int>& rows);
    /// The user wants the files of @p rows to be tried again.
    void queueAgainRequested(const QList<int>& rows);

private:
    QToolButton* addButton(const char* name, const QString& text);
    void queueDrained();
    void refresh();
    QList<int> lostRows() const;

    const UploadHistory* m_history = nullptr;
    std::optional<QList<int>> m_lostRows; ///< Whose files were last looked for.
    QLabel* m_icon;
    QLabel* m_text;
    QToolButton* m_showButton;
    QToolButton* m_queueAgainButton;
};
