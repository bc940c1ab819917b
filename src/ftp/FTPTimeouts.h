#pragma once

#include <chrono>

namespace quillbox {

/// How long the engine waits before silence counts as a failure. No time limit runs while the loop is suspended.
struct FTPTimeouts {
    std::chrono::milliseconds connect = std::chrono::seconds(30); ///< For a connection, resolving included.
    std::chrono::milliseconds login = std::chrono::seconds(120); ///< For another login to end and ours to stand.
    /// For all replies of a set-up together; likewise for those to the command that it is for, until data moves.
    std::chrono::milliseconds reply = std::chrono::seconds(60);
    std::chrono::milliseconds careful = std::chrono::seconds(30); ///< For each reply, where the library is careful.
    std::chrono::milliseconds stalledData = std::chrono::seconds(60); ///< Without a byte moving.
    std::chrono::milliseconds slowListing = std::chrono::seconds(60); ///< In which a listing has to bring 1 KiB.
    std::chrono::milliseconds confirmation = std::chrono::seconds(300); ///< For the final reply after the data.
    std::chrono::milliseconds reason = std::chrono::seconds(3); ///< For the reply to a broken data connection.
    /// For the server's words on a refused login, which some servers think about for three seconds.
    std::chrono::milliseconds loginReason = std::chrono::seconds(5);
    std::chrono::milliseconds acceptance = std::chrono::seconds(1); ///< For a 150 when data is there already.
    std::chrono::milliseconds drain = std::chrono::seconds(2); ///< For the replies to a transfer that was given up.
    std::chrono::milliseconds quitGrace
        = std::chrono::milliseconds(200); ///< For a server to end a session that it has closed.
    std::chrono::milliseconds idle = std::chrono::seconds(60); ///< That an unused control connection is kept.
};

} // namespace quillbox

#ifndef QUILLBOX_NO_GLOBAL_NAMES
using quillbox::FTPTimeouts;
#endif
