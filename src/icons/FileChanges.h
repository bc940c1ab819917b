#pragma once

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>

#include <optional>

/// Changes of files that are all made or none: what was made is undone when this goes, unless keep() was called.
class FileChanges {
public:
    /// What is written with these is replaced in one step, as programs that run read it, and where a link leads.
    static constexpr QFile::Permissions ownersAlone = QFile::ReadOwner | QFile::WriteOwner;

    FileChanges() = default;
    FileChanges(const FileChanges&) = delete;
    FileChanges& operator=(const FileChanges&) = delete;
    ~FileChanges();

    /// Writes the file at @p path, whose folder is made where it is missing. What was there goes, if @p replaces says
    /// so; otherwise nothing is written where anything is. What is so already is not touched: desktops take a file that
    /// goes and comes for another one.
    bool write(const QString& path, const QByteArray& content, QFile::Permissions permissions, bool replaces);
    /// Makes a link to @p target at @p path, in the same way.
    bool link(const QString& path, const QString& target, bool replaces);
    /// Removes the file or the link at @p path. True when nothing is there. What cannot be read cannot be brought back
    /// either.
    bool remove(const QString& path);

    /// Whether anything is at @p path, were it a link that leads nowhere.
    static bool isTaken(const QString& path);

    void keep() { m_before.clear(); }

private:
    /// What was at a path before a change.
    struct State {
        QString path;
        QByteArray target = {}; ///< Of a link; null where there was none.
        std::optional<QByteArray> content = {}; ///< Of a file.
        QFile::Permissions permissions = {};
    };

    static std::optional<State> stateOf(const QString& path);
    static void restore(const State& state);
    bool makeRoom(const QString& path, bool replaces);
    bool isMade(const QString& path, bool isMade);

    QList<State> m_before; ///< In the order of the changes.
};
