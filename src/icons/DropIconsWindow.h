#pragma once

#include "DropIcons.h"

#include <QDialog>
#include <QList>
#include <QStandardItemModel>
#include <QString>

#include <functional>
#include <memory>

namespace Ui {
class DropIconsWindow;
} // namespace Ui

/// The window in which drop icons are made, and are listed, started and removed. What a
/// name leads to is said while it is typed, and what has come of making an icon in the same place. The list is read
/// again whenever the window becomes the active one. It holds nothing else up. Belongs to the main thread.
class DropIconsWindow final : public QDialog {
    Q_OBJECT

public:
    /// What the window asks of the application.
    struct Application {
        /// Where a program whose file has that name uploads to; null: nowhere.
        std::function<QString(const QString& fileName)> destinationFor;
        /// Starts the program at @p path; false when it cannot be started.
        std::function<bool(const QString& path)> start;
    };

    DropIconsWindow(DropIcons icons, Application application);
    ~DropIconsWindow() override;

protected:
    bool event(QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void connectActions();
    void make();
    void start();
    void askWhetherToRemove();
    void remove(const QString& name);
    void reload();
    void explain();
    void showDestination();
    void showWhatCanBeDone();
    void select(qsizetype row);
    /// Where the icon @p name stands in the list; -1 when it is not there.
    qsizetype rowOf(const QString& name) const;
    /// Of the selected icon; -1 when none is.
    int selectedRow() const;

    DropIcons m_icons;
    Application m_application;
    std::unique_ptr<Ui::DropIconsWindow> m_ui;
    QStandardItemModel m_model; ///< What the table shows of m_listed.
    QList<DropIcons::Icon> m_listed;
};
