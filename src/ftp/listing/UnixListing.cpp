#include "ListingColumns.h"
#include "ListingDate.h"
#include "ListingDialects.h"
#include "MacRoman.h"

namespace {

/// The type's code for the letter at the beginning of the permissions; std::nullopt for letters that stand for no type.
std::optional<int> typeOfLetter(char letter)
{
    switch (letter) {
    case '-':
        return ListingEntry::plainFileType;
    case 'd':
        return ListingEntry::folderType;
    case 'l':
    case 'L': // Of servers that write permissions in their own way.
        return ListingEntry::linkType;
    case 'p':
        return 1;
    case 'c':
        return 2;
    case 'b':
        return 6;
    case 's':
        return 12;
    case 'C': // Contiguous data; doors, migrated files, network files and what the server could not look at.
    case 'D':
    case 'M':
    case 'n':
    case 'P':
    case '?':
        return 0;
    default:
        return std::nullopt;
    }
}

/// Adds what the three letters of one class of users allow. @p special is the bit that the third letter tells in
/// addition: set user, set group or sticky. False when the letters are no permissions.
bool addPermissions(QByteArrayView letters, int shift, int special, int& mode)
{
    if (letters[0] == 'r') {
        mode |= 4 << shift;
    } else if (letters[0] != '-') {
        return false;
    }
    if (letters[1] == 'w') {
        mode |= 2 << shift;
    } else if (letters[1] != '-') {
        return false;
    }
    switch (letters[2]) {
    case '-':
        return true;
    case 'x':
        mode |= 1 << shift;
        return true;
    case 's':
    case 't':
        mode |= special | 1 << shift;
        return true;
    case 'S':
    case 'T':
    case 'l': // Mandatory locking is set group without execution.
    case 'L':
        mode |= special;
        return true;
    default:
        return false;
    }
}

/// "rwxr-xr-x" as bits.
std::optional<int> readMode(QByteArrayView letters)
{
    int mode = 0;
    if (addPermissions(letters.sliced(0, 3), 6, 04000, mode) && addPermissions(letters.sliced(3, 3), 3, 02000, mode)
        && addPermissions(letters.sliced(6, 3), 0, 01000, mode)) {
        return mode;
    }
    return std::nullopt;
}

/// Takes "drwxr-xr-x" off @p line, with a mark for access lists or attributes behind it and the columns for the inode
/// and the number of blocks before it. False when no permissions stand there.
bool takeTypeAndMode(QByteArrayView& line, ListingEntry& entry)
{
    constexpr qsizetype length = 10;
    QByteArrayView rest = withoutLeadingBlanks(line);
    for (int numbers = 0; numbers < 2 && !rest.isEmpty() && isListingDigit(rest.front()); ++numbers) {
        if (!isListingNumber(takeColumn(rest))) {
            return false;
        }
        rest = withoutLeadingBlanks(rest);
    }
    if (rest.size() <= length) {
        return false;
    }
    entry.type = typeOfLetter(rest[0]);
    if (!entry.type) {
        return false;
    }
    const QByteArrayView letters = rest.sliced(1, length - 1);
    if (letters != QByteArrayView("?????????")) {
        entry.mode = readMode(letters);
        if (!entry.mode) {
            return false;
        }
    }
    rest = rest.sliced(length);
    const char mark = rest.front();
    if (mark == '+' || mark == '.' || mark == '@' || mark == '*' || mark == '!') {
        rest = rest.sliced(1);
    }
    line = rest;
    return !rest.isEmpty() && (isListingBlank(rest.front()) || isListingDigit(rest.front()));
}

/// A text that was read before, for the next line, which most often has the same.
class LastText {
public:
    QString shared(QByteArrayView bytes)
    {
        if (bytes != m_bytes || m_text.isNull()) {
            m_bytes = bytes.toByteArray();
            m_text = fromMacRoman(bytes);
        }
        return m_text;
    }

private:
    QByteArray m_bytes;
    QString m_text;
};

/// Where the group begins in @p text, which is owner and group: at the widest gap's first place when blanks part the
/// columns, since both may hold single blanks, else at the first blank. The size of @p text when there is no group.
qsizetype beginningOfGroup(QByteArrayView text)
{
    qsizetype first = text.size();
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!isListingBlank(text[i])) {
            continue;
        }
        const qsizetype gap = i;
        while (i < text.size() && isListingBlank(text[i])) {
            ++i;
        }
        if (i - gap > 1) {
            return i;
        }
        if (first == text.size()) {
            first = i;
        }
    }
    return first;
}

QByteArrayView withoutTrailingBlanks(QByteArrayView text)
{
    while (!text.isEmpty() && isListingBlank(text.back())) {
        text.chop(1);
    }
    return text;
}

/// Reads what stands between permissions and size: number of links, owner and group, each of which may be missing.
void readOwnerAndGroup(QByteArrayView columns, ListingEntry& entry)
{
    thread_local LastText lastOwner;
    thread_local LastText lastGroup;
    QByteArrayView rest = columns;
    if (isListingNumber(takeColumn(rest))) {
        columns = rest;
    }
    const QByteArrayView both = withoutTrailingBlanks(withoutLeadingBlanks(columns));
    if (both.isEmpty()) {
        return;
    }
    const qsizetype group = beginningOfGroup(both);
    entry.owner = lastOwner.shared(withoutTrailingBlanks(both.first(group)));
    if (group < both.size()) {
        entry.group = lastGroup.shared(both.sliced(group));
    }
}

