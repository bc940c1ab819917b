#pragma once

#include <QLatin1String>
#include <QString>
#include <QStringList>

/// The format of launchers and of what file managers read: lines of a key and a value. Each file of ours says in a key
/// of its own for which program's file it was made, so that another one in its place is told from it.
namespace DesktopEntry {

constexpr QLatin1String suffix(".desktop");

/// @p text as the value of a key, in one line. Some readers drop blanks at either end of a value.
QString value(QString text);

/// The command line that starts a program with those words, the first of which is its path, and behind them the files
/// that are dropped or selected.
QString commandLine(const QStringList& words);

/// The line that says that we made the file, for the program's file @p fileName.
QString ownLine(const QString& fileName);

/// Whether the file at @p path was made by us, for the program's file @p fileName. A link is not.
bool isOurs(const QString& path, const QString& fileName);

/// What the file at @p path says behind @p key, in whatever part of it; null when it does not.
QString read(const QString& path, QLatin1String key);

} // namespace DesktopEntry
