#pragma once

#include "FTPSecurity.h"
#include "TransferRate.h"
#include "WindowState.h"

#include <QObject>
#include <QString>

#include <optional>

class QWidget;
class ServerAnswers;

namespace Ui {
class MainWindow;
class ManualTransfers;
} // namespace Ui

/// What the window shows of the transfers and of the listing. It is compared with what is to show, and each control is
/// set at most once a tick, and only when its value has changed. Belongs to the main thread.
class WindowIndicators final : public QObject {
    Q_OBJECT

public:
    /// Both outlive the indicators.
    WindowIndicators(const Ui::MainWindow& window, const Ui::ManualTransfers& manual);

    // What is to show.

    /// Of the present transfer, 0 to 100.
    void setPercent(float percent);
    float percent() const { return m_next.percent; }
    /// That the present transfer has moved.
    void setBytes(quint64 bytes);
    /// No percent and no bytes.
    void resetProgress();
    /// Likewise, in the window of the manual transfers too.
    void resetAllProgress();
    void setStatus(const QString& status);
    void setListingStatus(const QString& status);
    /// The status that follows is about what @p answers, which outlive the indicators, are to.
    void setStatusAnswers(const ServerAnswers& answers) { m_answers = &answers; }
    /// What was done last to an item; it is shown at once.
    void setLastAction(const QString& text);
    /// A transfer has been asked for that @p answers, which outlive the indicators, are to; it has sent nothing, and
    /// its status has no answer, unless @p isRunning.
    void transferStarted(const ServerAnswers& answers, bool isRunning);
    /// Likewise of the listing's status.
    void listingStarted(const ServerAnswers& answers, bool isRunning);

    // Showing it.

    /// Whether a new second has begun since the date was shown.
    bool isNewSecond() const;
    /// Likewise; then the date is shown.
    bool showDate();
    /// Whether nothing has changed since @p state was shown.
    bool isShown(const WindowState& state) const;
    void showTransfer(const WindowState& state, bool isNewSecond);
    void showListing(const WindowState& state);

signals:
    /// There is something else to show.
    void changed();

private:
    /// What has been said, by the controllers and by servers.
    struct Values {
        float percent = 0;
        float auxiliaryPercent = 0;
        std::optional<quint64> bytes; ///< std::nullopt: no text.
        QString status;
        QString listingStatus;
        QString reply;
        QString listingReply;
        std::optional<FTPSecurity> security;

        bool operator==(const Values&) const = default;
    };
    struct Shown {
        WindowState state;
        Values values;
    };
    Values values() const;

    void showQueue(const WindowState& state);
    void showProgress(const Values& values, const WindowState& state);
    void showSpeed(const WindowState& state);
    void showTexts(const Values& values);
    void showSecurity(std::optional<FTPSecurity> security);

    const Ui::MainWindow& m_window;
    const Ui::ManualTransfers& m_manual;
    Values m_next; ///< But for what the answers hold.
    const ServerAnswers* m_answers = nullptr; ///< To what the status is about; null: nothing was sent.
    const ServerAnswers* m_listingAnswers = nullptr; ///< Likewise of the listing's.
    const ServerAnswers* m_latestAnswers = nullptr; ///< To what was started last of all.
    std::optional<Shown> m_shown; ///< std::nullopt: nothing yet.
    Values m_lastValues; ///< What the controls show.
    TransferRate m_rate;
    qint64 m_shownSecond = -1; ///< Of the date that is shown, since the epoch.
};
