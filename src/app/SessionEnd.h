#pragma once

#include <QObject>

/// Knows whether the user's session is about to end. A session whose end is called off says nothing more; then the user
/// goes on, which is seen by a key or a button pressed in one of our windows. For the main thread.
class SessionEnd final : public QObject {
    Q_OBJECT

public:
    /// From now on the session is about to end. That may take as long as another program's question stands.
    void announce();
    bool isNear() const { return m_isNear; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool m_isNear = false;
};
