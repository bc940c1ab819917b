#pragma once

#include <QList>
#include <QObject>
#include <QPointer>

class QAction;
class QCheckBox;
class QWidget;

/// Keeps the user from everything but one window for as long as it lives, also while that window does not show yet:
/// mouse, keys, shortcuts, drops, the closing of windows and what a screen reader presses come to nothing. Windows are
/// painted as ever, and no button is greyed out.
class InputHold final : public QObject {
public:
    /// @p window goes on to take input.
    explicit InputHold(const QWidget& window);
    ~InputHold() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool isInWindow(const QObject& object) const;
    template <typename Control> void disable(QList<QPointer<Control>>& disabled) const;

    const QWidget& m_window;
    QList<QPointer<QAction>> m_actions; ///< Those that were enabled.
    QList<QPointer<QCheckBox>> m_checkBoxes;
};
