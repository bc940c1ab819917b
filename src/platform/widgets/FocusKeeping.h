#pragma once

class QWidget;

// A control that has the keyboard when it is disabled or hidden passes it on to a refuge; else the toolkit would pass
// it on to whatever stands next, where the same key does something else. That holds in a window that is not active,
// too, for the time when it is again. For the main thread.

/// Enables or disables @p control. It has the keyboard back when it is enabled again and the keyboard is still with
/// @p refuge.
void setEnabledKeepingFocus(QWidget& control, bool isEnabled, QWidget& refuge);

/// Shows or hides @p control. @p refuge has the keyboard of what is hidden, and of what is in it, for good.
void setVisibleKeepingFocus(QWidget& control, bool isVisible, QWidget& refuge);
