#pragma once

#include <QObject>
#include <QPointer>
#include <QWindow>

class QWidget;

/// Notices whether a window can be seen: it cannot while it is hidden, minimised, or on another desktop. Belongs to the
/// main thread.
class WindowSight final : public QObject {
    Q_OBJECT

public:
    /// @p window outlives it.
    explicit WindowSight(QWidget& window);

signals:
    void changed(bool isSeen);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void look();

    QWidget& m_window;
    QPointer<QWindow> m_surface; ///< The platform's part of the window, from when it is first shown.
    bool m_isSeen = false;
};
