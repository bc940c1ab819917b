#pragma once

#include <QStringList>

#include <optional>

/// What the command line asks for. A word that does not begin with "-" is a file, one that does is an option or an
/// error, and behind "--" every word is a file.
struct CommandLine {
    QStringList files; ///< Absolute paths (LocalPath), in order.
    QStringList filesAsGiven; ///< The same, as the words that they were.
    QString settings; ///< The file with the settings of the icon that starts the program; null when none is named.
    QString icon; ///< The drop icon that they are for; null for the program as it was started.
    bool listsIcons = false; ///< The drop icons are to be listed, and nothing else.
    bool isWaitedFor = false; ///< Somebody waits until the files are over.
    bool isHidden = false; ///< Without a window and without questions.
    QString action; ///< The launcher's action that is asked for; null for none.

    /// Whether somebody reads a line for each file.
    bool isReported() const { return isWaitedFor || isHidden; }
    /// Whether it is this program's window that is wanted, as it is of launchers.
    bool opensWindow() const { return !isReported() && !listsIcons && icon.isNull(); }

    /// Reads @p arguments (the program's name first), each the text of its bytes (LocalPath). std::nullopt when the
    /// program is to end at once with @p exitCode: help or version were asked for, or a word cannot be; what there
    /// is to say has been printed. Needs no display.
    static std::optional<CommandLine> read(const QStringList& arguments, const QString& version, int& exitCode);
};
