#pragma once

#include "ServerForm.h"

#include <QDialog>
#include <QHash>
#include <QJsonValue>
#include <QObject>
#include <QSize>
#include <QString>

#include <array>
#include <functional>
#include <memory>
#include <utility>

class QCheckBox;
class QLineEdit;
class UserDefaults;

namespace Ui {
class Preferences;
} // namespace Ui

/// Controls the panel in which the user edits the settings. The fields are filled when the panel opens and stored
/// together, as they are, when it is done: never a password beside an address that it was not typed for. A setting that
/// was absent stays absent while its field is left as it was. A connection can be tried with the fields as they are
/// typed; that stores none of them, and ends when one of them changes or the panel closes. The panel holds nothing else
/// up. Belongs to the main thread.
class PreferencesController final : public QObject {
    Q_OBJECT

public:
    /// What the panel asks of the application.
    struct Application {
        ServerAccess server;
        /// Titles the main window by the destination and lists that.
        std::function<void()> updateWindowTitleAndList;
    };

    /// @p connection holds what says where files go: an icon's own settings (connectionSettings()), or the same as
    /// @p defaults, which hold everything else. Both outlive the controller.
    PreferencesController(UserDefaults& defaults, UserDefaults& connection, Application application);
    ~PreferencesController() override;

    // The fields; not owned.

    QLineEdit* usernameTextField() const { return serverForm().fields().username; }
    void setUsernameTextField(QLineEdit* field) { setField(&ServerForm::Fields::username, field); }
    QLineEdit* passwordTextField() const { return serverForm().fields().password; }
    void setPasswordTextField(QLineEdit* field) { setField(&ServerForm::Fields::password, field); }
    QLineEdit* addressTextField() const { return serverForm().fields().address; }
    void setAddressTextField(QLineEdit* field) { setField(&ServerForm::Fields::address, field); }
    QLineEdit* folderTextField() const { return serverForm().fields().folder; }
    void setFolderTextField(QLineEdit* field) { setField(&ServerForm::Fields::folder, field); }

    /// The destination folder as it stood when the panel appeared; "/" for none.
    const QString& savedFTPFolder() const { return m_savedFTPFolder; }
    void setSavedFTPFolder(const QString& folder) { m_savedFTPFolder = folder; }
    /// Device-independent pixels.
    QSize preferredContentSize() const { return m_preferredContentSize; }

    /// The panel; null when it was taken away.
    QDialog* view() const { return m_view.get(); }
    std::unique_ptr<QDialog> takeView() { return std::move(m_view); }

    /// Whether a connection is being tested.
    bool isTesting() const;

    /// Shows the panel with the present settings, or brings it to the front as it is.
    void showPanel();

    void viewDidLoad();
    void viewDidAppear();
    /// Stores the settings if any of them was changed, closes the panel and refreshes the main window. When they cannot
    /// be stored, the user is told and the panel stays.
    void doneButton();
    /// A new universally unique identifier of 36 characters.
    QString UUIDString() const; // NOLINT(readability-identifier-naming): the name it is known by

signals:
    /// A connection test has begun, or has come to another state.
    void testReported();

private:
    /// A check box and its setting.
    struct Choice {
        QString key;
        bool isAbsentChosen; ///< What its absence means.
        QCheckBox* box;
    };

    std::array<Choice, 4> choices() const;
    ServerForm& serverForm() const;
    void setField(QLineEdit* ServerForm::Fields::*member, QLineEdit* field);
    void fillFields();
    bool isOfIcon() const { return &m_connection != &m_defaults; }
    QHash<QString, QJsonValue> connectionChanges() const;
    QHash<QString, QJsonValue> otherChanges() const;
    /// Null when all is stored, or the first settings that could not be. An icon's own come last: where files go
    /// changes with all else, or not at all.
    const UserDefaults* store();
    void layOut();
    void fitToFont();

    UserDefaults& m_defaults;
    UserDefaults& m_connection;
    Application m_application;
    std::unique_ptr<Ui::Preferences> m_ui;
    std::unique_ptr<QDialog> m_view;
    QHash<QString, bool> m_filledChoices; ///< As the check boxes stood when the panel opened, by the settings' keys.
    bool m_filledDroppedFolders = false;
    QString m_savedFTPFolder;
    QSize m_preferredContentSize;
};
