#include "SessionSetup.h"

#include "ControlConnection.h"
#include "PassiveReply.h"
#include "ServerTraits.h"

#include <algorithm>
#include <utility>

namespace {

/// "User logged in, proceed" (RFC 959, section 4.2).
constexpr int loggedIn = 230;

/// The absolute form of a location's folder; nothing when the server did not tell the login folder.
std::optional<QByteArray> absoluteFolder(const QByteArray& folder, const std::optional<QByteArray>& loginFolder)
{
    if (folder.startsWith('/')) {
        return folder;
    }
    if (!loginFolder || folder.isEmpty()) {
        return loginFolder;
    }
    return loginFolder->endsWith('/') ? *loginFolder + folder : *loginFolder + '/' + folder;
}

/// Whether @p reply cannot be one to @p command: a second or late reply to the transfer before looks so.
bool isStray(const FTPCommand& command, const Reply& reply)
{
    switch (command.verb) {
    case FTPVerb::Epsv:
        return reply.isPositive() && reply.code != 229;
    case FTPVerb::Pasv:
        return reply.isPositive() && reply.code != 227;
    case FTPVerb::Type:
        return reply.isPositive() && reply.code != 200;
    default:
        return reply.code == 226;
    }
}

} // namespace

SessionSetup::SessionSetup(ControlConnection& connection, ServerTraits& traits, Goal goal)
    : m_connection(connection)
    , m_traits(traits)
    , m_goal(std::move(goal))
{
}

SessionSetup::Verdict SessionSetup::begin()
{
    m_hasBegun = true;
    const ControlConnection::Session& session = m_connection.session();
    if (!session.loggedIn) {
        m_plan = loginCommands();
    } else if (session.folder == m_goal.folder) {
        if (!session.binary) {
            m_plan = { { FTPVerb::Type, "I" } };
        }
    } else {
        const std::optional<QByteArray> folder = absoluteFolder(m_goal.folder, session.loginFolder);
        if (!folder) {
            return Verdict::FolderUnknown;
        }
        // The type again behind it: some servers forget it when the folder changes.
        m_plan = { { FTPVerb::Cwd, *folder }, { FTPVerb::Type, "I" } };
    }
    if (!m_goal.sizedFile.isEmpty()) {
        m_plan.append({ FTPVerb::Size, relativeArgument(m_goal.sizedFile) });
    }
    if (m_goal.needsPort) {
        m_plan.append(passiveCommand());
    } else if (m_plan.isEmpty()) {
        // Finds out whether a kept connection still lives: MKD itself must not be sent twice.
        m_plan.append({ FTPVerb::Type, "I" });
    }
    return sendPlanned();
}

QList<FTPCommand> SessionSetup::loginCommands() const
{
    // Nothing that changes anything on the server may follow a CWD whose reply has not been seen: were it refused,
    // the change would happen in another folder.
    QList<FTPCommand> commands;
    if (m_connection.tls() != nullptr) {
        // Encrypts data connections (RFC 4217, section 9). In front, so that the replies to a login stand together:
        // some servers think about a wrong password and answer what follows meanwhile.
        commands = { { FTPVerb::Pbsz, "0" }, { FTPVerb::Prot, "P" } };
    }
    const FTPServerKey& login = m_connection.key();
    if (login.userName.isEmpty()) {
        commands.append({ { FTPVerb::User, "anonymous" }, { FTPVerb::Pass, "anonymous@" } });
    } else {
        commands.append({ { FTPVerb::User, login.userName }, { FTPVerb::Pass, login.password } });
    }
    commands.append({ FTPVerb::Pwd, {} });
    if (!m_goal.folder.isEmpty()) {
        commands.append({ FTPVerb::Cwd, relativeArgument(m_goal.folder) });
    }
    commands.append({ FTPVerb::Type, "I" });
    return commands;
}

bool SessionSetup::isIPv4() const
{
    return m_connection.peerAddress().protocol() == QAbstractSocket::IPv4Protocol;
}

FTPCommand SessionSetup::passiveCommand() const
{
    return { isIPv4() && m_traits.passiveOnly ? FTPVerb::Pasv : FTPVerb::Epsv, {} };
}

bool SessionSetup::canUsePassive() const
{
    return m_isExtendedPassive && isIPv4();
}

SessionSetup::Verdict SessionSetup::sendPlanned()
{
    if (m_plan.isEmpty()) {
        if (m_connection.isPending()) {
            return Verdict::GoesOn;
        }
        return m_isFolderMissing ? Verdict::FolderMissing : Verdict::Ready;
    }
    if (!m_traits.pipelines && m_connection.isPending()) {
        return Verdict::GoesOn;
    }
    const QList<FTPCommand> commands
        = m_traits.pipelines ? std::exchange(m_plan, {}) : QList<FTPCommand>{ m_plan.takeFirst() };
    for (const FTPCommand& command : commands) {
        if (command.verb == FTPVerb::Cwd) {
            m_connection.session().folder.reset(); // Unknown until the reply.
        } else if (command.verb == FTPVerb::Type) {
            m_connection.session().binary = false;
        }
    }
    m_connection.send(commands);
    return Verdict::GoesOn;
}

