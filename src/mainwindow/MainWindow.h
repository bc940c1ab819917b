#pragma once

#include <QMainWindow>

#include <memory>

namespace Ui {
class MainWindow;
} // namespace Ui

/// The main window and its controls.
class MainWindow final : public QMainWindow {
    Q_OBJECT

public:
    MainWindow();
    ~MainWindow() override;

    const Ui::MainWindow& ui() const { return *m_ui; }

private:
    std::unique_ptr<Ui::MainWindow> m_ui;
};
