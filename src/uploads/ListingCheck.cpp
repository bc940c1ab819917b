#include "ListingCheck.h"

#include "LocalName.h"

#include <algorithm>

using namespace Qt::StringLiterals;
using Outcome = UploadOutcome::Kind;

void ListingCheck::fileStarts(const QString& location, const QString& name)
{
    m_unchecked.remove({ location, name });
    m_doubted.remove({ location, name });
}

void ListingCheck::fileConfirmed(const QString& location, const QString& name, int row, qint64 sent)
{
    m_unchecked.insert({ location, name }, { row, sent, ++m_confirmations });
}

void ListingCheck::forgetAll()
{
    m_unchecked.clear();
    m_doubted.clear();
}

void ListingCheck::listingStarts(const QString& location)
{
    m_location = location;
    m_listedSequence = m_confirmations;
    m_listsDotNames = false;
}

QList<ListingCheck::Finding> ListingCheck::listed(const QList<ListingEntry>& entries)
{
    QList<Finding> findings;
    if (m_unchecked.isEmpty() && m_doubted.isEmpty()) {
        return findings;
    }
    for (const ListingEntry& item : entries) {
        m_listsDotNames
            = m_listsDotNames || (item.name.startsWith(u'.') && item.name != u"."_s && item.name != u".."_s);
        const Goal goal(m_location, localName(item));
        std::optional<Finding> finding;
        if (const auto sent = m_unchecked.constFind(goal); sent == m_unchecked.cend()) {
            if (const auto doubted = m_doubted.constFind(goal); doubted != m_doubted.cend()) {
                finding = compare(goal, *doubted, item);
            }
        } else if (sent->sequence <= m_listedSequence) {
            finding = compare(goal, *sent, item);
            m_unchecked.erase(sent);
        }
        if (finding) {
            findings.append(*finding);
        }
    }
    return findings;
}

/// @p item is what the server has of @p file. Later listings may know better of what is not as it was sent.
std::optional<ListingCheck::Finding> ListingCheck::compare(const Goal& goal, SentFile file, const ListingEntry& item)
{
    if (item.type == ListingEntry::plainFileType && item.size && item.size != file.size) {
        m_doubted.insert(goal, file);
        return Finding{ file.row, Outcome::OtherSize, item.size };
    }
    const Finding finding{ file.row, Outcome::Confirmed, std::nullopt };
    return m_doubted.remove(goal) ? std::optional(finding) : std::nullopt;
}

QList<ListingCheck::Finding> ListingCheck::listingSucceeded()
{
    // Each is looked at twice at most: what stays was confirmed while the listing ran, and goes with the next one.
    QHash<Goal, SentFile> missing;
    m_unchecked.removeIf([this, &missing](const QHash<Goal, SentFile>::iterator& each) {
        if (each.key().first != m_location || each->sequence > m_listedSequence) {
            return false;
        }
        missing.insert(each.key(), *each);
        return true;
    });
    QList<Finding> findings;
    for (auto each = missing.cbegin(); each != missing.cend(); ++each) {
        if (m_listsDotNames || !each.key().second.startsWith(u'.')) {
            m_doubted.insert(each.key(), *each);
            findings.append({ each->row, Outcome::NotListed, std::nullopt });
        }
    }
    return findings;
}

bool ListingCheck::hasUnchecked(const std::function<bool(int row)>& condition) const
{
    return std::any_of(m_unchecked.cbegin(), m_unchecked.cend(),
                       [&condition](const SentFile& file) { return condition(file.row); });
}
