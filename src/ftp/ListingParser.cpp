#include "ListingParser.h"

#include "ListingDialects.h"
#include "ListingRemark.h"
#include "ListingShortfall.h"

#include <cstring>

namespace {

/// The line without its line end. Some servers put more than one CR there.
QByteArrayView withoutLineEnd(QByteArrayView line)
{
    line.chop(1);
    while (line.endsWith('\r')) {
        line.chop(1);
    }
    return line;
}

std::optional<ListingEntry> parseLine(QByteArrayView line, const QDateTime& now)
{
    // No line is both: a DOS one begins with a date, which holds no blank, a Unix one with numbers and letters.
    if (std::optional<ListingEntry> entry = parseDosListingLine(line, now)) {
        return entry;
    }
    return parseUnixListingLine(line, now);
}

} // namespace

ParsedListing parseListingLine(QByteArrayView bytes, const QDateTime& now)
{
    if (bytes.isEmpty()) {
        return {};
    }
    const qsizetype searched = qMin(bytes.size(), maximumListingLine);
    const auto* lineEnd = static_cast<const char*>(std::memchr(bytes.data(), '\n', static_cast<size_t>(searched)));
    if (lineEnd == nullptr) {
        return { .consumed = bytes.size() > maximumListingLine ? -1 : 0, .entry = {} };
    }
    const QByteArrayView line = bytes.first(lineEnd - bytes.data() + 1);
    ParsedListing parsed{ .consumed = line.size(), .entry = parseLine(withoutLineEnd(line), now) };
    parsed.isUnread = !parsed.entry && !isListingRemark(withoutLineEnd(line));
    parsed.isComplaint = !parsed.entry && isListingComplaint(withoutLineEnd(line));
    return parsed;
}

bool ListingMeasure::takes(const ParsedListing& line)
{
    if (line.entry) {
        ++m_items;
        m_ofNames += line.entry->name.size() + line.entry->link.size(); // One character for each byte.
    } else {
        m_ignored += line.consumed;
    }
    return m_items <= mostItems && m_ofNames <= mostOfNames && m_ignored <= mostIgnored;
}
