#pragma once

/// Has each standard stream that was closed when the program was started lead to nothing: the next file that is opened
/// would take its number, and get what is printed. To be called before anything is opened.
void openStandardStreams();
