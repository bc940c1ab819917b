#pragma once

#include <QtGlobal>

#include <chrono>
#include <span>

// The system's calls on a non-blocking stream socket, each carried through interruptions (EINTR). They may be called on
// any thread and own nothing.

/// Received bytes into @p buffer: how many, 0 at the end, -1 with errno set otherwise.
qint64 receiveBytes(int socket, std::span<char> buffer);
/// How many of @p bytes the socket took, without a signal when the peer is gone; -1 with errno set otherwise.
qint64 sendBytes(int socket, std::span<const char> bytes);
/// Whether the call that has just failed would only have had to wait.
bool wouldHaveWaited();

/// Whether the system has a descriptor and the memory for one more socket.
bool canMakeSocket();
/// Takes off and answers the error of the socket that no call has reported yet; 0 for none (SO_ERROR).
int takePendingError(int socket);
/// How many bytes wait to be read, as far as that can be told without reading; 0 also at the end.
qint64 bytesToRead(int socket);
/// How many bytes a socket takes that has just been found writable. The kernel says so when a third of its buffer is
/// free; half of that may go to its own records.
qint64 roomToWrite(int socket);
/// Bytes that were written and that the peer's TCP has not acknowledged; our end, once it was said, counts as one. At
/// least one where the system does not tell.
qint64 unacknowledgedBytes(int socket);

/// Has the kernel ask after @p interval of silence, and then again and again, whether the peer is still there: so an
/// address translation on the way does not forget the connection, and a dead peer is noticed.
void keepAlive(int socket, std::chrono::seconds interval = std::chrono::seconds(60));
/// Whether the connection is over for both sides, in good order or by a reset or a failure.
bool isOver(int socket);

enum class Writability { Full, Writable, Failed };
/// Whether a write would find room.
Writability writability(int socket);
