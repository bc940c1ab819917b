#include "IconText.h"

#include "IconName.h"
#include "VisibleText.h"

#include <QDir>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

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

QString explanation(const QString& name)
{
    if (name.isEmpty()) {
        return u"A copy uploads into a sub-folder of its name. A “/” in the name makes levels, as in “Photos/2024”."_s;
    }
    using enum IconName::Verdict;
    switch (IconName::judge(name)) {
    case Good:
        return name.contains(u'/')
            ? u"That folder has to be on the server: “New Folder…” in Quillbox’s own window makes it, one level after "
              "the other."_s
            : u"That folder has to be on the server: “New Folder…” in Quillbox’s own window makes it."_s;
    case NoFolderOfItsOwn:
        return u"A name that begins with “Quillbox” adds no sub-folder: this copy would upload into the same folder as "
               "Quillbox itself."_s;
    case ProductsName:
        return u"“Quillbox” is the name of the program itself. A copy needs another one."_s;
    case Unsuitable:
        return whyUnsuitable(name);
    case TooLong:
        return u"This name is too long for a file."_s;
    }
    Q_UNREACHABLE();
}

QString outcome(DropIcons::Outcome outcome, bool onDesktop, bool isListed)
{
    using enum DropIcons::Outcome;
    switch (outcome) {
    case Made:
        return onDesktop ? u"The copy is in the applications menu and on the desktop. Files can be dropped on it."_s
                         : u"The copy is in the applications menu. Files can be dropped on it."_s;
    case NameNotPossible:
        return u"There can be no copy of that name."_s;
    case AlreadyThere:
        return isListed ? u"There is a copy of that name already."_s
                        : u"Another file is where one of the copy’s files would be. Nothing has been changed."_s;
    case NotWritable:
        return u"The copy could not be made, as its files could not be written. Nothing of it is left."_s;
    }
    Q_UNREACHABLE();
}

QString removalQuestion(const QString& name)
{
    return u"Are you sure you want to remove the copy “%1” from this computer?\n\nThe files that it has uploaded stay "
           "on the server. A window of it that is open stays until it is closed."_s.arg(visibleText(name));
}

QString notRemoved(const QString& name)
{
    return u"“%1” could not be removed."_s.arg(visibleText(name));
}

QString notStarted(const QString& name)
{
    return u"“%1” could not be started."_s.arg(visibleText(name));
}

QString location(const QString& path)
{
    const QString home = QDir::homePath() + u'/';
    return path.startsWith(home) ? u"~/"_s + path.sliced(home.size()) : path;
}

} // namespace IconText
