#pragma once

#include "FTPConnectionTest.h"
#include "FTPEncryption.h"

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

class ConnectionTestControls;
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
        /// Where files would go with this address and folder; null: nowhere.
        std::function<QString(const QString& address, const QString& folder)> destinationFor;
        /// Titles the main window by the destination and lists that.
        std::function<void()> updateWindowTitleAndList;
        /// Whether a certificate is trusted that the server of this destination has shown.
        std::function<bool(const QString& destination)> trustsCertificate = [](const QString&) { return false; };
        /// Trusts it no longer. False when that could not be stored.
        std::function<bool(const QString& destination)> forgetCertificate = [](const QString&) { return false; };
        /// Tests a connection; see FTPConnections::startConnectionTest(). Null when that is not possible.
        std::function<std::unique_ptr<FTPConnectionTest>(const FTPConnectionTestRequest& request,
                                                         FTPConnectionTestHandler handler)>
            startConnectionTest
            = [](const FTPConnectionTestRequest&, const FTPConnectionTestHandler&) { return nullptr; };
    };

    /// @p defaults outlives the controller.
    PreferencesController(UserDefaults& defaults, Application application);
    ~PreferencesController() override;

    // The fields; not owned.

    QLineEdit* usernameTextField() const { return m_usernameTextField; }
    void setUsernameTextField(QLineEdit* field) { setField(m_usernameTextField, field); }
    QLineEdit* passwordTextField() const { return m_passwordTextField; }
    void setPasswordTextField(QLineEdit* field) { setField(m_passwordTextField, field); }
    QLineEdit* addressTextField() const { return m_addressTextField; }
    void setAddressTextField(QLineEdit* field) { setField(m_addressTextField, field); }
    QLineEdit* folderTextField() const { return m_folderTextField; }
    void setFolderTextField(QLineEdit* field) { setField(m_folderTextField, field); }

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
    /// A field as it stood when the panel opened.
    struct Filled {
        QString setting; ///< Null when it was absent.
        QString text;
    };

    /// A check box and its setting.
    struct Choice {
        QString key;
        bool isAbsentChosen; ///< What its absence means.
        QCheckBox* box;
    };

    std::array<Choice, 3> choices() const;
    /// The fields with the keys of their settings.
    std::array<std::pair<QString, QLineEdit*>, 4> fields() const;
    void setField(QLineEdit*& member, QLineEdit* field);
    void connectFields();
    void fillFields();
    QHash<QString, QJsonValue> changes() const;
    void showDestination();
    void showEncryption();
    void showWhetherTrusted();
    void forgetCertificate();
    void makeTest();
    void clearTest();
    void useEncryption();
    int fitWidth(int wanted);
    void layOut();
    void fitToFont();
    FTPEncryption wantedEncryption() const;
    QString destination() const;
    void showPassword(bool isShown);

    UserDefaults& m_defaults;
    Application m_application;
    std::unique_ptr<Ui::Preferences> m_ui;
    std::unique_ptr<QDialog> m_view;
    QLineEdit* m_usernameTextField = nullptr;
    QLineEdit* m_passwordTextField = nullptr;
    QLineEdit* m_addressTextField = nullptr;
    QLineEdit* m_folderTextField = nullptr;
    QHash<QString, Filled> m_filled; ///< By the settings' keys.
    QString m_filledWebAddress; ///< Null when it was absent.
    QHash<QString, bool> m_filledChoices; ///< As the check boxes stood when the panel opened, by the settings' keys.
    bool m_filledDroppedFolders = false;
    FTPEncryption m_filledEncryption = FTPEncryption::None;
    std::unique_ptr<ConnectionTestControls> m_test;
    QString m_savedFTPFolder;
    QSize m_preferredContentSize;
};
