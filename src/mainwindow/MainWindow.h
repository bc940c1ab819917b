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
    /// Notes its size and its table's columns for the next run.
    void remember();
    /// Shows the command that goes to the program's page on the web, if it has one.
    void setHasWebsite(bool hasWebsite);
    /// Enables the buttons that act on the selected item. @p table: whose selection has changed; only that of the
    /// destination folder counts.
    void tableViewSelectionDidChange(const QObject* table);

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void updateMinimumSize();
    void fitToHeight();

    std::unique_ptr<Ui::MainWindow> m_ui;
};
