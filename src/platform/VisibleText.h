#pragma once

#include <QString>

/// @p text from an untrusted source with everything shown that would otherwise act unseen: control characters as their
/// pictures ("␛"), characters that turn the direction of writing or that have no width as their numbers ("⟨U+202E⟩"),
/// and bytes of paths that are not UTF-8 (LocalPath) as theirs ("⟨0xE9⟩"). What joins letters or emoji stays. A text of
/// more than 1,000 characters, which nobody reads but which takes time to lay out, loses its middle for a "…".
QString visibleText(const QString& text);

/// The same of the whole text, however long: for programs, not for people.
QString wholeVisibleText(const QString& text);
