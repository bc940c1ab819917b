#pragma once

#include "FTPEncryption.h"
#include "FTPSecurity.h"

#include <QString>

#include <functional>
#include <optional>

/// How far a connection test has come, or how it has ended.
enum class FTPConnectionTestState {
    Connecting, ///< The connection is being made; where the server allows one login only, one of ours ends first.
    LoggingIn, ///< The connection stands. Encryption is negotiated and the login sent.
    OpeningFolder, ///< The login was accepted.
    CreatingFolder, ///< The same, where the folder is to be made.
    Works, ///< The end: the folder was opened, and QUIT was sent.
    NoSuchHost, ///< The end: no address was found for the name.
    Unreachable, ///< The end: nobody listens there, or no way leads there.
    NoAnswer, ///< The end: a time limit.
    Lost, ///< The end: the server has ended the connection, or sent no proper reply.
    NotEncrypted, ///< The end: encryption failed. No login was sent.
    NotTrusted, ///< The end: the server's certificate is neither good nor trusted. No login was sent.
    LoginRefused, ///< The end: the server has refused the login.
    FolderRefused, ///< The end: the login was accepted and the folder refused.
    FolderNotCreated, ///< The end: the login was accepted, the folder is missing, and the server does not make it.
    NotSendable, ///< The end: the location is invalid, or login or folder hold characters that no command can.
};

/// Whether no further state follows.
bool isEnd(FTPConnectionTestState state);

struct FTPConnectionTestReport {
    FTPConnectionTestState state = FTPConnectionTestState::Connecting;
    QString reply = {}; ///< The server's last reply, escaped and without the password; null for none.
    std::optional<FTPSecurity> security
        = {}; ///< How login and folder were protected; std::nullopt while no login was sent.
};

struct FTPConnectionTestRequest {
    QString location; ///< Of the folder, as streams take it.
    QString userName; ///< Without both it and the password the login is anonymous.
    QString password;
    FTPEncryption encryption = FTPEncryption::None;
    bool createsFolder = false; ///< Makes the folder, level by level, where it is missing.
};

/// A connection test that is under way. Destroying it drops the connection; nothing is reported then.
class FTPConnectionTest {
public:
    FTPConnectionTest() = default;
    FTPConnectionTest(const FTPConnectionTest&) = delete;
    FTPConnectionTest& operator=(const FTPConnectionTest&) = delete;
    virtual ~FTPConnectionTest() = default;
};

/// Hears each new state, an end last, from the event loop. May destroy the test.
using FTPConnectionTestHandler = std::function<void(const FTPConnectionTestReport& report)>;
