#include "EncryptionSetting.h"

#include "SettingNames.h"
#include "UserDefaults.h"

using namespace Qt::StringLiterals;

FTPEncryption encryptionSetting(const UserDefaults& defaults)
{
    const QJsonValue value = defaults.lastKnown(SettingNames::encryption);
    const bool isOff = value.isUndefined() ? defaults.isLastKnown() : value == encryptionValue(FTPEncryption::None);
    return isOff ? FTPEncryption::None : FTPEncryption::Required;
}

QString encryptionValue(FTPEncryption encryption)
{
    return encryption == FTPEncryption::None ? u"none"_s : u"required"_s;
}
