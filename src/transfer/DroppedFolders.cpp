#include "DroppedFolders.h"

#include "SettingNames.h"
#include "UserDefaults.h"

using namespace Qt::StringLiterals;

bool DroppedFolders::areUploaded()
{
    return areUploaded(UserDefaults::standard());
}

bool DroppedFolders::areUploaded(const UserDefaults& defaults)
{
    return defaults.string(SettingNames::droppedFolders) == u"uploaded"_s;
}

QJsonValue DroppedFolders::value(bool areUploaded)
{
    return areUploaded ? u"uploaded"_s : u"left out"_s;
}
