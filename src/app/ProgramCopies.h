#pragma once

#include <QList>
#include <QString>

#include <optional>

/// Copies of the program under other names, each of which uploads into a sub-folder of its name: a link to the program
/// in a folder of our own, and a launcher with its own label. Touches no file that it has not made. For one thread.
class ProgramCopies {
public:
    /// Where things are put. Folders that are missing are made.
    struct Folders {
        QString links; ///< The links to the program; ours alone.
        QString launchers; ///< The launchers of the applications menu.
        QString desktop; ///< The user's desktop; null when there is none.

        static Folders standard();
    };

    struct Copy {
        QString name; ///< As the user gave it.
        QString path; ///< The link; what is started.
        bool isOnDesktop = false;

        bool operator==(const Copy& other) const = default;
    };

    /// What there is to say of a name before a copy is made.
    enum class NameVerdict {
        Good,
        NoFolderOfItsOwn, ///< Can be made, but uploads into the same folder as the product itself.
        ProductsName, ///< The product's own name.
        Unsuitable, ///< Names no folder: empty, "." or "..", a "/" at an end or two in a row, ":" or a control
                    ///< character.
        TooLong,
    };

    enum class Outcome {
        Made,
        NameNotPossible,
        AlreadyThere, ///< A copy of that name, or a file that is not ours where something of it would be; nothing has
                      ///< changed.
        NotWritable, ///< A file could not be made; nothing is left of what was.
    };

    /// Copies of the program at @p programPath, absolute and not itself a link.
    ProgramCopies(QString programPath, Folders folders);

    /// The name of the program's file that uploads into the sub-folder @p name; "/" makes levels.
    static QString fileName(const QString& name);
    static NameVerdict judge(const QString& name);
    /// Whether a copy of a name that was judged so is possible.
    static bool canBeMade(NameVerdict verdict);
    /// The file of the running program, also when that was started by a link: what a copy is a copy of.
    static QString ourProgramPath();

    /// Whether a copy can be put on the desktop.
    bool hasDesktop() const { return !m_folders.desktop.isNull(); }
    Outcome make(const QString& name, bool onDesktop) const;
    /// Those that are there, in the order in which the user's language has their file names.
    QList<Copy> copies() const;
    /// Removes what belongs to the copy @p name. False when something of it could not be removed, or there is none.
    bool remove(const QString& name) const;

private:
    QString linkPath(const QString& name) const;
    QString launcherPath(const QString& name) const;
    std::optional<QString> desktopPath(const QString& name) const;
    QByteArray launcher(const QString& name) const;

    QString m_programPath;
    Folders m_folders;
};
