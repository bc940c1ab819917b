#include "IconSettings.h"

#include "UserDefaults.h"

#include <QFileInfo>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace {

/// Null while the main settings are in use.
std::unique_ptr<UserDefaults>& settingsInUse()
{
    static std::unique_ptr<UserDefaults> settings;
    return settings;
}

} // namespace

QString IconSettings::filePath(const QString& fileName)
{
    return QFileInfo(UserDefaults::standard().filePath()).path() + u"/icons/"_s + fileName + u".json"_s;
}

QString IconSettings::linkFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + u"/quillbox/icons"_s;
}

bool IconSettings::areOf(const QString& fileName)
{
    const QFileInfo settings(filePath(fileName));
    return settings.exists() || settings.isSymLink() || QFileInfo(linkFolder() + u'/' + fileName).isSymLink();
}

std::unique_ptr<UserDefaults> IconSettings::open(const QString& fileName)
{
    return std::make_unique<UserDefaults>(filePath(fileName), UserDefaults::Absence::IsBroken);
}

void IconSettings::use(const QString& fileName)
{
    settingsInUse() = fileName.isNull() ? nullptr : open(fileName);
}

bool IconSettings::areInUse()
{
    return settingsInUse() != nullptr;
}

UserDefaults& connectionSettings()
{
    return IconSettings::areInUse() ? *settingsInUse() : UserDefaults::standard();
}
