#include "CarefulConversation.h"
#include "ControlSocket.h"
#include "FTPManagerAnswers.h"
#include "FTPManagerLog.h"
#include "FTPManagerPrivate.h"
#include "FTPManagerStrings.h"
#include "ReplyReader.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace quillbox {

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

    bool connectTo(ControlSocket& socket, const FMServer& server)
    {
        const auto port = static_cast<quint16>(server.port()); // Kept: as of all TCP ports, only 16 bits count.
        const QHostAddress address = server.address();
        switch (address.isNull() ? socket.connect(fmhost(server.destination()).toUtf8(), port)
                                 : socket.connect(address, port)) {
        case ControlSocket::Outcome::Connected:
            return true;
        case ControlSocket::Outcome::NoSocket:
            qCWarning(ftpManagerLog, "could not open socket!");
            return false;
        case ControlSocket::Outcome::HostUnknown:
            qCWarning(ftpManagerLog, "host error!");
            return false;
        case ControlSocket::Outcome::Refused:
            qCWarning(ftpManagerLog, "error connecting.");
            return false;
        }
        return false;
    }

    enum class Encryption {
        Stands,
        Failed, ///< It has not come to be.
        Untrusted, ///< It leads to somebody who is not trusted.
    };

    /// Agrees with the server on encryption.
    Encryption encrypt(ControlSocket& socket, const FMServer& server)
    {
        ReplyReader replies(socket);
        std::optional<Reply> reply = replies.next();
        if (!reply || !reply->isPositive() || !socket.write("AUTH TLS\r\n")) {
            qCWarning(ftpManagerLog, "the server does not greet");
            return Encryption::Failed;
        }
        reply = replies.next();
        // What else has come by now is dropped with the reader: it may be anybody's (RFC 4217, section 15).
        if (!reply || reply->code != 234 || !socket.startEncryption(fmhost(server.destination()))) {
            qCWarning(ftpManagerLog, "the server does not encrypt");
            return Encryption::Failed;
        }
        const ServerCertificate certificate = socket.certificate();
        if (!certificate.problems.isEmpty() && !server.trustedFingerprints().contains(certificate.fingerprint)) {
            qCWarning(ftpManagerLog, "the certificate of the server is not trusted");
            return Encryption::Untrusted;
        }
        return Encryption::Stands;
    }

    /// @p reply for people, without the password, which some servers repeat.
    QString wordsOf(const Reply& reply, const QString& password)
    {
        QString words = QString::fromUtf8(QByteArray::number(reply.code) + ' ' + reply.text);
        return password.isEmpty() ? words : words.replace(password, u"****"_s);
    }

    /// Whether @p replies have a line that answers QUIT.
    bool holdsQuitReply(const QByteArray& replies)
    {
        return replies.startsWith("221") || replies.contains("\n221");
    }

} // namespace

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
    const bool isReady = prepare(socket, server);
    std::optional<QString> answers;
    bool isCommandAccepted = false;
    if (isReady && server.isCareful()) {
        CarefulConversation conversation(socket);
        answers = conversation.hold(commands.setUp(), commands.command(), server.encryption() != FTPEncryption::None);
        if (conversation.isUndecided()) {
            noteUndecided();
        }
        isCommandAccepted = conversation.isCommandAccepted();
        if (const std::optional<Reply>& refusal = conversation.refusal()) {
            noteRefusal({ .code = refusal->code,
                          .words = wordsOf(*refusal, server.password()),
                          .isOfCommand = conversation.isCommandRefused() });
        }
    } else if (isReady) {
        answers = converse(socket, commands.lines());
    }
    const bool success = answers && _checkAnswers(*answers);
    const std::lock_guard lock(m_mutex);
    m_isCommandAccepted = isCommandAccepted;
    m_streamSuccess = success;
    m_action = Action::Ended;
    return success;
}

/// What comes before the first command line: the connection, and its encryption where that is required.
bool FTPManager::Private::prepare(ControlSocket& socket, const FMServer& server)
{
    if (!connectTo(socket, server)) {
        return false;
    }
    if (server.encryption() == FTPEncryption::None) {
        return true;
    }
    const Encryption encryption = encrypt(socket, server);
    if (encryption == Encryption::Untrusted) {
        noteRefusedCertificate();
    }
    return encryption == Encryption::Stands;
}

/// Everything that the server says to @p lines; std::nullopt when that cannot be told.
std::optional<QString> FTPManager::Private::converse(ControlSocket& socket, const QList<QByteArray>& lines)
{
    qsizetype sent = 0;
    while (sent < lines.size() && socket.write(lines[sent])) {
        ++sent;
    }
    std::optional<QString> answers;
    if (sent == lines.size()) {
        answers = _listenLoopForSocket(socket);
    }
    if (!answers && sent + 1 >= lines.size()) { // QUIT alone may be missing.
        noteUndecided();
    }
    return answers;
}

std::optional<QString> FTPManager::Private::_listenLoopForSocket(ControlSocket& socket)
{
    QByteArray text;
    QByteArray replies; // The same as it came.
    std::array<char, 255> part{};
    while (true) {
        const qint64 count = socket.read(part);
        if (count < 0 && (socket.isEncrypted() || socket.hasTimedOut()) && holdsQuitReply(replies)) {
            return QString::fromUtf8(text); // Nothing is missing; some servers just go, or do not.
        }
        if (count < 0 && socket.hasTimedOut()) {
            qCWarning(ftpManagerLog, "the server has not answered in time");
            return std::nullopt;
        }
        if (count < 0) {
            qCWarning(ftpManagerLog, "Error reading from socket!");
            if (socket.isEncrypted()) {
                return std::nullopt; // A refusal may have been cut off.
            }
            return QString::fromUtf8(text);
        }
        appendAnswer(text, QByteArrayView(part.data(), count));
        replies.append(part.data(), count);
        if (count == 0) {
            return QString::fromUtf8(text);
        }
        if (text.size() > mostAnswers) {
            return std::nullopt;
        }
    }
}

bool FTPManager::Private::_checkAnswers(const QString& text)
{
    return areGoodAnswers(text);
}

} // namespace quillbox
