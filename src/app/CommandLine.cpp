#include "CommandLine.h"

#include "FileURL.h"
#include "LocalPath.h"

#include <QCommandLineParser>
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

/// The absolute path of a word of the command line: a path, or a file's URL.
QString absolutePath(const QString& word)
{
    if (word.startsWith(u"file://"_s)) {
        if (const QString path = localPath(QUrl(word)); !path.isNull()) {
            return withOneLeadingSlash(path);
        }
    }
    // Not cleaned: after a link, ".." is the parent of what the link leads to.
    return withOneLeadingSlash(word.startsWith(u'/') ? word : currentFolder() + u'/' + word);
}

/// Without "-session ID", with which a session manager starts programs again: it is a matter of the toolkit's.
QStringList withoutSession(QStringList arguments)
{
    const qsizetype place = arguments.indexOf(u"-session"_s);
    const qsizetype endOfOptions = arguments.indexOf(u"--"_s);
    if (place > 0 && (endOfOptions < 0 || place < endOfOptions)) {
        arguments.remove(place, std::min<qsizetype>(2, arguments.size() - place));
    }
    return arguments;
}

} // namespace

std::optional<CommandLine> CommandLine::read(const QStringList& arguments, const QString& version, int& exitCode)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Uploads files into one folder of an FTP server. FILES go up one after another; a copy of the program under "
        "another name uploads into a sub-folder of that name."_s);
    const QCommandLineOption help({ u"h"_s, u"help"_s }, u"Shows this help."_s);
    const QCommandLineOption showVersion({ u"v"_s, u"version"_s }, u"Shows the version."_s);
    const QCommandLineOption preferences(u"preferences"_s, u"Opens the preferences."_s);
    parser.addOptions({ help, showVersion, preferences });
    parser.addPositionalArgument(u"FILES"_s, u"Files to upload."_s, u"[FILES...]"_s);

    QTextStream out(stdout);
    QTextStream err(stderr);
    if (!parser.parse(withoutSession(arguments))) {
        err << parser.errorText() << '\n';
        exitCode = 2;
        return std::nullopt;
    }
    exitCode = 0;
    if (parser.isSet(help)) {
        out << parser.helpText();
        return std::nullopt;
    }
    if (parser.isSet(showVersion)) {
        out << "Quillbox " << version << '\n';
        return std::nullopt;
    }
    CommandLine commandLine;
    for (const QString& word : parser.positionalArguments()) {
        commandLine.files.append(absolutePath(word));
    }
    if (parser.isSet(preferences)) {
        commandLine.action = u"preferences"_s;
    }
    return commandLine;
}
