#pragma once

#include "FTPEncryption.h"
#include "FTPSecurity.h"

#include <QString>

#include <functional>
#include <optional>

/// How far a trial of a connection has come, or how it has ended.
enum class FTPProbeState {
    Connecting, ///< The server is being looked for; if need be, a login of ours has to end first.
    LoggingIn, ///< It is there. Encryption and login are being settled.
    OpeningFolder, ///< The login was accepted.
    Works, ///< The end: the folder was opened, and QUIT was sent.
    Unreachable, ///< The end: there is no such host, or nobody listens there.
    NoAnswer, ///< The end: silence for too long.
    Lost, ///< The end: the server has ended the connection, or said what makes no sense.
    NotEncrypted, ///< The end: no encryption came about. No login was sent.
    NotTrusted, ///< The end: the server's certificate is neither good nor trusted. No login was sent.
    LoginRefused, ///< The end: the server does not let us in.
    FolderRefused, ///< The end: it lets us in, and not into the folder.
    NotSendable, ///< The end: the location is none, or login or folder hold what no command can.
};

/// Whether nothing follows.
bool isEnd(FTPProbeState state);

struct FTPProbeReport {
    FTPProbeState state = FTPProbeState::Connecting;
    QString reply = {}; ///< What the server has said last, escaped and without the password; null for nothing.
    std::optional<FTPSecurity> security = {}; ///< How login and folder were protected; nothing while none was sent.
};

struct FTPProbeRequest {
    QString location; ///< Of the folder, as streams take it.
    QString userName; ///< Without both it and the password the login is anonymous.
    QString password;
    FTPEncryption encryption = FTPEncryption::None;
};

/// One trial of a connection that is under way. Destroying it ends the trial without ceremony; nothing is reported
/// then.
class FTPProbe {
public:
    FTPProbe() = default;
    FTPProbe(const FTPProbe&) = delete;
    FTPProbe& operator=(const FTPProbe&) = delete;
    virtual ~FTPProbe() = default;
};

/// Hears each new state, an end last, from the event loop. May destroy the probe.
using FTPProbeHandler = std::function<void(const FTPProbeReport& report)>;
