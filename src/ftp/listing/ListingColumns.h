#pragma once

#include <QByteArrayView>

#include <optional>

// Small readers for the columns of listing lines. Nothing here depends on a locale.

inline bool isListingBlank(char c)
{
    return c == ' ' || c == '\t';
}

inline bool isListingDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// The text without the blanks at its beginning.
inline QByteArrayView withoutLeadingBlanks(QByteArrayView text)
{
    qsizetype blanks = 0;
    while (blanks < text.size() && isListingBlank(text[blanks])) {
        ++blanks;
    }
    return text.sliced(blanks);
}

/// Takes the next column off @p text: the blanks before it and what comes up to the next blank. Empty at the end.
inline QByteArrayView takeColumn(QByteArrayView& text)
{
    text = withoutLeadingBlanks(text);
    qsizetype length = 0;
    while (length < text.size() && !isListingBlank(text[length])) {
        ++length;
    }
    const QByteArrayView column = text.first(length);
    text = text.sliced(length);
    return column;
}

/// Whether @p text is one digit or more and nothing else.
inline bool isListingNumber(QByteArrayView text)
{
    for (const char c : text) {
        if (!isListingDigit(c)) {
            return false;
        }
    }
    return !text.isEmpty();
}

/// Takes a number of @p fewest to @p most digits (at most 9) off @p text. std::nullopt when there is none or a longer
/// one; then @p text is as it was.
inline std::optional<int> takeNumber(QByteArrayView& text, int fewest, int most)
{
    int value = 0;
    int digits = 0;
    while (digits < text.size() && isListingDigit(text[digits])) {
        if (digits == most) {
            return std::nullopt;
        }
        value = value * 10 + (text[digits] - '0');
        ++digits;
    }
    if (digits < fewest) {
        return std::nullopt;
    }
    text = text.sliced(digits);
    return value;
}

/// Takes @p c off @p text; false when something else comes.
inline bool takeCharacter(QByteArrayView& text, char c)
{
    if (!text.startsWith(c)) {
        return false;
    }
    text = text.sliced(1);
    return true;
}

/// The value of a column of digits; std::nullopt when it does not fit or is not such a column.
std::optional<qint64> listingSize(QByteArrayView digits);
