#include "AskBeforeReplacing.h"

#include "IconSettings.h"
#include "SettingNames.h"
#include "UserDefaults.h"

bool AskBeforeReplacing::isWanted()
{
    return isWanted(UserDefaults::standard());
}

bool AskBeforeReplacing::isWanted(const UserDefaults& defaults)
{
    if (!defaults.isLastKnown()) {
        return IconSettings::areInUse(); // Otherwise the file names the server, too: nothing is sent before it is read.
    }
    return defaults.lastKnown(SettingNames::askBeforeReplacing).toBool();
}
