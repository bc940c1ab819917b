#include "IconText.h"

#include "IconName.h"
#include "URLText.h"
#include "VisibleText.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QString linkedFileStays = u"the file that it leads to stays, with the login."_s;

/// Why @p name names no folder; it holds at least one character.
QString whyUnsuitable(const QString& name)
{
    if (name.contains(u':')) {
        return u"A name cannot hold “:”. A “/” makes levels, as in “Photos/2024”."_s;
    }
    const QStringList levels = name.split(u'/');
    if (levels.contains(u"."_s) || levels.contains(u".."_s)) {
        return u"“.” and “..” are no names of folders."_s;
    }
    if (levels.contains(QString())) {
        return u"A “/” stands between two names: not at the beginning, not at the end, and not beside another one."_s;
    }
    const bool isBlank = std::ranges::any_of(levels, [](const QString& level) { return level.trimmed().isEmpty(); });
    return isBlank ? u"A name cannot be made of blanks alone."_s : u"A name cannot hold invisible characters."_s;
}

} // namespace

namespace IconText {

QString explanation(const QString& name, IconSort sort)
{
    using enum IconName::Verdict;
    const bool hasOwnServer = sort == IconSort::OwnServer;
    if (name.isEmpty()) {
        return hasOwnServer
            ? u"Files that are dropped on the icon go to this server, into the folder that is given below."_s
            : u"The icon uploads into a sub-folder of its name. A “/” in the name makes levels, as in “Photos/2024”."_s;
    }
    switch (IconName::judge(name, sort)) {
    case Good:
        if (hasOwnServer) {
            return explanation(QString(), sort);
        }
        return name.contains(u'/')
            ? u"That folder has to be on the server: “New Folder…” in Quillbox’s own window makes it, one level after "
              "the other."_s
            : u"That folder has to be on the server: “New Folder…” in Quillbox’s own window makes it."_s;
    case NoFolderOfItsOwn:
        return u"A name that begins with “Quillbox” adds no sub-folder: this icon would upload into the same folder as "
               "Quillbox itself."_s;
    case ProductsName:
        return u"“Quillbox” is the name of the program itself. An icon needs another one."_s;
    case Unsuitable:
        return whyUnsuitable(name);
    case TooLong:
        return u"This name is too long for a file."_s;
    }
    Q_UNREACHABLE();
}

QString settingsLost(const DropIcons::Icon& icon)
{
    return icon.areSettingsLinked ? u"The icon’s own settings are a link, which is removed; "_s + linkedFileStays
                                  : u"The icon’s own settings, with the login, are removed."_s;
}

QString destination(const QString& destination, bool areSettingsReadable)
{
    if (!destination.isNull()) {
        return u"Files go to %1"_s.arg(URLText::readable(destination));
    }
    return areSettingsReadable ? u"No server yet: enter one in Quillbox’s own preferences"_s
                               : u"Files go nowhere: the main settings cannot be read"_s;
}

QString made(bool onDesktop)
{
    return onDesktop ? u"It is on the desktop, in the applications menu and in those of Thunar and Dolphin."_s
                     : u"It is in the applications menu and in those of Thunar and Dolphin."_s;
}

QString failure(DropIcons::Outcome outcome, bool isListed)
{
    using enum DropIcons::Outcome;
    switch (outcome) {
    case Made:
        return {};
    case NameNotPossible:
        return u"There can be no icon of that name."_s;
    case AlreadyThere:
        return isListed ? u"There is an icon of that name already."_s
                        : u"Another file is where one of the icon’s files would be. Nothing has been changed."_s;
    case NotWritable:
        return u"The icon’s files could not be read or written. Nothing has been changed."_s;
    case Gone:
        return u"Somebody else has removed the icon, renamed it, or changed whether it has a server of its own."_s;
    }
    Q_UNREACHABLE();
}

QString running(const QString& name, std::optional<bool> isRunning)
{
    QString text;
    if (!isRunning) {
        text = u"Without a session bus nobody knows whether “%1” is running. Close its window before you change its "
               "name or picture, or whether it has a server of its own."_s;
    } else if (*isRunning) {
        text = u"“%1” is running: its name, and whether it has a server of its own, can be changed when its window is "
               "closed. Another picture shows there when it is started again."_s;
    }
    return text.isNull() ? text : text.arg(visibleText(name));
}

QString removalQuestion(const DropIcons::Icon& icon, std::optional<bool> isRunning)
{
    QString text = u"Are you sure you want to remove the drop icon “%1” from this computer?"_s;
    const bool hasOwnServer = icon.sort == IconSort::OwnServer;
    if (hasOwnServer) {
        text += icon.areSettingsLinked ? u" Its settings are a link, which is removed too; "_s + linkedFileStays
                                       : u" Its settings, with the login, are removed too."_s;
    }
    text += u"\n\nThe files that it has uploaded stay on the server."_s;
    if (isRunning.value_or(true)) {
        text += isRunning ? u" It is running: its"_s
                          : u" Without a session bus nobody knows whether it is running; if so, its"_s;
        text += hasOwnServer ? u" window uploads nothing more from then on."_s
                             : u" window goes on until it is closed."_s;
    }
    return text.arg(visibleText(icon.name));
}

QString notRemoved(const QString& name)
{
    return u"“%1” could not be removed."_s.arg(visibleText(name));
}

QString notStarted(const QString& name)
{
    return u"“%1” could not be started."_s.arg(visibleText(name));
}

} // namespace IconText
