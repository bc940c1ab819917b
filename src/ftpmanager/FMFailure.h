#pragma once

#include <QString>

namespace quillbox {

/// Why an operation has failed.
struct FMFailure {
    /// What kind of a failure it was.
    enum class Kind {
        None, ///< It has not, or none has been begun.
        Unusable, ///< The record or an argument is not as it has to be, or no command can hold it. Nothing was changed.
        LocalFile, ///< A local file or folder is missing, or could not be read or written.
        NoSuchHost, ///< The host has no address (that the operation could use).
        CannotConnect, ///< Nobody takes the connection.
        NotEncrypted, ///< Encryption is required and does not come about. No login was sent.
        Certificate, ///< The server's certificate is neither good nor trusted. No login was sent.
        LoginRefused, ///< The server has refused user or password, or anybody at all in its greeting.
        FolderRefused, ///< It has refused the folder of the record, or what else comes before the command.
        Refused, ///< It has refused what the operation is for.
        Lost, ///< The connection has ended, or brought what is no answer.
        Silent, ///< The server has let a time limit pass.
        Unreadable, ///< The listing is none, or too long.
    };

    Kind kind = Kind::None; ///< What kind it was.
    /// The reply code (RFC 959, section 4.2), 400 to 599, where the server has refused; else 0.
    int code = 0;
    /// The last line of that reply, its code included and without the password; null without a refusal. It is the
    /// server's: show it as plain text alone.
    QString words = {};
};

} // namespace quillbox

#ifndef QUILLBOX_NO_GLOBAL_NAMES
using quillbox::FMFailure;
#endif
