#pragma once

#include "FTPEncryption.h"
#include "ServerAccess.h"

#include <QHash>
#include <QJsonValue>
#include <QString>
#include <QWidget>

#include <array>
#include <memory>
#include <utility>

class ConnectionTestControls;
class QLineEdit;
class UserDefaults;

namespace Ui {
class ServerForm;
} // namespace Ui

/// The fields in which the user edits where files go: address, login, folder and encryption. It says where that is, or
/// why nowhere, and a connection can be tried with the fields as they are typed; that stores none of them, and ends
/// when one of them changes. Whoever shows the form fills it and stores its changes. Belongs to the main thread.
class ServerForm final : public QWidget {
    Q_OBJECT

public:
    /// Not owned. One field may stand at several places.
    struct Fields {
        QLineEdit* address;
        QLineEdit* username;
        QLineEdit* password;
        QLineEdit* folder;
    };

    explicit ServerForm(QWidget* parent = nullptr);
    ~ServerForm() override;

    /// Before it is shown.
    void setAccess(ServerAccess access);
    const Fields& fields() const { return m_fields; }
    void setFields(const Fields& fields);

    /// Has the fields show @p settings.
    void fill(const UserDefaults& settings);
    /// What is to be stored in @p settings, so that they are what the form shows, all of it: never a password beside an
    /// address that it was not typed for. Nothing when nothing was edited; what was absent, and is left as it was,
    /// stays absent.
    QHash<QString, QJsonValue> changes(const UserDefaults& settings) const;

    /// Where files would go with what the fields hold; null: nowhere.
    QString destination() const;
    bool isTesting() const;
    /// Ends a test that is under way, and forgets what it has said.
    void clearTest();

    /// How wide its fields would like to be.
    int preferredFieldWidth() const;
    /// Makes the fields at least so wide, and leaves room below them for all that the form may come to say, so that
    /// nothing moves when it says it.
    void setFieldWidth(int width);

signals:
    /// The fields say another destination, or may.
    void destinationShown();
    /// A connection test has begun, or has come to another state.
    void testReported();

private:
    /// A field as it was filled.
    struct Filled {
        QString setting; ///< Null when it was absent.
        QString text;
    };

    /// The fields with the keys of their settings.
    std::array<std::pair<QString, QLineEdit*>, 4> keyedFields() const;
    void connectFields();
    void showDestination();
    void showEncryption();
    void makeTest();
    void showAnswer();
    void useEncryption();
    FTPEncryption wantedEncryption() const;
    void showPassword(bool isShown);

    std::unique_ptr<Ui::ServerForm> m_ui;
    ServerAccess m_access;
    Fields m_fields{};
    QHash<QString, Filled> m_filled; ///< By the settings' keys.
    FTPEncryption m_filledEncryption = FTPEncryption::None;
    std::unique_ptr<ConnectionTestControls> m_test;
};
