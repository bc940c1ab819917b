#pragma once

#include <QMainWindow>

#include <memory>

namespace Ui {
class MainWindow;
} // namespace Ui

class ViewController;

/// The main window and its controls.
class MainWindow final : public QMainWindow {
    Q_OBJECT

public:
    MainWindow();
    ~MainWindow() override;

    const Ui::MainWindow& ui() const { return *m_ui; }
    /// Has the controls do what @p controller does. It outlives the window's use.
    void connectTo(ViewController& controller);
    /// The buttons that act on the selected item.
    void enableItemButtons(bool isEnabled);

private:
    std::unique_ptr<Ui::MainWindow> m_ui;
};
