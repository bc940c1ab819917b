#include "CommandLine.h"

#include "FileURL.h"
#include "LocalPath.h"
#include "VisibleText.h"

#include <QFileInfo>
#include <QTextStream>
#include <QUrl>

#include <algorithm>
#include <cstdio>
#include <filesystem>

using namespace Qt::StringLiterals;

namespace {

/// @p path with one "/" at its beginning: a URL would take what follows two of them for the name of a host.
QString withOneLeadingSlash(const QString& path)
{
    qsizetype slashes = 0;
    while (slashes < path.size() && path[slashes] == u'/') {
        ++slashes;
    }
    return path.sliced(std::max<qsizetype>(slashes - 1, 0));
}

QString currentFolder()
{
    std::error_code error; // A folder that is gone has no path.
    return LocalPath::fromBytes(QByteArray::fromStdString(std::filesystem::current_path(error).native()));
}

/// The absolute path of a word of the command line: a path, or a file's URL. Empty where it names nothing: without a
/// letter it would stand for the whole folder, and where that is gone a name for something else below "/".
QString absolutePath(const QString& word)
{
    if (word.startsWith(u"file://"_s)) {
        if (const QString path = localPath(QUrl(word)); !path.isNull()) {
            return withOneLeadingSlash(path);
        }
    }
    // Not cleaned: after a link, ".." is the parent of what the link leads to.
    if (word.startsWith(u'/')) {
        return withOneLeadingSlash(word);
    }
    const QString folder = currentFolder();
    return word.isEmpty() || folder.isEmpty() ? u""_s : withOneLeadingSlash(folder + u'/' + word);
}

/// What is wrong with @p commandLine, which has so many words, as a whole; null for nothing.
QString complaint(const CommandLine& commandLine, qsizetype wordCount)
{
    if (const qsizetype nothing = commandLine.files.indexOf(QString()); nothing >= 0) {
        const QString word = visibleText(commandLine.filesAsGiven[nothing]);
        return word.isEmpty() ? u"\"\" names no file."_s
                              : u"\"%1\" names no file: the current folder is gone."_s.arg(word);
    }
    if (commandLine.listsIcons && wordCount > 1) {
        return u"\"--list-icons\" stands alone."_s;
    }
    if (commandLine.isReported() && (commandLine.files.isEmpty() || !commandLine.action.isNull())) {
        return u"\"--wait\" and \"--hidden\" are for files, and for nothing else."_s;
    }
    return {};
}

constexpr const char* helpText
    = "Usage: Quillbox [--icon NAME] [--preferences] [--] [FILE...]\n"
      "       Quillbox [--icon NAME] [--wait] [--hidden] [--] FILE...\n"
      "\n"
      "Uploads files into one folder of an FTP server. Each FILE goes up, one after another. A drop icon uploads into\n"
      "a folder of its own.\n"
      "\n"
      "  -h, --help     Shows this help.\n"
      "  -v, --version  Shows the version.\n"
      "  --icon NAME    Starts the drop icon of that name, or hands the files to its window.\n"
      "  --list-icons   Lists the drop icons, each with a tab and where its files go.\n"
      "  --preferences  Opens the preferences.\n"
      "  --settings FILE\n"
      "                 Says that this icon has a server of its own, with its settings in this file; its launcher "
      "does.\n"
      "  --wait         Waits until the files are over, and prints a line for each: its path, a tab, and what has "
      "become\n"
      "                 of it. Ends with 0 when all have arrived, with 1 when not.\n"
      "  --hidden       Shows no window and asks nothing; what would have been asked is a failure.\n"
      "  -session ID    Alone: how session managers start programs again.\n"
      "  --             Every word behind it is a file, also one that begins with \"-\".\n";

} // namespace

std::optional<CommandLine> CommandLine::read(const QStringList& arguments, const QString& version, int& exitCode)
{
    CommandLine commandLine;
    bool isBehindOptions = false;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& word = arguments[i];
        if (isBehindOptions || !word.startsWith(u'-')) {
            commandLine.files.append(absolutePath(word));
            commandLine.filesAsGiven.append(word);
        } else if (word == u"--"_s) {
            isBehindOptions = true;
        } else if (word == u"--preferences"_s) {
            commandLine.action = u"preferences"_s;
        } else if (word == u"--list-icons"_s) {
            commandLine.listsIcons = true;
        } else if (word == u"--wait"_s) {
            commandLine.isWaitedFor = true;
        } else if (word == u"--hidden"_s) {
            commandLine.isHidden = true;
        } else if (word == u"--icon"_s || word == u"--settings"_s) {
            const bool isIcon = word == u"--icon"_s;
            if (++i == arguments.size() || arguments[i].isEmpty()) {
                QTextStream(stderr) << "Quillbox: \"" << word << "\" is followed by "
                                    << (isIcon ? "the name of an icon" : "a file with an icon's settings") << ".\n";
                exitCode = 2;
                return std::nullopt;
            }
            (isIcon ? commandLine.icon : commandLine.settings) = isIcon ? arguments[i] : absolutePath(arguments[i]);
        } else if (word == u"-session"_s && i == 1 && arguments.size() == 3 && !QFileInfo::exists(word)) {
            break; // What follows is an ID of the toolkit's. Where that is a file, "*" stood for its name and
                   // "-session".
        } else if (word == u"-h"_s || word == u"--help"_s) {
            QTextStream(stdout) << helpText;
            exitCode = 0;
            return std::nullopt;
        } else if (word == u"-v"_s || word == u"--version"_s) {
            QTextStream(stdout) << "Quillbox " << version << '\n';
            exitCode = 0;
            return std::nullopt;
        } else {
            QTextStream(stderr)
                << "Quillbox: There is no option \"" << visibleText(word)
                << "\". A file of that name is given behind \"--\", and \"--help\" shows the options.\n";
            exitCode = 2;
            return std::nullopt;
        }
    }
    if (const QString why = complaint(commandLine, arguments.size() - 1); !why.isNull()) {
        QTextStream(stderr) << "Quillbox: " << why << '\n';
        exitCode = 2;
        return std::nullopt;
    }
    return commandLine;
}
