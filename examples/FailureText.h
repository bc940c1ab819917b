#pragma once

#include <QString>
#include <quillbox/FMFailure.h>

constexpr int statusOfUsage = 2;
constexpr int statusOfLocalFile = 7;
constexpr int statusOfInterruption = 130;

/// What the program ends with after this failure; 0 for none.
int statusOf(const FMFailure& failure);
/// The failure for people, with the server's words.
QString textOf(const FMFailure& failure);

/// @p text without what would move the cursor of a terminal: names and words come from the server.
QString printable(const QString& text);
/// Says @p text, as one line, where errors go.
void say(const QString& text);

/// What the program ends with when all is printed: @p status, or another where the output could not be written, which
/// is said.
int statusAfterOutput(int status);
