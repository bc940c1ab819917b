#pragma once

#include <QHash>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <functional>
#include <optional>

/// The user's settings: one JSON object in a file that only its owner may read. Every read sees the file as it is;
/// the file is parsed again only when it has changed. All calls belong to the main thread.
///
/// A file that holds no JSON object reads as if it were empty; the next store keeps it beside the new one, with ".bak"
/// appended to its name.
class UserDefaults {
public:
    /// The settings of this program: settings.json in the folder that QStandardPaths::AppConfigLocation names.
    static UserDefaults& standard();

    explicit UserDefaults(QString filePath);

    const QString& filePath() const { return m_filePath; }

    /// The text under @p key as it was stored; null when the key is absent or holds no text.
    QString string(const QString& key) const;
    /// The boolean under @p key; nothing when the key is absent or holds no boolean.
    std::optional<bool> boolean(const QString& key) const;

    /// Stores all @p values in one step; a null value removes its key. What other programs have stored meanwhile under
    /// other keys stays. False when the file could not be written, which then stands as it was.
    [[nodiscard]] bool store(const QHash<QString, QJsonValue>& values);

    /// @p handler is called from the loop, once for each change of the file that leaves it unreadable.
    void setBrokenFileHandler(std::function<void()> handler);

private:
    QString m_filePath;
};
