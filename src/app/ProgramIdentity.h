#pragma once

class QIcon;
class QString;

/// What the desktop knows a running program by: the icon of its windows, and its launcher.
namespace ProgramIdentity {

/// The icon of all windows, in the usual sizes. Needs the application object.
QIcon icon();

/// What the icon is called in the icon theme. Drop icons have no picture of their own.
QString iconName();

/// The name, without ".desktop", of the launcher that belongs to the program @p programName: its own when one is
/// installed, otherwise the product's.
QString launcher(const QString& programName);

/// Gives the application icon and launcher. Needs the application object, and comes before the first window.
void apply(const QString& programName);

} // namespace ProgramIdentity
