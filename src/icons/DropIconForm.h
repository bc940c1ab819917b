#pragma once

#include "DropIcons.h"
#include "ServerAccess.h"

#include <QDialog>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

class IconServerForm;
class UserDefaults;

namespace Ui {
class DropIconForm;
} // namespace Ui

/// The form in which a drop icon is made or changed. What its name leads to is said while it is typed. Name and sort of
/// an icon that runs stay as they are; where nobody knows whether it runs, the form says so. It stores what it shows
/// all at once; where that is not possible it says why and stays open. Belongs to the main thread.
class DropIconForm final : public QDialog {
    Q_OBJECT

public:
    /// What the form asks of the application.
    struct Application {
        ServerAccess server;
        /// Asks whether the program runs whose file has that name; std::nullopt answers that nobody knows.
        std::function<void(const QString& fileName, QObject* context, std::function<void(std::optional<bool>)> answer)>
            askWhetherRuns;
    };

    /// To change @p icon, or without one to make another one.
    DropIconForm(DropIcons icons, Application application, std::optional<DropIcons::Icon> icon, QWidget* parent);
    ~DropIconForm() override;

    void accept() override;

signals:
    /// The icon is what the form said: it is called @p name by now.
    void stored(const QString& name, bool isNew, bool onDesktop);

private:
    void fill();
    void connectFields();
    void makeRoom();
    void layOut();
    IconSort sort() const;
    IconPicture picture() const;
    DropIcons::Wish wish() const;
    /// Whether something changes that must not change while the icon runs.
    bool changesIdentity() const;
    bool canBeStored() const;
    void explain();
    void showPicture();
    void showRunning(std::optional<bool> isRunning);
    void store();

    DropIcons m_icons;
    Application m_application;
    std::optional<DropIcons::Icon> m_icon;
    std::unique_ptr<UserDefaults> m_settings; ///< Of the icon's own server; there may be none yet.
    std::optional<bool> m_isRunning = false; ///< As far as was answered; std::nullopt: nobody knows.
    std::unique_ptr<Ui::DropIconForm> m_ui;
    IconServerForm* m_server;
};
