#pragma once

#include "FTPCommand.h"
#include "Reply.h"

#include <QByteArray>
#include <QList>

#include <optional>

class ControlConnection;
struct ServerTraits;

/// The conversation from the greeting of a control connection, or from where the transfer before has left it, to where
/// a transfer's own command may be sent: encrypted, logged in, in the folder, in binary mode, with size and port asked
/// for. It says what the server is told and what its replies mean; whoever owns it acts on the verdicts.
class SessionSetup {
public:
    /// What is to be settled.
    struct Goal {
        QByteArray folder; ///< As a location's path names it.
        QByteArray sizedFile; ///< Whose size is asked for; empty: none.
        bool needsPort = false; ///< A data connection will be made.
        bool makesFolder = false; ///< Whoever asks will make the folder where it is missing.
    };
    /// What a step has led to.
    enum class Verdict {
        GoesOn, ///< Replies are still to come.
        MayLogIn, ///< The server has greeted: begin() is due.
        Encrypt, ///< The server has agreed to TLS: the handshake is due, and then begin().
        Ready, ///< All is settled, and no reply is pending.
        Refused, ///< The reply refuses something that the transfer needs.
        Confused, ///< The server did not understand, or not in this order, or has answered in another one.
        Unprotected, ///< Encryption, of commands or data, does not come about.
        Stray, ///< The reply cannot be one to the command.
        FolderUnknown, ///< Nobody knows where the session stands.
        FolderMissing, ///< The server does not let us into the folder, which is to be made. No reply is pending.
    };

    SessionSetup(ControlConnection& connection, ServerTraits& traits, Goal goal);

    /// Begins at the login, or behind it where the session has one.
    Verdict begin();
    /// Judges a final reply to one of the commands of the set-up, the greeting included.
    Verdict handleReply(const FTPCommand& command, const Reply& reply);

    /// The server's words for a refused login; nothing while it has not been refused. Known from the first refusal on,
    /// and for good when handleReply() answers Refused: some servers think about a wrong password, and meanwhile refuse
    /// what was sent behind it.
    std::optional<Reply> loginRefusal() const;
    /// The path that leads to the folder from where the session stands while that is missing.
    QByteArray pathOfFolder() const;
    /// Whether begin() was called: the login, or what follows it, is under way.
    bool hasBegun() const { return m_hasBegun; }
    /// The port of the server that data is expected at; 0 while none was named.
    quint16 port() const { return m_port; }
    /// Whether the port came from EPSV where PASV could name one as well.
    bool canUsePassive() const;
    /// Bytes of the file as the server says; nothing when it does not.
    std::optional<qint64> size() const { return m_size; }

private:
    Verdict sendPlanned();
    QList<FTPCommand> loginCommands() const;
    FTPCommand passiveCommand() const;
    bool isIPv4() const;
    Verdict handleGreeting(const Reply& reply);
    Verdict handleUserReply(const Reply& reply);
    Verdict handlePassReply(const Reply& reply);
    Verdict handlePassiveReply(FTPVerb verb, const Reply& reply);
    static Verdict refusal(const Reply& reply);
    bool saysMissing(const Reply& reply) const;

    ControlConnection& m_connection;
    ServerTraits& m_traits;
    Goal m_goal;
    QList<FTPCommand> m_plan; ///< Commands that have not been sent yet.
    bool m_hasBegun = false;
    bool m_userAccepted = false; ///< No password is wanted; what is said to it does not matter.
    bool m_isFolderMissing = false;
    bool m_isExtendedPassive = false; ///< The port came from EPSV.
    QList<Reply> m_loginRefusals; ///< The reply to the password, and those to what was sent behind it.
    quint16 m_port = 0;
    std::optional<qint64> m_size;
};
