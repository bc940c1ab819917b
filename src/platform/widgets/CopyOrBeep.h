#pragma once

class QString;

/// Puts @p text on the clipboard; beeps where there is none, and the clipboard keeps what it has. For the main thread.
void copyOrBeep(const QString& text);
