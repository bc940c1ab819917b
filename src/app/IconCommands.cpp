#include "IconCommands.h"

#include "Addressing.h"
#include "CommandLine.h"
#include "DestinationSettings.h"
#include "DropIcons.h"
#include "IconName.h"
#include "LocalPath.h"
#include "VisibleText.h"

#include <QTextStream>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

QString destinationOf(const QString& name)
{
    const QString folder = Addressing::folderFromAppName(Addressing::appName(IconName::fileName(name)));
    const QString destination = DestinationSettings::createFullPathFromFTPRootRelativePath(folder);
    return destination.isNull() ? u"no destination"_s : destination;
}

/// Replaces this program by the one at @p path; null, or why that was not possible.
const char* run(const QString& path, const CommandLine& commandLine)
{
    QByteArrayList words{ LocalPath::toBytes(path) };
    if (!commandLine.action.isNull()) {
        words.append("--" + commandLine.action.toUtf8());
    }
    words.append("--");
    for (const QString& file : commandLine.files) {
        words.append(LocalPath::toBytes(file));
    }
    std::vector<char*> arguments;
    for (QByteArray& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    ::execv(words.first().constData(), arguments.data());
    return std::strerror(errno); // There is one thread yet.
}

} // namespace

void IconCommands::list(const DropIcons& icons)
{
    QTextStream out(stdout);
    for (const DropIcons::Icon& icon : icons.icons()) {
        out << wholeVisibleText(icon.name) << '\t' << destinationOf(icon.name) << '\n';
    }
}

void IconCommands::becomeIcon(const DropIcons& icons, const CommandLine& commandLine)
{
    const QList<DropIcons::Icon> all = icons.icons();
    const auto icon = std::ranges::find(all, commandLine.icon, &DropIcons::Icon::name);
    const QString name = wholeVisibleText(commandLine.icon);
    QTextStream err(stderr);
    if (icon == all.end()) {
        err << "Quillbox: There is no icon \"" << name << "\"; \"--list-icons\" shows those that there are.\n";
    } else {
        err << "Quillbox: The icon \"" << name << "\" cannot be started: " << run(icon->path, commandLine) << ".\n";
    }
    for (const QString& file : commandLine.files) {
        err << "Not taken: " << wholeVisibleText(file) << '\n';
    }
}