enum class SizeColumn {
    None, ///< Something else.
    Bytes, ///< A size.
    Unknown, ///< A size that makes no sense, or what stands in its place for a device.
    Major, ///< The first half of a device's number, "8,": the second follows.
};

SizeColumn kindOfSizeColumn(QByteArrayView column, bool device)
{
    if (isListingNumber(column)) {
        return SizeColumn::Bytes;
    }
    // Old servers let sizes over 2 GiB turn negative.
    if (column.startsWith('-') && isListingNumber(column.sliced(1))) {
        return SizeColumn::Unknown;
    }
    if (!device) {
        return SizeColumn::None;
    }
    if (column.startsWith("0x")) {
        return SizeColumn::Unknown;
    }
    const qsizetype comma = column.indexOf(',');
    if (comma <= 0 || !isListingNumber(column.first(comma))) {
        return SizeColumn::None;
    }
    if (comma + 1 == column.size()) {
        return SizeColumn::Major;
    }
    return isListingNumber(column.sliced(comma + 1)) ? SizeColumn::Unknown : SizeColumn::None;
}

/// Size and date, which hold the line's columns in place: owner and group before them and the name after them may hold
/// blanks and numbers of their own.
struct SizeAndDate {
    QByteArrayView before; ///< Number of links, owner and group.
    std::optional<qint64> size;
    ListingDate date;
};

/// Finds the first size with a date behind it in @p columns, what follows the permissions. Where that leaves no column
/// for an owner, one further on is preferred: an owner called Jan looks like a month.
std::optional<SizeAndDate> findSizeAndDate(QByteArrayView columns, bool device, const QDateTime& now,
                                           ListingMonthWords months)
{
    std::optional<SizeAndDate> withoutOwner;
    QByteArrayView rest = columns;
    QByteArrayView major; // Where a device's number began, when the last column was its first half.
    bool first = true;
    while (true) {
        const QByteArrayView column = takeColumn(rest);
        if (column.isEmpty()) {
            return withoutOwner;
        }
        const SizeColumn kind = kindOfSizeColumn(column, device);
        if (kind == SizeColumn::Bytes || kind == SizeColumn::Unknown) {
            if (const std::optional<ListingDate> date = readUnixDate(rest, now, months)) {
                const char* const begin = major.isNull() ? column.data() : major.data();
                SizeAndDate found{ .before = columns.first(begin - columns.data()), .size = {}, .date = *date };
                if (kind == SizeColumn::Bytes && !device) {
                    found.size = listingSize(column);
                }
                if (!first) {
                    return found;
                }
                // Any owner looks like a month that is not known.
                if (months == ListingMonthWords::Known) {
                    withoutOwner = found;
                }
            }
        }
        major = kind == SizeColumn::Major ? column : QByteArrayView();
        first = false;
    }
}

/// The columns of an item that the server could not look at: "?" five times. What follows is a blank and the name.
std::optional<QByteArrayView> afterUnknownColumns(QByteArrayView columns)
{
    for (int column = 0; column < 5; ++column) {
        if (takeColumn(columns) != QByteArrayView("?")) {
            return std::nullopt;
        }
    }
    return columns;
}

/// Parts "name -> target". The size of a link is the length of its target, which tells the right arrow from those that
/// are part of a name.
void takeArrowTarget(QByteArrayView& name, ListingEntry& entry)
{
    constexpr QByteArrayView arrow(" -> ");
    qsizetype at = -1;
    if (entry.size && *entry.size > 0 && *entry.size < name.size() - arrow.size()) {
        at = name.size() - static_cast<qsizetype>(*entry.size) - arrow.size();
        if (name.sliced(at, arrow.size()) != arrow) {
            at = -1;
        }
    }
    if (at < 0) {
        at = name.indexOf(arrow);
    }
    if (at > 0) {
        entry.link = fromMacRoman(name.sliced(at + arrow.size()));
        name = name.first(at);
    }
}

} // namespace

std::optional<ListingEntry> parseUnixListingLine(QByteArrayView line, const QDateTime& now)
{
    ListingEntry entry;
    if (!takeTypeAndMode(line, entry)) {
        return std::nullopt;
    }
    QByteArrayView name;
    if (entry.mode) {
        const bool device = entry.type == 2 || entry.type == 6;
        std::optional<SizeAndDate> found = findSizeAndDate(line, device, now, ListingMonthWords::Known);
        if (!found) {
            // Better an item without a date than none.
            found = findSizeAndDate(line, device, now, ListingMonthWords::Any);
        }
        if (!found) {
            return std::nullopt;
        }
        readOwnerAndGroup(found->before, entry);
        entry.size = found->size;
        entry.modDate = found->date.msecs;
        name = found->date.rest;
    } else if (const std::optional<QByteArrayView> rest = afterUnknownColumns(line)) {
        name = *rest;
    }
    // One blank parts date and name; what follows it is the name's own.
    if (name.size() < 2) {
        return std::nullopt;
    }
    name = name.sliced(1);
    if (entry.type == ListingEntry::linkType) {
        takeArrowTarget(name, entry);
    }
    setListingName(entry, name);
    return entry;
}
