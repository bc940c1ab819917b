#pragma once

/// While one lives, the system's calls behind a socket meet what signals and broken lines do to them, for the socket
/// that was connected last. Only in programs that link socket_call_support, and only for calls of their own code.
class FaultySocketCalls {
public:
    FaultySocketCalls() = default;
    FaultySocketCalls(const FaultySocketCalls&) = delete;
    FaultySocketCalls& operator=(const FaultySocketCalls&) = delete;
    ~FaultySocketCalls(); ///< All calls work again.

    /// From here on every second connect is interrupted on the way, and every second poll, send and recv before it does
    /// anything.
    static void interruptCalls();
    /// From here on a send takes one byte.
    static void shortenSends();
    /// The next @p count sends that must not wait find no room, although there seemed to be some.
    static void fillBuffersFor(int count);
    /// The connection breaks when @p count sends have been made.
    static void breakAfterSends(int count);
};
