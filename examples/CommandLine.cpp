#include "CommandLine.h"

#include "FailureText.h"
#include "SilentQuestion.h"

#include <QByteArray>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <quillbox/FTPManagerStrings.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// How many arguments an operation takes.
struct Count {
    qsizetype least;
    qsizetype most;
};

constexpr qsizetype any = 1'000'000;

const std::map<QString, Count>& operations()
{
    static const std::map<QString, Count> all{
        { u"login"_s, { 0, 0 } }, { u"list"_s, { 0, 0 } }, { u"put"_s, { 1, any } }, { u"get"_s, { 1, 2 } },
        { u"mkdir"_s, { 1, 1 } }, { u"rm"_s, { 1, any } }, { u"chmod"_s, { 2, 2 } },
    };
    return all;
}

[[noreturn]] void endWithUsage(const QString& complaint)
{
    say(complaint + u"; --help tells more"_s);
    std::exit(statusOfUsage);
}

/// Ends the program with what was asked about it.
[[noreturn]] void endWithAnswer(const QString& answer)
{
    std::fputs(answer.toLocal8Bit().constData(), stdout);
    std::exit(statusAfterOutput(0));
}

/// Not null. What is not UTF-8 is refused: it would be sent as something else.
QString checkedPassword(const QByteArray& bytes)
{
    if (!bytes.isValidUtf8()) {
        endWithUsage(u"the password is not UTF-8"_s);
    }
    return u""_s + QString::fromUtf8(bytes);
}

/// The first line of the file.
QString passwordIn(const QString& path)
{
    QFile file(path);
    const bool isOpen = file.open(QFile::ReadOnly);
    QByteArray line = isOpen ? file.readLine() : QByteArray();
    if (!isOpen || file.error() != QFile::NoError) {
        endWithUsage(u"the password cannot be read from %1"_s.arg(path));
    }
    return checkedPassword(line.replace('\n', "").replace('\r', ""));
}

/// From the file, the environment or the terminal, the first that there is.
QString passwordOf(const QString& user, const QString& path)
{
    if (!path.isEmpty()) {
        return passwordIn(path);
    }
    if (qEnvironmentVariableIsSet("FTP_PASSWORD")) {
        return checkedPassword(qgetenv("FTP_PASSWORD"));
    }
    const QByteArray answer = askSilently(u"Password of %1: "_s.arg(user));
    if (answer.isNull()) {
        endWithUsage(
            u"there is no password for %1: give --password-file, or FTP_PASSWORD in the environment"_s.arg(user));
    }
    return checkedPassword(answer);
}

/// The 32 bytes of a SHA-256 fingerprint, written with or without ":".
QByteArray fingerprintOf(QString text)
{
    const QByteArray digits = text.remove(u':').toLatin1();
    QByteArray bytes = QByteArray::fromHex(digits);
    if (bytes.size() != 32 || bytes.toHex() != digits.toLower()) {
        endWithUsage(u"a fingerprint has 64 hexadecimal digits"_s);
    }
    return bytes;
}

} // namespace

CommandLine readCommandLine()
{
    QCommandLineParser options;
    options.setApplicationDescription(
        u"One operation on an FTP server:\n"
        "  login               tests the login\n"
        "  list                lists the folder\n"
        "  put FILE...         puts local files into the folder, over what is there\n"
        "  get NAME [FOLDER]   gets a file into a local folder, the present one when none is given\n"
        "  mkdir NAME          makes a folder\n"
        "  rm NAME...          deletes files and empty folders\n"
        "  chmod NAME MODE     changes permissions, such as 644\n"
        "\n"
        "The password comes from --password-file, or the environment variable FTP_PASSWORD, or is asked for.\n"
        "The status is 0 when all is done, 1 when the server refuses, 2 for a wrong command line, 3 when it refuses\n"
        "the login, 4 when it cannot be reached, 5 when it falls silent or goes away, 6 when the connection would not\n"
        "be protected, 7 for a local file or the output, 130 when interrupted."_s);
    options.addHelpOption();
    options.addVersionOption();
    const QCommandLineOption port(u"port"_s, u"Port of the server, 21 when not given."_s, u"number"_s, u"21"_s);
    const QCommandLineOption user(u"user"_s, u"User name; anonymous when not given."_s, u"name"_s);
    const QCommandLineOption passwordFile(u"password-file"_s, u"File whose first line is the password."_s, u"file"_s);
    const QCommandLineOption tls(u"tls"_s, u"Encrypts everything by TLS, or sends nothing."_s);
    const QCommandLineOption fingerprint(
        u"fingerprint"_s, u"SHA-256 of the certificate that the server may show; implies --tls."_s, u"hex"_s);
    options.addOptions({ port, user, passwordFile, tls, fingerprint });
    options.addPositionalArgument(u"server"_s, u"Host, or host/folder."_s);
    options.addPositionalArgument(u"operation"_s, u"One of the above."_s);
    options.addPositionalArgument(u"arguments"_s, u"What the operation takes."_s, u"[arguments...]"_s);
    if (!options.parse(QCoreApplication::arguments())) {
        endWithUsage(options.errorText());
    }
    if (options.isSet(u"help"_s)) {
        endWithAnswer(options.helpText());
    }
    if (options.isSet(u"version"_s)) {
        endWithAnswer(QCoreApplication::applicationName() + u' ' + QCoreApplication::applicationVersion() + u'\n');
    }

    const QStringList words = options.positionalArguments();
    const auto operation = operations().find(words.value(1));
    if (operation == operations().end()) {
        endWithUsage(words.size() < 2 ? u"a server and an operation are wanted"_s
                                      : u"there is no operation \"%1\""_s.arg(words[1]));
    }
    const QStringList arguments = words.mid(2);
    if (arguments.size() < operation->second.least || arguments.size() > operation->second.most) {
        endWithUsage(u"\"%1\" takes another number of arguments"_s.arg(words[1]));
    }
    bool isNumber = false;
    const int number = options.value(port).toInt(&isNumber);
    if (!isNumber || number < 1 || number > 65535) {
        endWithUsage(u"a port is a number from 1 to 65535"_s);
    }
    if (fmhost(words[0]).isEmpty() || fmhost(words[0]).contains(u':')) {
        endWithUsage(u"the server is a host, or host/folder; its port belongs to --port"_s);
    }
    if (options.isSet(passwordFile) && !options.isSet(user)) {
        endWithUsage(u"--password-file belongs to --user"_s);
    }

    CommandLine line{ FMServer::anonymousServerWithDestination(words[0]), words[1], arguments };
    line.server->setPort(number);
    line.server->setCareful(true); // Or a deletion goes on where its folder is refused.
    if (options.isSet(user)) {
        line.server->setUsername(options.value(user));
        line.server->setPassword(passwordOf(options.value(user), options.value(passwordFile)));
    }
    if (options.isSet(tls) || options.isSet(fingerprint)) {
        line.server->setEncryption(FTPEncryption::Required);
    }
    if (options.isSet(fingerprint)) {
        line.server->setTrustedFingerprints({ fingerprintOf(options.value(fingerprint)) });
    }
    return line;
}
