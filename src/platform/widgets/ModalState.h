#pragma once

/// Whether an application-modal dialog or a menu has the user's attention, or the loop is held for a call (HeldLoop), so
/// that the main loop is not in its default mode. Sheets, which belong to one window, do not count, and neither does a drag.
bool isMainLoopHeld();
