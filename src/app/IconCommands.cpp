#include "IconCommands.h"

#include "CommandLine.h"
#include "DropIcons.h"
#include "IconDestination.h"
#include "IconSettings.h"
#include "LocalPath.h"
#include "ProgramName.h"
#include "TrustedCertificates.h"
#include "UploadReport.h"
#include "UserDefaults.h"
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

/// @p path of a file that need not be there, by its folder's true path.
QString withoutLinkedFolders(const QString& path)
{
    const QFileInfo file(QDir::cleanPath(path));
    const QString folder = QFileInfo(file.path()).canonicalFilePath();
    return (folder.isEmpty() ? file.path() : folder) + u'/' + file.fileName();
}

/// Reading settings has closed them to others: says so as a window would.
void printAlert(const SettingsAlert& alert)
{
    if (!alert.title.isNull()) {
        QTextStream(stderr) << "Quillbox: " << wholeVisibleText(alertLine(alert.title, alert.text)) << '\n';
    }
}

/// Replaces this program by @p icon's; the answer is why that was not possible.
const char* run(const DropIcons::Icon& icon, const CommandLine& commandLine)
{
    QByteArrayList words;
    for (const QString& word : DropIcons::command(icon)) {
        words.append(LocalPath::toBytes(word));
    }
    if (!commandLine.action.isNull()) {
        words.append("--" + commandLine.action.toUtf8());
    }
    if (commandLine.isWaitedFor) {
        words.append("--wait");
    }
    if (commandLine.isHidden) {
        words.append("--hidden");
    }
    words.append("--");
    for (const QString& file : commandLine.filesAsGiven) { // Absolute, they may be longer than the system allows.
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

/// Says that the files of @p commandLine are not taken, and why.
void refuse(const CommandLine& commandLine, const QString& why)
{
    if (commandLine.isReported()) {
        UploadReport report(commandLine.files);
        report.problem(why);
        report.rest(u"Not taken"_s);
        report.finish();
        return;
    }
    QTextStream err(stderr);
    err << "Quillbox: " << why << '\n';
    for (const QString& file : commandLine.files) {
        err << "Not taken: " << wholeVisibleText(file) << '\n';
    }
}

} // namespace

std::optional<SettingsAlert> IconCommands::useSettings(const CommandLine& commandLine)
{
    const QString program = programFileName();
    const QString own = IconSettings::filePath(program);
    const bool isTold = !commandLine.settings.isNull();
    if (isTold && withoutLinkedFolders(commandLine.settings) != withoutLinkedFolders(own)) {
        const SettingsAlert alert = SettingsAlert::foreign(commandLine.settings, own);
        refuse(commandLine, wholeVisibleText(alertLine(alert.title, alert.text)));
        return alert;
    }
    if (isTold || IconSettings::areOf(program)) {
        IconSettings::use(program);
    }
    return std::nullopt;
}

void IconCommands::list(const DropIcons& icons)
{
    UserDefaults& settings = UserDefaults::standard();
    TrustedCertificates& trusted = TrustedCertificates::standard();
    trusted.noteAccess(); // Before settings are read, which closes the folder of both.
    {
        QTextStream out(stdout);
        for (const DropIcons::Icon& icon : icons.icons()) {
            const QString destination = destinationOf(icon);
            const QString name = wholeVisibleText(icon.name);
            out << name << '\t' << (destination.isNull() ? u"no destination"_s : destination) << '\n';
            if (destination.isNull()) {
                QTextStream(stderr) << u"Quillbox: Files of “%1” go nowhere: %2.\n"_s.arg(name, whyNowhere(icon));
            }
        }
    }
    if (const PrivateFile::Access access = settings.takeOpenReport(); access.had) {
        printAlert(SettingsAlert::open(settings.filePath(), access));
    }
    printAlert(SettingsAlert::openTrust(trusted.filePath(), trusted.takeOpenReport()));
}

void IconCommands::becomeIcon(const DropIcons& icons, const CommandLine& commandLine)
{
    const QList<DropIcons::Icon> all = icons.icons();
    const auto icon = std::ranges::find(all, commandLine.icon, &DropIcons::Icon::name);
    const QString name = wholeVisibleText(commandLine.icon);
    refuse(commandLine,
           icon == all.end() ? u"There is no icon \"%1\"; \"--list-icons\" shows those that there are."_s.arg(name)
                             : u"The icon \"%1\" cannot be started: %2."_s.arg(
                                 name, QString::fromLocal8Bit(run(*icon, commandLine))));
}
