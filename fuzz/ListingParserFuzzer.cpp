#include "ListingParser.h"
#include "MacRoman.h"

#include <QDateTime>

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <vector>

namespace {

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

/// Checks what every answer promises, whatever the bytes.
void checkEntry(const ListingEntry& entry, QByteArrayView line)
{
    require(!entry.name.isEmpty() && entry.name.size() <= line.size());
    require(entry.type.has_value());
    require(!entry.size || *entry.size >= 0);
    require(!entry.mode || (*entry.mode >= 0 && *entry.mode <= 07777));
    const std::optional<QByteArray> bytes = toMacRoman(entry.name);
    require(bytes.has_value() && line.indexOf(*bytes) >= 0);
    require(entry.rawName.isNull() == bytes->isValidUtf8());
    require(entry.rawName.isNull() || entry.rawName == *bytes);
}

std::vector<ListingEntry> parse(QByteArrayView listing, const QDateTime& now)
{
    std::vector<ListingEntry> entries;
    while (true) {
        const ParsedListing parsed = parseListingLine(listing, now);
        require(parsed.consumed <= listing.size());
        if (parsed.consumed <= 0) {
            require(!parsed.entry);
            return entries;
        }
        const QByteArrayView line = listing.first(parsed.consumed);
        require(line.back() == '\n' && line.chopped(1).indexOf('\n') < 0);
        // The same line alone is the same item.
        require(parseListingLine(line, now).entry == parsed.entry);
        if (parsed.entry) {
            checkEntry(*parsed.entry, line);
            entries.push_back(*parsed.entry);
        }
        listing = listing.sliced(parsed.consumed);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QDateTime now(QDate(2024, 6, 15), QTime(12, 0), Qt::UTC);
    parse(QByteArrayView(data, static_cast<qsizetype>(size)), now);
    return 0;
}
