#pragma once

#include "FTPTimeouts.h"

#include <QtGlobal>

/// Where a transfer stands. A transfer waits in every state but the first and the last.
enum class TransferState {
    New, ///< Not started, or the start is on its way through the loop.
    AwaitingLogin, ///< The server allows no further login; one of our connections will become free.
    Connecting, ///< The control connection is being made.
    SettingUp, ///< SessionSetup settles greeting, encryption, login, folder, type, size and port.
    AwaitingLoginReason, ///< The login was refused; the reply that says why may come behind others.
    AwaitingTrust, ///< Somebody is asked about the server's certificate. The connection may be lost meanwhile.
    OpeningData, ///< The transfer command is out; the data connection is being made.
    SecuringData, ///< The data connection has reached the server; its handshake goes on.
    AwaitingConsent, ///< The server has to say that it will do what it was told.
    AwaitingLateConsent, ///< Data has come without that word, which is normally there first. Some servers say none.
    Moving, ///< Data moves.
    Delivering, ///< All data was taken; the server's TCP has to acknowledge it.
    Confirming, ///< All data has moved; the server has to say that it was done.
    AwaitingReason, ///< The data connection broke; the server may say why.
    Finished, ///< Done, failed or abandoned.
};

/// How long a state may last.
struct StateClock {
    std::chrono::milliseconds FTPTimeouts::*limit; ///< Null: without a limit.
    /// Whether each byte that moves lets the time begin again; otherwise the limit holds for the state as a whole,
    /// whatever the server says meanwhile.
    bool restarts;
};

constexpr StateClock clockOf(TransferState state)
{
    switch (state) {
    case TransferState::New:
    case TransferState::AwaitingLogin: // FTPTimeouts::login, together with the tries that end in it.
    case TransferState::AwaitingTrust:
    case TransferState::Finished:
        break;
    case TransferState::Connecting:
    case TransferState::OpeningData:
        return { &FTPTimeouts::connect, false };
    case TransferState::SettingUp:
    case TransferState::SecuringData:
    case TransferState::AwaitingConsent:
        return { &FTPTimeouts::reply, false };
    case TransferState::AwaitingLateConsent:
        return { &FTPTimeouts::acceptance, false };
    case TransferState::Moving:
    case TransferState::Delivering:
        return { &FTPTimeouts::stalledData, true };
    case TransferState::Confirming:
        return { &FTPTimeouts::confirmation, false };
    case TransferState::AwaitingLoginReason:
        return { &FTPTimeouts::loginReason, false };
    case TransferState::AwaitingReason:
        return { &FTPTimeouts::reason, false };
    }
    return { nullptr, false };
}
