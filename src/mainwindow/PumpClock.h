#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <chrono>

/// When the pump comes by itself: every 10 milliseconds while something goes on and for a while more, then it rests and
/// comes once a second, at its beginning, or every ten seconds in a window that nobody can see. Belongs to the main
/// thread.
class PumpClock final : public QObject {
    Q_OBJECT

public:
    explicit PumpClock(QObject* parent = nullptr);

    void start();
    /// What the pump looks at may have changed: it comes within 10 milliseconds. Costs next to nothing.
    void wake();
    /// The pump has come; @p isBusy: something goes on, waits or is due, and the pump must not rest.
    void came(bool isBusy);
    /// The window can be seen from now on, or cannot. Before that is known the pump does not rest.
    void setSeen(bool isSeen);
    /// How long nothing must have been going on before it rests; two seconds unless set.
    void setPatience(std::chrono::milliseconds patience) { m_patience = patience; }

    static constexpr std::chrono::milliseconds interval{ 10 };
    static constexpr std::chrono::milliseconds unseenInterval{ 10'000 };

signals:
    void due();

private:
    QTimer m_timer{ this };
    std::chrono::milliseconds m_patience{ 2000 };
    QElapsedTimer m_sinceBusy;
    bool m_isWoken = true;
    bool m_isResting = false;
    bool m_isSeen = false;
    bool m_isSightKnown = false;
};
