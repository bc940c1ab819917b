#pragma once

#include "SettingsAlert.h"

#include <optional>

class DropIcons;
struct CommandLine;

/// What the command line asks of drop icons. Needs no display.
namespace IconCommands {

/// Has the running program use the settings of its own icon (IconSettings) where it has such, or was told so. Where
/// @p commandLine names those of another icon, the answer says so, and has been printed with the files that are not
/// taken; the program must not go on.
[[nodiscard]] std::optional<SettingsAlert> useSettings(const CommandLine& commandLine);

/// Prints a line for each icon: its name, a tab, and where its files go.
void list(const DropIcons& icons);

/// Goes on as the icon that @p commandLine names, with its files and its action. Comes back only when that is not
/// possible, having said why and which files are not taken.
void becomeIcon(const DropIcons& icons, const CommandLine& commandLine);

} // namespace IconCommands
