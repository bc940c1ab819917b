#pragma once

class QWidget;

/// Has the toolkit notice that the window @p window has the keyboard, where it has missed that: a window that is given
/// the keyboard while a modal one holds it passes it on; when that one closes in the same moment the keyboard stays
/// where it is, and the program would take itself for inactive until the user went elsewhere and came back. Does
/// nothing in any other case, nor where there is no X server. For the main thread.
void noticeKeyboard(const QWidget& window);
