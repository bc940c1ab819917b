#pragma once

#include "DropIconForm.h"
#include "DropIcons.h"

#include <QDialog>
#include <QHash>
#include <QList>
#include <QStandardItemModel>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace Ui {
class DropIconsWindow;
} // namespace Ui

/// The window that lists the drop icons, each with its destination and its last upload, and from which they are made,
/// changed, started and removed. The list is read again whenever the window becomes the active one, and every minute
/// while it is seen. It holds nothing else up. Belongs to the main thread.
class DropIconsWindow final : public QDialog {
    Q_OBJECT

public:
    /// When the newest file of each icon at each destination was confirmed, by the program's file name and that;
    /// std::nullopt: not known.
    using LastUploads = std::optional<QHash<std::pair<QString, QString>, qint64>>;

    /// What the window asks of the application.
    struct Application {
        DropIconForm::Application forms;
        /// Starts a program with those words; false when it cannot be started.
        std::function<bool(const QStringList& words)> start;
        std::function<void(QObject* context, std::function<void(const LastUploads&)> answer)> askForLastUploads;
    };

    DropIconsWindow(DropIcons icons, Application application);
    ~DropIconsWindow() override;

protected:
    bool event(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    /// A line of the list.
    struct Row {
        DropIcons::Icon icon;
        QString destination; ///< Null: none.
        QString whyNowhere; ///< Of none.

        bool operator==(const Row&) const = default;
    };

    void connectActions();
    void showForm(const std::optional<DropIcons::Icon>& icon);
    void edit();
    void start();
    void askWhetherToRemove();
    void remove(const DropIcons::Icon& icon);
    void reload();
    void showLastUploads();
    QString lastUploadText(const Row& row) const;
    void showWhatCanBeDone();
    void select(qsizetype row);
    /// Where the icon @p name stands in the list; -1 when it is not there.
    qsizetype rowOf(const QString& name) const;
    /// Of the selected icon; -1 when none is.
    int selectedRow() const;
    std::optional<DropIcons::Icon> selectedIcon() const;

    DropIcons m_icons;
    Application m_application;
    std::unique_ptr<Ui::DropIconsWindow> m_ui;
    QTimer m_reading{ this }; ///< Runs while the window is seen.
    QStandardItemModel m_model; ///< What the table shows of m_listed.
    QList<Row> m_listed;
    LastUploads m_lastUploads;
    bool m_hasAskedForUploads = false; ///< And was answered.
};
