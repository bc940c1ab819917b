#pragma once

class UserDefaults;

/// The setting "AskBeforeReplacing": whether somebody is asked before files are queued that would replace others on the
/// server.
namespace AskBeforeReplacing {

/// Without the setting nobody is. While the file holds nothing, because somebody is about to write it or it is damaged,
/// what it said before counts; where that is not known somebody is asked.
bool isWanted(const UserDefaults& defaults);
bool isWanted();

} // namespace AskBeforeReplacing
