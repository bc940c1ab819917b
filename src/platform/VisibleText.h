#pragma once

#include <QString>

inline constexpr qsizetype longestVisibleText = 1000;

/// @p text from an untrusted source with everything shown that would otherwise act unseen: control characters as their
/// pictures ("␛"), characters that turn the direction of writing or that have no width as their numbers ("⟨U+202E⟩").
/// What joins letters or emoji stays. Of a text of more than longestVisibleText characters, several times as long as
/// any file system's names, the middle is left out: setting it takes longer than anybody waits.
QString visibleText(const QString& text);
