#pragma once

#include "ServerAccess.h"

#include <QHash>
#include <QJsonValue>
#include <QString>
#include <QWidget>

#include <memory>

class ServerForm;
class UserDefaults;

namespace Ui {
class ServerExtras;
} // namespace Ui

/// What belongs to the server of a ServerForm and is seldom edited: the web address of its folder, and a button by
/// which its certificate is trusted no longer. Belongs to the main thread.
class ServerExtras final : public QWidget {
    Q_OBJECT

public:
    explicit ServerExtras(QWidget* parent = nullptr);
    ~ServerExtras() override;

    /// Before it is shown, for the server in @p form, which outlives it.
    void setAccess(ServerAccess access, const ServerForm& form);

    /// Has the field show @p settings.
    void fill(const UserDefaults& settings);
    /// What is to be stored in the settings: nothing when nothing was edited.
    QHash<QString, QJsonValue> changes() const;

private:
    void showWhetherTrusted();
    void forgetCertificate();

    std::unique_ptr<Ui::ServerExtras> m_ui;
    ServerAccess m_access;
    const ServerForm* m_form = nullptr;
    QString m_filledWebAddress; ///< Null when it was absent.
};
