#pragma once

#include <QFlags>

/// What can go wrong with a try at a transfer so that another one may do better.
enum class Trouble {
    ConnectionLost, ///< The control connection has ended, or could not be made.
    Silence, ///< The server has let the limit of the present state pass.
    /// 500 or 503 to a command of the set-up, or an answer out of order: the server does not understand commands ahead
    /// of replies.
    Confusion,
    ServiceEnding, ///< 421: the server is about to close, or allows no further login (RFC 959, section 4.2).
    UnknownFolder, ///< A kept session stands in a folder that nobody knows.
    LostDuringQuestion, ///< The connection has ended while somebody was asked about the server's certificate.
    StrayReply, ///< A reply came that cannot be one to its command: it may be a late one to the transfer before.
    OwnLoginFailed, ///< A transfer that leaves the kept connection to others could not log in beside it.
    DeadDataPort, ///< Nobody answers at the port that the server has named, or the server says so itself (425).
};

/// What may be tried then, while nothing has been reported, so that nobody notices.
enum class Remedy {
    None = 0, ///< The transfer has failed.
    FreshConnection = 1, ///< Again, on a connection of its own.
    WithoutPipelining = 2, ///< Again, each command after the reply to the one before.
    WithPassive = 4, ///< Again, with PASV instead of EPSV.
    FreshAfterQuestion = 8, ///< Again, on a connection of its own, now that the certificate is trusted.
    AwaitLogin = 16, ///< Again, as soon as one of our other sessions on the server has ended or is free.
};
Q_DECLARE_FLAGS(Remedies, Remedy)

/// What is known of the try that met the trouble.
struct TryFacts {
    bool isSettingUp = false; ///< The command that the transfer is for has not been sent.
    bool isReused = false; ///< An earlier transfer has used the connection.
    bool hasReplied = false; ///< The server has answered something in this try.
    bool isLoggedIn = false;
    bool hasOtherLogin = false; ///< The server serves another connection of ours.
    bool canUsePassive = false; ///< The port came from EPSV, and PASV could name one as well.
    bool pipelines = true; ///< Commands were sent ahead of replies.
    bool hasLeftSession = false; ///< A session of ours was given up before; the server may not have noticed yet.
    bool hasReported = false; ///< An event was delivered.
};

/// Which trouble leads to which further try; @p tried is what was tried before.
Remedy remedyFor(Trouble trouble, const TryFacts& facts, Remedies tried);
