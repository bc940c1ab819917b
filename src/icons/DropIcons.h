#pragma once

#include "IconName.h"
#include "IconPicture.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

/// Links to the program under other names, on which files are dropped. Each uploads into a sub-folder of its name, or
/// has a server of its own (IconSettings). They lie in folders of our own; launchers, entries in the menus of file
/// managers and a picture belong to them. Each call does all that it does or nothing. Touches no file that it has not
/// made. For one thread.
class DropIcons {
public:
    /// Where things are put. Folders that are missing are made.
    struct Folders {
        QString links; ///< The links of icons without a server of their own; ours alone.
        QString linksWithServer; ///< The links of the others; ours alone.
        QString pictures; ///< Ours alone.
        QString launchers; ///< The launchers of the applications menu.
        QString desktop; ///< The user's desktop; null when there is none.
        QString sendTo; ///< What Thunar has in its menu "Send To".
        QString serviceMenus; ///< What Dolphin has in its menu.

        static Folders standard();
        /// The same below @p folder, with a folder "Desktop".
        static Folders below(const QString& folder);
    };

    struct Icon {
        QString name; ///< As the user gave it.
        IconSort sort = IconSort::SubFolder;
        QString path = {}; ///< The link; what is started.
        bool isOnDesktop = false;
        IconPicture picture = {};
        bool areSettingsLinked = false; ///< Its own are a link to a file somewhere else, which stays when it goes.

        bool operator==(const Icon& other) const = default;
    };

    /// What an icon is to be.
    struct Wish {
        QString name;
        IconSort sort = IconSort::SubFolder;
        bool onDesktop = false;
        IconPicture picture = {};
        /// What its settings hold, of one with a server of its own; std::nullopt: as they are.
        std::optional<QJsonObject> server = {};
    };

    enum class Outcome {
        Made,
        NameNotPossible,
        AlreadyThere, ///< An icon of that name, or a file that is not ours where something of it would be; nothing has
                      ///< changed.
        NotWritable, ///< A file could not be read, made, changed or removed; all is as it was.
        Gone, ///< There is no icon of that name and sort, or no longer.
    };

    /// Icons of the program at @p programPath, absolute and not itself a link.
    DropIcons(QString programPath, Folders folders);

    /// The file of the running program, also when that was started by a link: what an icon leads to.
    static QString ourProgramPath();

    /// Whether an icon can be put on the desktop.
    bool hasDesktop() const { return !m_folders.desktop.isNull(); }
    Outcome make(const Wish& wish) const;
    /// Makes @p icon, which is gone when it is of another sort by now, what @p wish says. Its program does not run
    /// where its name or its sort changes.
    Outcome change(const Icon& icon, const Wish& wish) const;
    /// Removes what belongs to @p icon, its settings included. False when something of it could not be removed, or it
    /// is gone or of another sort by now.
    bool remove(const Icon& icon) const;
    /// Those that are there, in the order in which the user's language has their file names.
    QList<Icon> icons() const;
    /// Makes the entries in the menus of file managers that are missing, as earlier versions made none.
    void makeMissingEntries() const;

    /// The words that start @p icon.
    static QStringList command(const Icon& icon);

private:
    struct Part;

    std::optional<Icon> find(const QString& name) const;
    QString linkPath(const QString& file, IconSort sort) const;
    QString launcherPath(const QString& file) const;
    QString picturePath(const QString& file) const;
    QStringList desktopPaths(const QString& file) const;
    Part linkTo(const QString& file, IconSort sort) const;
    QList<Part> entriesOf(const Icon& icon) const;
    QList<Part> partsOf(const Wish& wish) const;
    std::optional<QList<Part>> settingsPartsOf(const Wish& wish, const QString& oldFile) const;
    QStringList pathsOf(const Icon& icon) const;
    Outcome put(const std::optional<Icon>& old, const Wish& wish) const;

    QString m_programPath;
    Folders m_folders;
};
