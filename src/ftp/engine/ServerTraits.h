#pragma once

#include "FTPCommand.h"
#include "FTPServerKey.h"

#include <QDeadlineTimer>
#include <QHostAddress>

#include <map>
#include <set>

/// What is known of a server, for as long as there is an engine.
struct ServerTraits {
    QHostAddress address; ///< Of the host's addresses the one that has answered last; null: none has.
    bool hasFixedAddress = false; ///< No other one is to be used.
    bool pipelines = true; ///< It understands commands that are sent ahead of replies.
    /// STOR, RETR, LIST: it says that such a transfer begins (125, 150) before it says that it was done.
    std::set<FTPVerb> announced;
    QDeadlineTimer oneLogin; ///< Until then it is not asked for another login beside one of ours, which it has refused.
    bool allowsOneLogin() const { return !oneLogin.hasExpired(); }
    bool passiveOnly = false; ///< EPSV leads nowhere; PASV is to be used where there is an IPv4 address.
};

/// What transfers have learnt about the servers of an engine.
class ServerMemory {
public:
    ServerTraits& of(const FTPServerKey& key) { return m_traits[key.host + u':' + QString::number(key.port)]; }

private:
    std::map<QString, ServerTraits> m_traits; ///< Set-ups refer to what is in it.
};
