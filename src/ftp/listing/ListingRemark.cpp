#include "ListingRemark.h"

#include "ListingColumns.h"

#include <algorithm>

namespace {

/// "total 12", in whatever language: a word and a number, maybe with a unit.
bool isSum(QByteArrayView line)
{
    const QByteArrayView word = takeColumn(line);
    QByteArrayView number = takeColumn(line);
    const bool isWord = std::all_of(word.begin(), word.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || static_cast<unsigned char>(c) >= 0x80;
    });
    if (number.startsWith('-')) {
        number = number.sliced(1);
    }
    return isWord && !number.isEmpty() && isListingDigit(number.front()) && takeColumn(line).isEmpty();
}

bool isFolderHeading(QByteArrayView line)
{
    return line.endsWith(':') && (line.startsWith('.') || line.startsWith('/'));
}

/// " Volume in drive C has no label.", " Directory of C:\", "       2 File(s)    1,234 bytes"
bool isFrameOfDir(QByteArrayView line)
{
    if (line.isEmpty() || !isListingBlank(line.front())) {
        return false;
    }
    const QByteArrayView first = takeColumn(line);
    const QByteArrayView second = takeColumn(line);
    return first == "Volume" || (first == "Directory" && second == "of")
        || (isListingNumber(first) && (second == "File(s)" || second == "Dir(s)"));
}

} // namespace

bool isListingRemark(QByteArrayView line)
{
    return withoutLeadingBlanks(line).isEmpty() || isSum(line) || isFolderHeading(line) || isFrameOfDir(line);
}
