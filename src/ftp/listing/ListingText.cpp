#include "ListingColumns.h"
#include "ListingDialects.h"
#include "MacRoman.h"

#include <limits>

std::optional<qint64> listingSize(QByteArrayView digits)
{
    if (!isListingNumber(digits)) {
        return std::nullopt;
    }
    constexpr qint64 largest = std::numeric_limits<qint64>::max();
    qint64 value = 0;
    for (const char c : digits) {
        const int digit = c - '0';
        if (value > (largest - digit) / 10) {
            return std::nullopt;
        }
        value = value * 10 + digit;
    }
    return value;
}

void setListingName(ListingEntry& entry, QByteArrayView name)
{
    entry.name = fromMacRoman(name);
    if (!name.isValidUtf8()) {
        entry.rawName = name.toByteArray();
    }
}
