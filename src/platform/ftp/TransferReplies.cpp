// What the server says, judged.

#include "FTPLog.h"
#include "PassiveReply.h"
#include "Transfer.h"

namespace {

/// How many preliminary replies may come in a row. Each begins the wait for the final one anew, which some servers ask
/// for while they take long; one that says nothing else would never be done with.
constexpr int preliminaryLimit = 100;

bool isCompletion(const Reply& reply)
{
    return reply.code == 226 || reply.code == 250;
}

/// Whether the server did not understand, or not in this order: what pipelining leads to where it is not understood.
bool isConfused(const Reply& reply)
{
    return reply.code == 500 || reply.code == 503;
}

} // namespace

void Transfer::replyArrived(const FTPCommand& command, const Reply& reply)
{
    if (m_request.kind == Kind::Upload) {
        m_pool.noteUploadReply();
    }
    if (reply.code == 421) {
        serviceEnds(reply);
        return;
    }
    m_replySeen = true;
    m_preliminaries = reply.isPreliminary() ? m_preliminaries + 1 : 0;
    if (m_preliminaries > preliminaryLimit) {
        fail();
        return;
    }
    switch (command.verb) {
    case FTPVerb::Stor:
    case FTPVerb::Retr:
    case FTPVerb::List:
        judgeTransfer(reply);
        break;
    case FTPVerb::Mkd:
        judgeCreation(reply);
        break;
    case FTPVerb::Greeting:
    case FTPVerb::Auth:
    case FTPVerb::User:
    case FTPVerb::Pass:
    case FTPVerb::Pbsz:
    case FTPVerb::Prot:
    case FTPVerb::Pwd:
    case FTPVerb::Cwd:
    case FTPVerb::Type:
    case FTPVerb::Epsv:
    case FTPVerb::Pasv:
    case FTPVerb::Size:
    case FTPVerb::Quit:
        m_watchdog.touch();
        if (!reply.isPreliminary()) {
            judgeSetUp(command, reply);
        }
        break;
    }
}

