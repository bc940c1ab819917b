#include "IconCommands.h"

#include "CommandLine.h"
#include "DestinationSettings.h"
#include "DropIcons.h"
#include "IconName.h"
#include "IconSettings.h"
#include "LocalPath.h"
#include "ProgramName.h"
#include "VisibleText.h"

#include <QDir>
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
    const QString destination = DestinationSettings::destinationOfSubFolderIcon(IconName::fileName(name));
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

void printNotTaken(QTextStream& out, const QStringList& files)
{
    for (const QString& file : files) {
        out << "Not taken: " << wholeVisibleText(file) << '\n';
    }
}

} // namespace

bool IconCommands::useSettings(const CommandLine& commandLine)
{
    const QString program = programFileName();
    const QString own = QDir::cleanPath(IconSettings::filePath(program));
    const bool isTold = !commandLine.settings.isNull();
    if (isTold && QDir::cleanPath(commandLine.settings) != own) {
        QTextStream err(stderr);
        err << "Quillbox: The settings in \"" << wholeVisibleText(commandLine.settings)
            << "\" are not those of this program, which are in \"" << wholeVisibleText(own) << "\".\n";
        printNotTaken(err, commandLine.files);
        return false;
    }
    if (isTold || IconSettings::areOf(program)) {
        IconSettings::use(program);
    }
    return true;
}

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
    printNotTaken(err, commandLine.files);
}
