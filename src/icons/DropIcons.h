#pragma once

#include <QList>
#include <QString>

#include <optional>

/// Links to the program under other names, each of which uploads into a sub-folder of its name: they lie in a folder of
/// our own, and each has a launcher with its own label. Touches no file that it has not made. For one thread.
class DropIcons {
public:
    /// Where things are put. Folders that are missing are made.
    struct Folders {
        QString links; ///< The links to the program; ours alone.
        QString launchers; ///< The launchers of the applications menu.
        QString desktop; ///< The user's desktop; null when there is none.

        static Folders standard();
    };

    struct Icon {
        QString name; ///< As the user gave it.
        QString path; ///< The link; what is started.
        bool isOnDesktop = false;

        bool operator==(const Icon& other) const = default;
    };

    enum class Outcome {
        Made,
        NameNotPossible,
        AlreadyThere, ///< An icon of that name, or a file that is not ours where something of it would be; nothing has
                      ///< changed.
        NotWritable, ///< A file could not be made; nothing is left of what was.
    };

    /// Icons of the program at @p programPath, absolute and not itself a link.
    DropIcons(QString programPath, Folders folders);

    /// The file of the running program, also when that was started by a link: what an icon leads to.
    static QString ourProgramPath();

    /// Whether an icon can be put on the desktop.
    bool hasDesktop() const { return !m_folders.desktop.isNull(); }
    Outcome make(const QString& name, bool onDesktop) const;
    /// Those that are there, in the order in which the user's language has their file names.
    QList<Icon> icons() const;
    /// Removes what belongs to the icon @p name. False when something of it could not be removed, or there is none.
    bool remove(const QString& name) const;

private:
    QString linkPath(const QString& name) const;
    QString launcherPath(const QString& name) const;
    std::optional<QString> desktopPath(const QString& name) const;
    QByteArray launcher(const QString& name) const;

    QString m_programPath;
    Folders m_folders;
};
