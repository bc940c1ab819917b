#include "SettingsAlert.h"

#include "IconSettings.h"
#include "UserDefaults.h"
#include "VisibleText.h"

using namespace Qt::StringLiterals;

SettingsAlert SettingsAlert::broken(const UserDefaults& settings)
{
    const QString effect = IconSettings::areInUse()
        ? u"none of them are in effect. This icon’s server is set in another file"_s
        : u"none are in effect"_s;
    return { u"Settings Not Readable"_s,
             u"The settings in “%1” cannot be read, so %2.\n\nThe file will be kept as “%1.bak” when "
             "settings are next stored."_s.arg(visibleText(settings.filePath()), effect) };
}

SettingsAlert SettingsAlert::iconBroken(const UserDefaults& settings)
{
    const QString path = visibleText(settings.filePath());
    if (settings.isAbsent()) {
        return {
            u"Settings Missing"_s,
            u"The settings of this icon’s own server, “%1”, are gone. Nothing is uploaded without them, to no other "
            "server either.\n\nPut them back, or enter the server again."_s.arg(path)
        };
    }
    return { u"Settings Not Readable"_s,
             u"The settings of this icon’s own server in “%1” cannot be read. Nothing is uploaded without them, to no "
             "other server either.\n\nThe file will be kept as “%1.bak” when the server is next stored."_s.arg(path) };
}

SettingsAlert SettingsAlert::foreign(const QString& path, const QString& own)
{
    return { u"Settings Refused"_s,
             u"The settings in “%1” are not those of this program, which are in “%2”. No files are taken.\n\nWhere its "
             "launcher names them, open Drop Icons in Quillbox and save the icon again."_s.arg(visibleText(path),
                                                                                               visibleText(own)) };
}

SettingsAlert SettingsAlert::open(const QString& path, PrivateFile::Access access)
{
    using PrivateFile::Right;
    const QString shown = visibleText(path);
    if (access.have) {
        return { u"Settings Are Open to Others"_s,
                 u"Other users of this computer have access to the settings in “%1”, which hold the "
                 "password, and Quillbox cannot change that.\n\nKeep them where you alone may read and write "
                 "(mode 0600 in a folder with mode 0700)."_s.arg(shown) };
    }
    if (access.had.testAnyFlags(Right::Read | Right::Write)) {
        return { u"Settings Were Open to Others"_s,
                 u"Other users of this computer had access to the settings in “%1”, which hold the "
                 "password. Now you alone have.\n\nChange the password if somebody may have read it."_s.arg(shown) };
    }
    if (access.had & Right::Replace) {
        return {
            u"Settings Could Be Replaced"_s,
            u"Other users of this computer could not read the settings in “%1”, but could write to their folder, "
            "and so put others in their place. Now they cannot.\n\nSee in the preferences whether address and user "
            "name are yours."_s.arg(shown)
        };
    }
    return { u"Settings Were Closed to Others"_s,
             u"The settings in “%1”, which hold the password, or their folder gave rights to other users of this "
             "computer. Nobody could read or change the settings with these alone. Now they are yours alone."_s.arg(
                 shown) };
}

SettingsAlert SettingsAlert::openTrust(const QString& path, PrivateFile::Access access)
{
    using PrivateFile::Right;
    const PrivateFile::Rights harmful = Right::Write | Right::Replace;
    if (access.have & harmful) {
        return { u"Trusted Certificates Are Open to Others"_s,
                 u"Other users of this computer can change “%1”, which says whose certificates you trust, and Quillbox "
                 "cannot prevent that.\n\nKeep it where you alone may write (mode 0600 in a folder with mode 0700)."_s
                     .arg(path) };
    }
    if (access.had & harmful) {
        return { u"Trusted Certificates Were Open to Others"_s,
                 u"Other users of this computer could change “%1”, which says whose certificates you trust. Now you "
                 "alone can.\n\nRemove the file if somebody may have added a server. You are then asked about each "
                 "again."_s.arg(path) };
    }
    return {};
}
