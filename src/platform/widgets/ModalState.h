#pragma once

/// Whether an application-modal dialog or a menu has the user's attention, or the loop is suspended for a call
/// (LoopSuspension). Sheets, which belong to one window, do not count, and neither does a drag.
bool isMainLoopSuspended();
