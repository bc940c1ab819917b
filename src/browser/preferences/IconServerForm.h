#pragma once

#include "ServerAccess.h"

#include <QHash>
#include <QJsonValue>
#include <QString>
#include <QWidget>

class ServerExtras;
class ServerForm;
class UserDefaults;

/// All that is edited of the server of a drop icon's own. Whoever shows the form fills it and stores its changes; its
/// test ends with it. Belongs to the main thread.
class IconServerForm final : public QWidget {
    Q_OBJECT

public:
    /// @p access adds no sub-folder to the folder.
    explicit IconServerForm(const ServerAccess& access, QWidget* parent = nullptr);

    /// Has it show @p settings, those of IconSettings::filePath(); of a new icon there are none yet.
    void fill(const UserDefaults& settings);
    /// What is to be stored in @p settings, in one step; nothing when nothing was edited.
    QHash<QString, QJsonValue> changes(const UserDefaults& settings) const;
    /// Where files would go with what it holds; null: nowhere.
    QString destination() const;

    /// For the width of the fields, and room for what it may come to say: see there. And its signals.
    ServerForm& server() { return *m_server; }

private:
    ServerForm* m_server;
    ServerExtras* m_extras;
};