SessionSetup::Verdict SessionSetup::handleReply(const FTPCommand& command, const Reply& reply)
{
    if (m_connection.isReused() && isStray(command, reply)) {
        return Verdict::Stray;
    }
    if (!m_loginRefusals.isEmpty()) {
        m_loginRefusals.append(reply);
        if (reply.code == loggedIn) {
            m_connection.session().loggedIn = true;
            return Verdict::Confused; // What was refused stood behind the password.
        }
        return m_connection.isPending() ? Verdict::GoesOn : Verdict::Refused;
    }
    ControlConnection::Session& session = m_connection.session();
    switch (command.verb) {
    case FTPVerb::Greeting:
        return handleGreeting(reply);
    case FTPVerb::Auth:
        return reply.code == 234 ? Verdict::Encrypt : Verdict::Unprotected; // No TLS, no login.
    case FTPVerb::User:
        return handleUserReply(reply);
    case FTPVerb::Pass:
        return handlePassReply(reply);
    case FTPVerb::Prot:
        if (!reply.isPositive()) {
            // Data would go unencrypted.
            return reply.isConfusion() && m_traits.pipelines ? Verdict::Confused : Verdict::Unprotected;
        }
        break;
    case FTPVerb::Pwd:
        if (reply.code == 257) {
            session.loginFolder = folderOfReply(reply.text);
        }
        break;
    case FTPVerb::Cwd:
    case FTPVerb::Type:
        if (command.verb == FTPVerb::Cwd && saysMissing(reply)) {
            m_isFolderMissing = true;
            m_plan.clear();
            break;
        }
        if (!reply.isPositive()) {
            return refusal(reply);
        }
        if (command.verb == FTPVerb::Cwd) {
            session.folder = m_goal.folder;
        } else {
            session.binary = true;
        }
        break;
    case FTPVerb::Size:
        if (reply.code == 213) {
            bool isNumber = false;
            const qint64 size = reply.text.trimmed().toLongLong(&isNumber);
            m_size = isNumber && size >= 0 ? std::optional(size) : std::nullopt;
        }
        break;
    case FTPVerb::Epsv:
    case FTPVerb::Pasv:
        return handlePassiveReply(command.verb, reply);
    case FTPVerb::Pbsz: // Whether it matters, PROT tells.
    case FTPVerb::Stor:
    case FTPVerb::Retr:
    case FTPVerb::List:
    case FTPVerb::Mkd:
    case FTPVerb::Quit:
        break;
    }
    return sendPlanned();
}

SessionSetup::Verdict SessionSetup::handleGreeting(const Reply& reply)
{
    if (!reply.isPositive()) {
        return Verdict::Refused;
    }
    if (m_connection.key().encryption == FTPEncryption::None) {
        return Verdict::MayLogIn;
    }
    // Nothing goes along with it: before the handshake anybody may listen and answer.
    m_connection.send({ { FTPVerb::Auth, "TLS" } });
    return Verdict::GoesOn;
}

SessionSetup::Verdict SessionSetup::handleUserReply(const Reply& reply)
{
    if (reply.isPositive()) {
        m_userAccepted = true;
        m_connection.session().loggedIn = true;
    } else if (reply.code != 331) {
        return refusal(reply);
    }
    return sendPlanned();
}

SessionSetup::Verdict SessionSetup::handlePassReply(const Reply& reply)
{
    // Without a wanted password the command is out of order (503), which says nothing about the login.
    if (!reply.isPositive() && !(m_userAccepted && reply.code == 503)) {
        if (reply.isConfusion()) {
            return Verdict::Confused;
        }
        m_loginRefusals = { reply };
        return m_connection.isPending() ? Verdict::GoesOn : Verdict::Refused;
    }
    ControlConnection::Session& session = m_connection.session();
    session.loggedIn = true;
    if (m_goal.folder.isEmpty()) {
        session.folder = m_goal.folder;
    }
    return sendPlanned();
}

std::optional<Reply> SessionSetup::loginRefusal() const
{
    if (m_loginRefusals.isEmpty()) {
        return std::nullopt;
    }
    // A server that thinks about the password answers what stands behind it first, and always in the same words.
    const Reply& first = m_loginRefusals.first();
    const Reply& last = m_loginRefusals.last();
    const bool isRepeated = std::any_of(m_loginRefusals.begin() + 1, m_loginRefusals.end(),
                                        [&first](const Reply& each) { return each.text == first.text; });
    return isRepeated && last.isNegative() && last.text != first.text ? last : first;
}

SessionSetup::Verdict SessionSetup::handlePassiveReply(FTPVerb verb, const Reply& reply)
{
    const bool isExtended = verb == FTPVerb::Epsv;
    std::optional<quint16> port;
    if (reply.code == (isExtended ? 229 : 227)) {
        port = isExtended ? portOfExtendedPassiveReply(reply.text) : portOfPassiveReply(reply.text);
    }
    if (port) {
        m_port = *port;
        m_isExtendedPassive = isExtended;
        return sendPlanned();
    }
    const bool isUnknown = reply.isPositive() || (reply.code >= 500 && reply.code != 530);
    if (isExtended && isIPv4() && isUnknown) {
        m_traits.passiveOnly = true;
        m_plan.prepend({ FTPVerb::Pasv, {} });
        return sendPlanned();
    }
    return refusal(reply);
}

/// Whether @p reply to CWD leads to the folder's being made.
bool SessionSetup::saysMissing(const Reply& reply) const
{
    constexpr int notLoggedIn = 530;
    const bool isConfused = reply.isConfusion() && m_traits.pipelines;
    return m_goal.makesFolder && reply.isNegative() && reply.code != notLoggedIn && !isConfused;
}

QByteArray SessionSetup::pathOfFolder() const
{
    // Where the login folder is unknown, a session that has gone nowhere yet still stands in it.
    return absoluteFolder(m_goal.folder, m_connection.session().loginFolder).value_or(m_goal.folder);
}

SessionSetup::Verdict SessionSetup::refusal(const Reply& reply)
{
    return reply.isConfusion() ? Verdict::Confused : Verdict::Refused;
}
