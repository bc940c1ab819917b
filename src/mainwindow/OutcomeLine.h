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
/// is dismissed. Where it has nothing to say of a queue, it says of how many files an earlier run has not learnt what
/// has become of them, and whether it has not found all, until that is dismissed. Buttons that have no room are in a
/// menu. Belongs to the main thread.
class OutcomeLine final : public QFrame {
    Q_OBJECT

public:
    explicit OutcomeLine(QWidget* parent = nullptr);

    /// Whose queues, and whose earlier runs, the line is about, and what is tried again by itself. All outlive it.
    void setHistory(const UploadHistory& history, UploadLedger& ledger, AutomaticTries& tries);
    /// @p refuge has the keyboard when what had it in the line is hidden. It outlives the line's use.
    void setRefuge(QWidget& refuge) { m_refuge = &refuge; }
    /// Whether the line has no room for a second line of buttons.
    void setLow(bool isLow);

    QSize minimumSizeHint() const override;

signals:
    /// Whether the line has something to say. Whoever has room for it shows it then.
    void told(bool isTold);
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
    QList<QToolButton*> allButtons() const;
    int widthOf(const QList<QToolButton*>& buttons) const;
    int widthWithMenu() const;
    void fillMenu();
    QToolButton* addButton(const char* name, const QString& text);
    void offer(const QList<QToolButton*>& buttons);
    void tell(bool isTold);
    void queueDrained();
    void interruptedChanged();
    void dismiss();
    void endTelling();
    void triesChanged();
    void refresh();
    QString queueText() const;
    QString earlierRunsText() const;
    void setText(const QString& text, bool isWarning);
    QList<LedgerKey> keys(const QList<int>& numbers) const;
    QList<int> lostRows() const;
    bool hasWebLinks() const;
    void copyWebLinks() const;

    const UploadHistory* m_history = nullptr;
    UploadLedger* m_ledger = nullptr;
    AutomaticTries* m_tries = nullptr;
    QWidget* m_refuge = this;
    bool m_isTold = false; ///< Whether there is something to say.
    bool m_isLow = false;
    bool m_isAboutEarlierRuns = false;
    bool m_isInterruptedDismissed = false;
    std::optional<QList<int>> m_lostRows; ///< Whose files were last looked for.
    bool m_canQueueAgain = false; ///< Whether any of them was there.
    QList<QToolButton*> m_offered; ///< What can be done at present, by its weight; the last ones give way.
    QBoxLayout* m_layout;
    QBoxLayout* m_buttons;
    IconLabel* m_icon;
    QLabel* m_text;
    QToolButton* m_showButton;
    QToolButton* m_queueAgainButton;
    QToolButton* m_forgetButton;
    QToolButton* m_tryNowButton;
    QToolButton* m_giveUpButton;
    QToolButton* m_copyWebLinkButton;
    QToolButton* m_moreButton; ///< Has what has no room of its own.
    QToolButton* m_dismissButton;
};
