// The FTP library from the command line: one operation on a server for each start. It shows how a program uses the
// library, and uses nothing of it but what is installed.

#include "CommandLine.h"
#include "FailureText.h"
#include "Interruption.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QLoggingCategory>
#include <quillbox/FTPManager.h>
#include <quillbox/Version.h>

#include <cstdio>
#include <map>
#include <optional>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// Shows percent at a terminal while a transfer runs.
class ProgressLine final : public FTPManagerDelegate {
public:
    void ftpManagerUploadProgressDidChange(const std::optional<FTPManagerProgress>& progress) override
    {
        show(progress);
    }
    void ftpManagerDownloadProgressDidChange(const std::optional<FTPManagerProgress>& progress) override
    {
        show(progress);
    }
    /// Removes what is shown, for what follows.
    void clear()
    {
        if (m_shown >= 0) {
            std::fputs("\r      \r", stderr);
            m_shown = -1;
        }
    }

private:
    void show(const std::optional<FTPManagerProgress>& progress)
    {
        const int percent = progress ? static_cast<int>(progress->progress * 100) : -1;
        if (percent > m_shown) {
            m_shown = percent;
            std::fprintf(stderr, "\r%3d %%", percent);
        }
    }

    int m_shown = -1;
};

/// What operations work with.
struct Tool {
    CommandLine line;
    FTPManager manager = FTPManager();
    Interruption interruption{ manager };
    ProgressLine progress = {};
    int status = 0; ///< Of the first thing that has failed.

    /// Reports what has become of @p what.
    void take(bool isDone, const QString& what) { take(isDone, what, manager.lastFailure()); }
    void take(bool isDone, const QString& what, const FMFailure& failure)
    {
        progress.clear();
        if (!isDone) {
            say(what.isEmpty() ? textOf(failure) : what + u": "_s + textOf(failure));
            status = status != 0 ? status : statusOf(failure);
        }
    }
};

void logIn(Tool& tool)
{
    tool.take(tool.manager.checkLogin(tool.line.server.get()), QString());
}

void list(Tool& tool)
{
    const std::optional<QList<ListingEntry>> entries = tool.manager.contentsOfServer(tool.line.server.get());
    tool.take(entries.has_value(), QString());
    for (const ListingEntry& entry : entries.value_or(QList<ListingEntry>())) {
        const QString date
            = entry.modDate ? QDateTime::fromMSecsSinceEpoch(*entry.modDate).toString(u"yyyy-MM-dd hh:mm"_s) : u"-"_s;
        const QString size = entry.size ? QString::number(*entry.size) : u"-"_s;
        const QString name
            = entry.name.isNull() ? QString::fromLatin1(entry.rawName.toPercentEncoding()) : printable(entry.name);
        const QString row = (entry.type == ListingEntry::folderType ? u"d"_s : u"-"_s) + size.rightJustified(16)
            + u"  "_s + date.leftJustified(16) + u"  "_s + name + u'\n';
        std::fputs(row.toLocal8Bit().constData(), stdout);
    }
}

void put(Tool& tool)
{
    for (const QString& path : tool.line.arguments) {
        if (tool.interruption.hasCome()) {
            return;
        }
        const QUrl file = QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath());
        tool.take(tool.manager.uploadFile(file, tool.line.server.get()), path);
    }
}

void get(Tool& tool)
{
    const QString name = tool.line.arguments[0];
    const QUrl folder = QUrl::fromLocalFile(QFileInfo(tool.line.arguments.value(1, u"."_s)).absoluteFilePath());
    tool.manager.setKeepsOldFiles(true);
    tool.take(tool.manager.downloadFile(name, folder, tool.line.server.get()), name);
}

void makeFolder(Tool& tool)
{
    const QString name = tool.line.arguments[0];
    tool.take(tool.manager.createNewFolder(name, tool.line.server.get()), name);
}

/// The name decides what the library takes an item for; where the server refuses that, it may be the other one. If the
/// server refuses that, too, its first words are those that say why.
void remove(Tool& tool)
{
    const FMServer* const server = tool.line.server.get();
    for (const QString& name : tool.line.arguments) {
        if (tool.interruption.hasCome()) {
            return;
        }
        bool isDone = tool.manager.deleteFileNamed(name, server);
        FMFailure failure = tool.manager.lastFailure();
        if (!isDone && failure.kind == FMFailure::Kind::Refused && failure.code >= 500
            && !tool.interruption.hasCome()) {
            const auto other = name.contains(u'.') ? FTPManager::ItemKind::Folder : FTPManager::ItemKind::File;
            isDone = tool.manager.deleteItemNamed(name.toUtf8(), other, server);
            if (const FMFailure second = tool.manager.lastFailure(); second.kind != FMFailure::Kind::Refused) {
                failure = second;
            }
        }
        tool.take(isDone, name, failure);
    }
}

void changeMode(Tool& tool)
{
    const QString name = tool.line.arguments[0];
    const QString mode = tool.line.arguments[1];
    bool isOctal = false;
    if (mode.toUInt(&isOctal, 8) > 0777 || !isOctal) {
        say(u"a mode is an octal number up to 777, such as 644"_s);
        tool.status = statusOfUsage;
        return;
    }
    tool.take(tool.manager.chmodFileNamed(name, mode.toUInt(), tool.line.server.get()), name);
}

/// What the library logs is said here in other words.
void silenceLibrary()
{
    QLoggingCategory::setFilterRules(u"ftpmanager.warning=false"_s);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"ftpmanager"_s);
    QCoreApplication::setApplicationVersion(QString::fromLatin1(QUILLBOX_FTP_VERSION));
    silenceLibrary();
    static const std::map<QString, void (*)(Tool&)> operations{
        { u"login"_s, logIn },      { u"list"_s, list }, { u"put"_s, put },          { u"get"_s, get },
        { u"mkdir"_s, makeFolder }, { u"rm"_s, remove }, { u"chmod"_s, changeMode },
    };
    Tool tool{ readCommandLine() };
    if (::isatty(STDERR_FILENO) != 0) {
        tool.manager.setDelegate(&tool.progress);
    }
    operations.at(tool.line.operation)(tool);
    if (tool.interruption.hasCome()) {
        tool.progress.clear();
        say(u"interrupted"_s);
        return statusOfInterruption;
    }
    return statusAfterOutput(tool.status);
}
