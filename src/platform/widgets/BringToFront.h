#pragma once

class QWidget;

/// Shows @p window, were it minimised or behind others, and gives it the keyboard if the desktop allows that.
void bringToFront(QWidget& window);
