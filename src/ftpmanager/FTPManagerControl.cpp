#include "CarefulConversation.h"
#include "ControlSocket.h"
#include "FTPManagerAnswers.h"
#include "FTPManagerLog.h"
#include "FTPManagerPrivate.h"
#include "FTPManagerStrings.h"
#include "FailureKinds.h"
#include "ReplyReader.h"
#include "RunningOperation.h"

#include <QUrl>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

// The conversation over a control connection: all commands are sent at once, then everything that the server says until
// it closes the connection is read and judged. With encryption, the same is said inside of it.

namespace {

/// A command line, its line end included, fits into a buffer of 256 bytes with a NUL behind it.
constexpr qsizetype longestLine = 255;

/// The commands of one conversation. Complete is false when one of them cannot be a command line.
class CommandLines {
public:
    void add(const char* verb, const QString& argument) { add(verb + (' ' + argument.toUtf8())); }
    void add(const QByteArray& line)
    {
        constexpr auto endsLine = [](char c) { return c == '\r' || c == '\n' || c == '\0'; };
        if (line.size() + 2 > longestLine || std::any_of(line.cbegin(), line.cend(), endsLine)) {
            m_sendable = false;
        }
        m_lines.append(line + "\r\n");
    }

    void addCommand(const QByteArray& line)
    {
        add(line);
        m_hasCommand = true;
    }

    bool isSendable() const { return m_sendable; }
    const QList<QByteArray>& lines() const { return m_lines; }
    /// What stands before the command, or before QUIT without one.
    QList<QByteArray> setUp() const { return m_lines.first(m_lines.size() - (m_hasCommand ? 2 : 1)); }
    /// Null without one.
    QByteArray command() const { return m_hasCommand ? m_lines[m_lines.size() - 2] : QByteArray(); }

private:
    QList<QByteArray> m_lines;
    bool m_hasCommand = false;
    bool m_sendable = true;
};

CommandLines conversation(const FMServer& server, const QByteArray& command)
{
    CommandLines lines;
    lines.add("USER", server.username());
    lines.add("PASS", server.password());
    if (!command.isNull()) {
        const QString folder = fmdir(server.destination());
        if (!folder.isEmpty()) {
            lines.add("CWD", folder);
        }
        lines.addCommand(command);
    }
    lines.add("QUIT");
    return lines;
}

/// None when the connection stands.
FMFailure::Kind connectTo(ControlSocket& socket, const FMServer& server)
{
    const auto port = static_cast<quint16>(server.port()); // Kept: as of all TCP ports, only 16 bits count.
    const QHostAddress address = server.address();
    const QString host = fmhost(server.destination());
    const QByteArray ace = QUrl::toAce(host); // Empty for what is no name of a host to it.
    switch (address.isNull() ? socket.connect(ace.isEmpty() ? host.toUtf8() : ace, port)
                             : socket.connect(address, port)) {
    case ControlSocket::Outcome::Connected:
        return FMFailure::Kind::None;
    case ControlSocket::Outcome::NoSocket:
        qCWarning(ftpManagerLog, "could not open socket!");
        break;
    case ControlSocket::Outcome::HostUnknown:
        qCWarning(ftpManagerLog, "host error!");
        return FMFailure::Kind::NoSuchHost;
    case ControlSocket::Outcome::Refused:
        qCWarning(ftpManagerLog, "error connecting.");
        break;
    }
    return FMFailure::Kind::CannotConnect;
}

/// Why the peer of @p socket says nothing.
FMFailure::Kind kindOfSilence(const ControlSocket& socket)
{
    return socket.hasTimedOut() ? FMFailure::Kind::Silent : FMFailure::Kind::Lost;
}

/// Agrees with the server on encryption; of the kind None when it stands.
FMFailure encrypt(ControlSocket& socket, const FMServer& server)
{
    ReplyReader replies(socket);
    std::optional<Reply> reply = replies.next();
    if (!reply || !reply->isPositive() || !socket.write("AUTH TLS\r\n")) {
        qCWarning(ftpManagerLog, "the server does not greet");
        return reply && reply->isNegative() ? failureOf(*reply, QByteArray(), server.password())
                                            : FMFailure{ .kind = kindOfSilence(socket) };
    }
    reply = replies.next();
    // What else has come by now is dropped with the reader: it may be anybody's (RFC 4217, section 15).
    if (!reply || reply->code != 234 || !socket.startEncryption(fmhost(server.destination()))) {
        qCWarning(ftpManagerLog, "no encryption comes about");
        return { .kind = reply && !socket.hasTimedOut() ? FMFailure::Kind::NotEncrypted : kindOfSilence(socket) };
    }
    const ServerCertificate certificate = socket.certificate();
    if (!certificate.problems.isEmpty() && !server.trustedFingerprints().contains(certificate.fingerprint)) {
        qCWarning(ftpManagerLog, "the certificate of the server is not trusted");
        return { .kind = FMFailure::Kind::Certificate };
    }
    return {};
}

/// Whether @p replies have a line that answers QUIT.
bool holdsQuitReply(const QByteArray& replies)
{
    return replies.startsWith("221") || replies.contains("\n221");
}

} // namespace

