#pragma once

#include <QString>

#include <memory>
#include <vector>

class UserDefaults;

/// Drop icons that have a server of their own. Each has the settings that say where its files go (Address, Username,
/// Password, FTPFolder, Encryption, WebAddress) in a file that is named after the program's file under which the icon
/// starts the program; all other settings are the main ones. On the main thread.
namespace IconSettings {

/// Bytes of the longest program's file name that can have such settings: a file system takes 255, and storing settings
/// makes files with longer names beside them.
constexpr qsizetype longestFileName = 231;

/// Where the icon that starts the program as @p fileName has its settings, were there such an icon.
QString filePath(const QString& fileName);
/// Where the links to the program are by which such icons start it, each called as the program's file is to be.
QString linkFolder();
/// Whether a program that is started as @p fileName has a server of its own: its settings or its link are there, or
/// nobody can tell. The product itself never has.
bool areOf(const QString& fileName);

/// These settings; broken while there are none.
std::unique_ptr<UserDefaults> open(const QString& fileName);

/// Those of all icons that have any. Whoever reads one closes the folder of all, and has them note before who could
/// read them (UserDefaults::noteAccess()).
std::vector<std::unique_ptr<UserDefaults>> all();

/// From now on connectionSettings() are those of the icon that starts the program as @p fileName, also when its file is
/// gone or cannot be read: then nothing is set, and nothing of the main settings takes their place. Null for the main
/// ones, which are in use at first. Called once at most, before anybody holds connectionSettings().
void use(const QString& fileName);
bool areInUse();

} // namespace IconSettings

/// The settings that say where the running program's files go.
UserDefaults& connectionSettings();
