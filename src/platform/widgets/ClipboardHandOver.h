#pragma once

#include <chrono>

/// Has the desktop's clipboard manager keep what this program has put on the clipboard, which would go with the program
/// otherwise. Waits for it at most @p limit, in a loop that takes no input; the caller is about to end the program.
/// Does nothing where nothing is on the clipboard, or nobody keeps it (X11 only: elsewhere the desktop takes what is
/// copied at once).
void handOverClipboard(std::chrono::milliseconds limit);