void Transfer::judgeSetUp(const FTPCommand& command, const Reply& reply)
{
    ControlConnection::Session& session = m_connection->session();
    switch (command.verb) {
    case FTPVerb::Greeting:
        if (reply.isPositive()) {
            greeted();
        } else {
            finishRefused(reply);
        }
        return;
    case FTPVerb::Auth:
        authAnswered(reply);
        return;
    case FTPVerb::User:
        judgeUser(reply);
        return;
    case FTPVerb::Pass:
        judgePass(reply);
        return;
    case FTPVerb::Prot:
        if (!reply.isPositive()) {
            if (!isConfused(reply) || m_connection->isReused() || !retryInTurn()) {
                fail(); // Data would go in clear.
            }
            return;
        }
        break;
    case FTPVerb::Pwd:
        if (reply.code == 257) {
            session.loginFolder = folderOfReply(reply.text);
        }
        break;
    case FTPVerb::Cwd:
    case FTPVerb::Type:
        if (!reply.isPositive()) {
            refuse(reply);
            return;
        }
        if (command.verb == FTPVerb::Cwd) {
            session.folder = m_folder;
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
        judgePassive(command.verb, reply);
        return;
    case FTPVerb::Stor:
    case FTPVerb::Retr:
    case FTPVerb::List:
    case FTPVerb::Mkd:
    case FTPVerb::Pbsz: // Whether it matters, PROT tells.
    case FTPVerb::Quit:
        break;
    }
    sendPlanned();
}

void Transfer::judgeUser(const Reply& reply)
{
    if (reply.isPositive()) {
        m_userAccepted = true;
        m_connection->session().loggedIn = true;
        reach(Stage::LoggedIn);
    } else if (reply.code != 331) {
        refuse(reply);
        return;
    }
    sendPlanned();
}

void Transfer::judgePass(const Reply& reply)
{
    // Without a wanted password the command is out of order (503), which says nothing about the login.
    if (!reply.isPositive() && !(m_userAccepted && reply.code == 503)) {
        refuse(reply);
        return;
    }
    ControlConnection::Session& session = m_connection->session();
    session.loggedIn = true;
    reach(Stage::LoggedIn);
    if (m_folder.isEmpty()) {
        session.folder = m_folder;
    }
    sendPlanned();
}

void Transfer::judgePassive(FTPVerb verb, const Reply& reply)
{
    const bool extended = verb == FTPVerb::Epsv;
    std::optional<quint16> port;
    if (reply.code == (extended ? 229 : 227)) {
        port = extended ? portOfExtendedPassiveReply(reply.text) : portOfPassiveReply(reply.text);
    }
    if (port) {
        m_port = *port;
        m_extendedPassive = extended;
        sendPlanned();
        return;
    }
    const bool isIPv4 = m_connection->peerAddress().protocol() == QAbstractSocket::IPv4Protocol;
    const bool isUnknown = reply.isPositive() || (reply.code >= 500 && reply.code != 530);
    if (extended && isIPv4 && isUnknown) {
        m_engine.traits(m_key).passiveOnly = true;
        m_plan.prepend({ FTPVerb::Pasv, {} });
        sendPlanned();
        return;
    }
    refuse(reply);
}

void Transfer::judgeTransfer(const Reply& reply)
{
    if (m_state == State::AwaitingReason) {
        if (reply.isNegative()) {
            refuse(reply);
        } else if (!reply.isPreliminary()) {
            fail(); // The server may be content, but its data connection broke.
        }
        return;
    }
    if (reply.isPreliminary()) {
        m_watchdog.touch();
        m_accepted = true;
        if (m_request.kind != Kind::Upload && m_state == State::Opening && m_dataStands) {
            accepted();
        }
        return;
    }
    if (!isCompletion(reply)) {
        refuse(reply);
        return;
    }
    m_confirmed = true;
    if (m_state == State::Confirming) {
        if (m_request.kind == Kind::Upload && m_data.isEnding()) {
            fail(); // It cannot confirm what has not left yet.
        } else if (m_request.kind == Kind::Upload) {
            succeed(FTPStreamEvent::HasSpaceAvailable);
        } else {
            dataEnded();
        }
    } else if (m_request.kind == Kind::Upload) {
        fail(); // It cannot confirm what it has not got.
    } else if (m_state == State::Opening) {
        m_accepted = true; // Some servers never announce the data.
        if (m_dataStands) {
            accepted();
        }
    }
}

void Transfer::judgeCreation(const Reply& reply)
{
    if (reply.code == 257 || reply.code == 250) {
        succeed(FTPStreamEvent::EndEncountered);
    } else if (!reply.isPreliminary()) {
        refuse(reply);
    }
}

void Transfer::serviceEnds(const Reply& reply)
{
    if (!m_replySeen && m_connection->isReused() && retryOnFreshConnection()) {
        return;
    }
    if (!m_connection->session().loggedIn && m_pool.hasOther(*m_connection)) {
        m_state = State::AwaitingLogin;
        m_watchdog.stop();
        letGoOfConnection(false);
        m_pool.callWhenFree(m_key, this, [this] {
            if (m_state != State::AwaitingLogin) {
                return false;
            }
            takeConnection(ConnectionPool::Reuse::Allowed);
            return true;
        });
        return;
    }
    finishWith({ FTPStreamError::Domain::FTP, reply.code }, false);
}

void Transfer::unaskedReplyArrived(const Reply& reply)
{
    qCDebug(ftpLog, "an unasked reply %d", reply.code);
}

void Transfer::connectionLost()
{
    if (m_state == State::AwaitingTrust) {
        letGoOfConnection(false); // With the answer another one is made.
        return;
    }
    if (m_state == State::Moving && m_confirmed) {
        letGoOfConnection(false); // The last word has been said; the rest of the data follows.
        return;
    }
    if (!m_replySeen && m_connection->isReused() && retryOnFreshConnection()) {
        return;
    }
    if (m_replySeen && !m_connection->isReused() && m_state == State::Preparing && retryInTurn()) {
        return;
    }
    fail();
}

void Transfer::refuse(const Reply& reply)
{
    if (isConfused(reply) && !m_connection->isReused() && m_state == State::Preparing && retryInTurn()) {
        return;
    }
    finishRefused(reply);
}

void Transfer::finishRefused(const Reply& reply)
{
    if (reply.isNegative()) {
        finishWith({ FTPStreamError::Domain::FTP, reply.code }, true);
    } else {
        fail(); // An answer that does not fit the question.
    }
}
