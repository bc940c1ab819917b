#pragma once

class QIcon;
class QString;

/// What the desktop knows a running program by: the icon of its windows, and its launcher.
namespace ProgramIdentity {

/// The product's own icon, in the usual sizes. Needs the application object.
QIcon productIcon();

/// What that is called in the icon theme.
QString productIconName();

/// The icon of all windows of the program @p programName, in the usual sizes: the product's, or a drop icon's own
/// picture. Needs the application object.
QIcon icon(const QString& programName);

/// The icon of its notifications: a name in the icon theme, or the URL of a file.
QString notificationIcon(const QString& programName);

/// The name, without ".desktop", of the launcher that belongs to the program @p programName: its own when one is
/// installed, otherwise the product's.
QString launcher(const QString& programName);

/// Gives the application icon and launcher. Needs the application object, and comes before the first window.
void apply(const QString& programName);

} // namespace ProgramIdentity
