#pragma once

#include "LedgerRow.h"

#include <QFrame>
#include <QList>

#include <optional>

class AutomaticTries;
class IconLabel;
class QBoxLayout;
class QLabel;
class QToolButton;
class UploadHistory;
class UploadLedger;

/// The line below the status that says what has become of the last queue: "3 of 5 uploaded, 2 failed". It comes when a
/// queue has ended, is corrected when a later listing knows better, and stays until the next queue begins or until it
/// is dismissed. Before the first queue it says of how many files an earlier run has not learnt what has become of
/// them. Belongs to the main thread.
class OutcomeLine final : public QFrame {
    Q_OBJECT

public:
    explicit OutcomeLine(QWidget* parent = nullptr);

    /// Whose queues, and whose earlier runs, the line is about, and what is tried again by itself. All outlive it.
    void setHistory(const UploadHistory& history, UploadLedger& ledger, AutomaticTries& tries);

signals:
    /// The user wants to see the files of @p keys in the history.
    void showRequested(const QList<LedgerKey>& keys);
    /// The user wants the files of @p keys to be tried again.
    void queueAgainRequested(const QList<LedgerKey>& keys);
    /// The user wants the files that wait for another try to have it now.
    void tryNowRequested();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void arrange();
    QToolButton* addButton(const char* name, const QString& text);
    void queueDrained();
    void interruptedChanged();
    void dismiss();
    void tellInterrupted(qsizetype count);
    void triesChanged();
    void refresh();
    QString queueText() const;
    void setText(const QString& text, bool isWarning);
    QList<LedgerKey> keys(const QList<int>& numbers) const;
    QList<int> lostRows() const;
    QStringList webLinks(qsizetype most) const;
    void copyWebLinks() const;

    const UploadHistory* m_history = nullptr;
    UploadLedger* m_ledger = nullptr;
    AutomaticTries* m_tries = nullptr;
    bool m_isAboutEarlierRuns = false;
    bool m_wasInterruptedTold = false;
    std::optional<QList<int>> m_lostRows; ///< Whose files were last looked for.
    QBoxLayout* m_layout;
    QBoxLayout* m_buttons;
    IconLabel* m_icon;
    QLabel* m_text;
    QToolButton* m_showButton;
    QToolButton* m_copyWebLinkButton;
    QToolButton* m_queueAgainButton;
    QToolButton* m_forgetButton;
    QToolButton* m_tryNowButton;
    QToolButton* m_giveUpButton;
};
