#pragma once

#include <QList>
#include <QObject>
#include <QPointer>

class QAction;
class QCheckBox;
class QWidget;

/// Blocks the user's input to every window but one for as long as it lives, also while that window does not show yet:
/// mouse, keys, shortcuts, drops, the closing of windows and the actions of a screen reader have no effect. Windows are
/// painted as before, and no button is greyed out.
class InputBlocker final : public QObject {
public:
    /// @p window still takes input.
    explicit InputBlocker(const QWidget& window);
    ~InputBlocker() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool isInWindow(const QObject& object) const;
    template <typename Control> void disable(QList<QPointer<Control>>& disabled) const;

    const QWidget& m_window;
    QList<QPointer<QAction>> m_actions; ///< The ones that were enabled.
    QList<QPointer<QCheckBox>> m_checkBoxes;
};
