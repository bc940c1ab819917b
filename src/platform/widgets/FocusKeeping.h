#pragma once

class QWidget;

/// Enables or disables @p control. A control that has the keyboard when it is disabled lends it to @p refuge, and has
/// it back when it is enabled again and the keyboard is still there; else the toolkit would pass it on to whatever
/// stands next, where the same key does something else. For the main thread.
void setEnabledKeepingFocus(QWidget& control, bool isEnabled, QWidget& refuge);
