#pragma once

#include <QLatin1StringView>

#include <span>

/// A kind of files that a desktop may run, install or obey when it opens one, or whose documents can hold programs.
struct CodeType {
    QLatin1StringView type; ///< The MIME type; those that are derived from it belong to the kind as well.
    QLatin1StringView endings; ///< Of names, apart by blanks, where databases of types do not know them.
};

/// All of them. What is none of them is opened.
std::span<const CodeType> codeTypes();

/// What a document that is a zip archive inside holds its macros in: the last part of a name, or with a "/" at its end
/// the beginning of one.
std::span<const QLatin1StringView> macroParts();
