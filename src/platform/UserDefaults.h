#pragma once

#include "PrivateFile.h"
#include "WeakRef.h"

#include <QHash>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <functional>
#include <optional>
#include <sys/types.h>

/// The user's settings: one JSON object in a file that only its owner may read. Every read sees the file as it is;
/// the file is parsed again only when it has changed. All calls belong to the main thread.
///
/// A file that holds no JSON object, or more than 1 MiB, reads as if it were empty; the next store keeps it beside the
/// new one, with ".bak" appended to its name. No file is no settings, and in order unless said otherwise. A symbolic
/// link is followed, also when storing: the link stays and the file that it leads to is replaced.
class UserDefaults {
public:
    /// The settings of this program: settings.json in the folder that QStandardPaths::AppConfigLocation names.
    static UserDefaults& standard();

    /// What is stored in the file at @p filePath; std::nullopt where that cannot be read as settings. The file stays as
    /// it is, were it open to others.
    static std::optional<QJsonObject> valuesIn(const QString& filePath);

    /// What it means that there is no file.
    enum class Absence {
        IsInOrder,
        IsBroken, ///< As if it could not be read: somebody has taken it away.
    };

    explicit UserDefaults(QString filePath, Absence absence = Absence::IsInOrder);

    const QString& filePath() const { return m_filePath; }

    /// While it exists, all that is read comes from the file as it was at its beginning: what belongs together is of
    /// one state, for one look at the file.
    class Reading {
    public:
        explicit Reading(const UserDefaults& defaults);
        Reading(const Reading&) = delete;
        Reading& operator=(const Reading&) = delete;
        ~Reading() { --m_defaults.m_readings; }

    private:
        const UserDefaults& m_defaults;
    };

    /// Whether anything is stored under @p key, of whatever kind.
    bool contains(const QString& key) const;
    /// Whether the file can be read as settings, or its absence is in order; otherwise every key reads as nothing.
    bool isReadable() const;
    /// Whether there is no file.
    bool isAbsent() const;
    /// The text under @p key as it was stored; null when the key is absent or holds no text.
    QString string(const QString& key) const;
    /// The boolean under @p key; std::nullopt when the key is absent or holds no boolean.
    std::optional<bool> boolean(const QString& key) const;

    /// The value under @p key, also when the file holds nothing at this moment: then as it was when it last held
    /// something. For what must not be lost while somebody writes the file. Undefined when the key is absent.
    QJsonValue lastKnown(const QString& key) const;

    /// Whether that is known: whether the file has held anything since this was made, or can be read as it is.
    bool isLastKnown() const;

    /// All that is stored.
    QJsonObject values() const;

    /// Stores all @p values in one step; a null value removes its key. What other programs have stored meanwhile under
    /// other keys stays. Folders that are missing are made for the owner alone. False when the file could not be read
    /// or written; it then stands as it was.
    [[nodiscard]] bool store(const QHash<QString, QJsonValue>& values);

    /// Stores @p values and nothing else; the file as it was is kept beside it, with ".bak" appended to its name.
    [[nodiscard]] bool replace(const QJsonObject& values);

    /// Removes what stores have left beside the file whose program was killed meanwhile.
    void removeUnfinishedStores() const;

    /// @p handler is called from the loop, once for each change of the file that leaves it unreadable. A file that is
    /// whole again a moment later is none: some editors empty a file before they write it.
    void setBrokenFileHandler(std::function<void()> handler);

    /// @p handler is called from the loop when others had rights to the file, which it has lost to them as far as that
    /// can be changed; once for each right. The file is looked at whenever it is read, and when the handler is set.
    void setOpenFileHandler(std::function<void(PrivateFile::Access)> handler);
    /// What that handler would be told by now; nobody is told again.
    PrivateFile::Access takeOpenReport();
    /// Notes for that report what others can do with the file now. Who reads another file of the same folder closes the
    /// folder, after which nobody can tell.
    void noteAccess() const;

private:
    /// What tells one state of the file from another without reading it.
    struct Stamp {
        int error = 0; ///< Why there is no more to know; 0 when the rest counts.
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = 0;
        qint64 changedNs = 0; ///< Last change of contents or attributes, since the epoch.

        bool operator==(const Stamp&) const = default;
    };

    Stamp stampOfFile() const;
    void refresh() const;
    bool readFile() const;
    bool write(const QJsonObject& values, bool keepsOldFile);
    void note(PrivateFile::Access access) const;
    void scheduleOpenReport() const;
    void scheduleBrokenReport() const;
    void reportIfStillBroken() const;
    QString backupPath() const;
    bool keepFile(const QString& target) const;

    QString m_filePath;
    Absence m_absence;
    std::function<void()> m_brokenFileHandler;
    std::function<void(PrivateFile::Access)> m_openFileHandler;
    mutable QJsonObject m_values;
    mutable QJsonObject m_lastKnown; ///< The last ones that were not empty.
    mutable std::optional<Stamp>
        m_stamp; ///< The state that m_values were read from; std::nullopt when it may change unseen.
    mutable bool m_broken = false;
    mutable std::optional<Stamp> m_brokenStamp; ///< The broken state last noticed.
    mutable bool m_reportPending = false; ///< A broken state waits to be reported.
    mutable PrivateFile::Access m_noted; ///< All rights of others that were ever found.
    mutable PrivateFile::Access m_unreported; ///< What of them waits to be reported.
    mutable int m_readings = 0; ///< How many Readings there are.
    WeakAnchor m_anchor;
};
