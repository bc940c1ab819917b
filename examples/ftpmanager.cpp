// The FTP library from the command line: one operation on a server for each start. It is also how to try the library.

#include "FTPManager.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QTextStream>

#include <map>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr int wrongUsage = 2;

QTextStream& out()
{
    static QTextStream stream(stdout);
    return stream;
}

QTextStream& errors()
{
    static QTextStream stream(stderr);
    return stream;
}

/// Shows percent while a transfer runs.
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

private:
    static void show(const std::optional<FTPManagerProgress>& progress)
    {
        if (progress) {
            errors() << "\r" << static_cast<int>(progress->progress * 100) << " %";
            if (progress->fileSizeProcessed == progress->fileSize) {
                errors() << "\n";
            }
            errors().flush();
        }
    }
};

/// What one operation works with.
struct Call {
    FTPManager& manager;
    const FMServer* server;
    QStringList arguments; ///< As many as the operation takes.
};

/// Names come from the server: what would move the cursor is not for the terminal.
QString printable(const QString& text)
{
    QString shown = text;
    for (QChar& c : shown) {
        if (!c.isPrint()) {
            c = u'?';
        }
    }
    return shown;
}

bool list(const Call& call)
{
    const std::optional<QList<ListingEntry>> entries = call.manager.contentsOfServer(call.server);
    if (!entries) {
        return false;
    }
    for (const ListingEntry& entry : *entries) {
        const QString date
            = entry.modDate ? QDateTime::fromMSecsSinceEpoch(*entry.modDate).toString(u"yyyy-MM-dd hh:mm"_s) : u"-"_s;
        const QString size = entry.size ? QString::number(*entry.size) : u"-"_s;
        const QString name = entry.name.isNull() ? u"(not in UTF-8)"_s : printable(entry.name);
        out() << (entry.type == ListingEntry::folderType ? "d" : "-") << size.rightJustified(16) << "  "
              << date.leftJustified(16) << "  " << name << "\n";
    }
    return true;
}

struct Operation {
    qsizetype arguments;
    bool (*run)(const Call&);
};

const std::map<QString, Operation>& operations()
{
    static const std::map<QString, Operation> all{
        { u"login"_s, { 0, [](const Call& call) { return call.manager.checkLogin(call.server); } } },
        { u"list"_s, { 0, list } },
        { u"upload"_s,
          { 1,
            [](const Call& call) {
                return call.manager.uploadFile(QUrl::fromLocalFile(call.arguments[0]), call.server);
            } } },
        { u"put"_s,
          { 2,
            [](const Call& call) {
                return call.manager.uploadData(call.arguments[1].toUtf8(), call.arguments[0], call.server);
            } } },
        { u"download"_s,
          { 2,
            [](const Call& call) {
                return call.manager.downloadFile(call.arguments[0], QUrl::fromLocalFile(call.arguments[1]),
                                                 call.server);
            } } },
        { u"mkdir"_s,
          { 1, [](const Call& call) { return call.manager.createNewFolder(call.arguments[0], call.server); } } },
        { u"delete"_s,
          { 1, [](const Call& call) { return call.manager.deleteFileNamed(call.arguments[0], call.server); } } },
        { u"chmod"_s,
          { 2,
            [](const Call& call) {
                bool isNumber = false;
                const quint32 mode = call.arguments[1].toUInt(&isNumber);
                return isNumber && call.manager.chmodFileNamed(call.arguments[0], mode, call.server);
            } } },
    };
    return all;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser options;
    options.setApplicationDescription(
        u"Runs one operation on an FTP server:\n"
        "  login                  Tests the login.\n"
        "  list                   Lists the folder.\n"
        "  upload FILE            Puts a local file into the folder.\n"
        "  put NAME TEXT          Puts a text into the folder.\n"
        "  download NAME FOLDER   Gets a file into a local folder.\n"
        "  mkdir NAME             Makes a folder.\n"
        "  delete NAME            Deletes a file, or a folder without a dot in its name.\n"
        "  chmod NAME MODE        Changes permissions, such as 644.\n"
        "The password is read from the environment variable FTP_PASSWORD."_s);
    options.addHelpOption();
    const QCommandLineOption port(u"port"_s, u"Port of the server, 21 when not given."_s, u"number"_s, u"21"_s);
    const QCommandLineOption user(u"user"_s, u"User name; anonymous when not given."_s, u"name"_s, u"anonymous"_s);
    options.addOptions({ port, user });
    options.addPositionalArgument(u"server"_s, u"Host, or host/folder."_s);
    options.addPositionalArgument(u"operation"_s, u"One of the above."_s);
    options.addPositionalArgument(u"arguments"_s, u"What the operation takes."_s, u"[arguments...]"_s);
    options.process(application);

    const QStringList words = options.positionalArguments();
    const auto operation = operations().find(words.value(1));
    if (operation == operations().end() || words.size() - 2 != operation->second.arguments) {
        errors() << options.helpText();
        return wrongUsage;
    }
    const auto server
        = FMServer::serverWithDestination(words[0], options.value(user), u""_s + qEnvironmentVariable("FTP_PASSWORD"));
    server->setPort(options.value(port).toInt());
    server->setCareful(true); // Or a deletion goes on where its folder is refused, and some refused logins pass.

    FTPManager manager;
    ProgressLine progress;
    manager.setDelegate(&progress);
    const bool done = operation->second.run({ manager, server.get(), words.mid(2) });
    errors() << (done ? "done" : "failed") << "\n";
    return done ? 0 : 1;
}