namespace quillbox {

bool FTPManager::Private::_ftpActionForServer(const FMServer& server, const QByteArray& command)
{
    begin(Action::Command, 0);
    const CommandLines commands = conversation(server, command);
    if (!commands.isSendable()) {
        return false;
    }
    ControlSocket socket;
    if (const std::chrono::milliseconds limit = server.timeLimit(); limit.count() > 0) {
        socket.setTimeLimit(limit);
    }
    if (server.isCareful()) {
        socket.setSilenceLimit(server.timeouts().careful);
    }
    m_running->setEnd([&socket] { socket.interrupt(); });
    const bool isReady = prepare(socket, server);
    std::optional<QString> answers;
    bool isCommandAccepted = false;
    if (isReady && server.isCareful()) {
        const bool hasGreeted = server.encryption() != FTPEncryption::None;
        CarefulConversation conversation(socket);
        answers = conversation.hold(commands.setUp(), commands.command(), hasGreeted);
        if (conversation.isUndecided()) {
            noteUndecided();
        }
        isCommandAccepted = conversation.isCommandAccepted();
        if (const std::optional<Reply>& refusal = conversation.refusal()) {
            fail(failureOf(*refusal, conversation.refusedLine(), server.password()));
        } else if (!areGoodAnswers(QString::fromUtf8(conversation.replies()))) {
            fail(failureOf(conversation.replies(), commands.lines(), hasGreeted, server.password()));
        } else if (!answers) {
            fail(kindOfSilence(socket));
        }
    } else if (isReady) {
        answers = converse(socket, server, commands.lines());
    }
    m_running->setEnd(nullptr);
    const bool success = answers && _checkAnswers(*answers);
    const std::lock_guard lock(m_mutex);
    m_isCommandAccepted = isCommandAccepted;
    m_streamSuccess = success;
    if (success) {
        m_failure = FMFailure();
    }
    m_action = Action::Ended;
    return success;
}

/// What comes before the first command line: the connection, and its encryption where that is required.
bool FTPManager::Private::prepare(ControlSocket& socket, const FMServer& server)
{
    if (const FMFailure::Kind kind = connectTo(socket, server); kind != FMFailure::Kind::None) {
        return fail(kind);
    }
    if (server.encryption() == FTPEncryption::None) {
        return true;
    }
    const FMFailure failure = encrypt(socket, server);
    return failure.kind == FMFailure::Kind::None || fail(failure);
}

/// Everything that the server says to @p lines; std::nullopt when that cannot be told.
std::optional<QString> FTPManager::Private::converse(ControlSocket& socket, const FMServer& server,
                                                     const QList<QByteArray>& lines)
{
    qsizetype sent = 0;
    while (sent < lines.size() && socket.write(lines[sent])) {
        ++sent;
    }
    Answers answers;
    if (sent == lines.size()) {
        answers = _listenLoopForSocket(socket);
    }
    const QString text = QString::fromUtf8(answers.text);
    FMFailure failure{ .kind = kindOfSilence(socket) };
    if (!areGoodAnswers(text)) {
        const bool hasGreeted = server.encryption() != FTPEncryption::None;
        failure = failureOf(answers.replies, lines, hasGreeted, server.password());
    }
    fail(failure); // Unless all is good.
    if (answers.isWhole) {
        return text;
    }
    const bool isRefused = failure.kind == FMFailure::Kind::LoginRefused || failure.kind == FMFailure::Kind::Refused;
    if (!isRefused && sent + 1 >= lines.size()) { // QUIT alone may be missing.
        noteUndecided();
    }
    return std::nullopt;
}

Answers FTPManager::Private::_listenLoopForSocket(ControlSocket& socket)
{
    Answers answers;
    std::array<char, 255> part{};
    while (true) {
        const qint64 count = socket.read(part);
        if (count < 0 && (socket.isEncrypted() || socket.hasTimedOut()) && holdsQuitReply(answers.replies)) {
            answers.isWhole = true; // Some servers just go, or do not.
            return answers;
        }
        if (count < 0 && socket.hasTimedOut()) {
            qCWarning(ftpManagerLog, "the server has not answered in time");
            return answers;
        }
        if (count < 0) {
            qCWarning(ftpManagerLog, "Error reading from socket!");
            answers.isWhole = !socket.isEncrypted(); // Otherwise a refusal may have been cut off.
            return answers;
        }
        appendAnswer(answers.text, QByteArrayView(part.data(), count));
        answers.replies.append(part.data(), count);
        answers.isWhole = count == 0;
        if (answers.isWhole || answers.text.size() > mostAnswers) {
            return answers;
        }
    }
}

bool FTPManager::Private::_checkAnswers(const QString& text)
{
    return areGoodAnswers(text);
}

} // namespace quillbox
