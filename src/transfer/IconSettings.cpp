#include "IconSettings.h"

#include "UserDefaults.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <cerrno>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

constexpr QLatin1String ending(".json");

/// Null while the main settings are in use.
std::unique_ptr<UserDefaults>& settingsInUse()
{
    static std::unique_ptr<UserDefaults> settings;
    return settings;
}

/// Whether anything is at @p path, were it a link that leads nowhere. What cannot be looked at may be there.
bool isThere(const QString& path)
{
    struct stat status { };
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0
        || (errno != ENOENT && errno != ENOTDIR && errno != ENAMETOOLONG);
}

} // namespace

QString IconSettings::filePath(const QString& fileName)
{
    return QFileInfo(UserDefaults::standard().filePath()).path() + u"/icons/"_s + fileName + ending;
}

QString IconSettings::linkFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + u"/quillbox/icons"_s;
}

bool IconSettings::areOf(const QString& fileName)
{
    return fileName != u"Quillbox"_s && (isThere(filePath(fileName)) || isThere(linkFolder() + u'/' + fileName));
}

std::unique_ptr<UserDefaults> IconSettings::open(const QString& fileName)
{
    return std::make_unique<UserDefaults>(filePath(fileName), UserDefaults::Absence::IsBroken);
}

std::vector<std::unique_ptr<UserDefaults>> IconSettings::all()
{
    std::vector<std::unique_ptr<UserDefaults>> found;
    const QDir folder = QFileInfo(filePath(u""_s)).dir();
    for (const QString& file : folder.entryList({ u"*"_s + ending }, QDir::Files | QDir::Hidden)) {
        found.push_back(open(file.chopped(ending.size())));
    }
    return found;
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
