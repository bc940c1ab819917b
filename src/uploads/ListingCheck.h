#pragma once

#include "ListingEntry.h"
#include "UploadOutcome.h"

#include <QHash>
#include <QList>
#include <QString>

#include <functional>
#include <optional>
#include <utility>

/// Compares the files that the server has confirmed with its listings: each has to be in the next one of its folder,
/// with the size that was sent. Later listings may correct what an earlier one has said. Files are known by a row that
/// the caller chooses. Each call costs the same however many files there are, unless its comment says how it scales.
/// Belongs to the main thread.
class ListingCheck {
public:
    /// What a listing says of a file.
    struct Finding {
        int row;
        UploadOutcome::Kind outcome; ///< Confirmed, OtherSize or NotListed.
        std::optional<qint64> listedSize; ///< In bytes; only of OtherSize.
    };

    /// What was sent before to the name @p name in the folder @p location is about to be replaced.
    void fileStarts(const QString& location, const QString& name);
    /// The server has confirmed the file of @p row, of which @p sent bytes were sent there.
    void fileConfirmed(const QString& location, const QString& name, int row, qint64 sent);
    /// Listings are of another folder from here on, or seen by another login: they say nothing of what was sent before.
    void forgetAll();

    /// A listing of the folder @p location begins. It shows the files that were confirmed by now.
    void listingStarts(const QString& location);
    /// What the items of the listing that has begun last say of files that are not known to be there as they were sent.
    QList<Finding> listed(const QList<ListingEntry>& entries);
    /// That listing is complete. A confirmed file that it does not hold is not listed, unless its name begins with "."
    /// and the listing has no such names at all. Takes time by the number of unchecked files.
    QList<Finding> listingSucceeded();

    /// Whether a listing that has yet to come decides about a file whose row fits @p condition. Likewise.
    bool hasUnchecked(const std::function<bool(int row)>& condition) const;

private:
    struct SentFile {
        int row;
        qint64 size; ///< In bytes.
        qint64 sequence; ///< Which of all confirmations it was.
    };
    using Goal = std::pair<QString, QString>; ///< The location of a folder, and a name in it.

    std::optional<Finding> compare(const Goal& goal, SentFile file, const ListingEntry& item);

    QHash<Goal, SentFile> m_unchecked; ///< No listing has shown them since they were confirmed.
    QHash<Goal, SentFile> m_doubted; ///< They were not listed as they were sent.
    qint64 m_confirmations = 0;
    QString m_location; ///< Of the listing.
    qint64 m_listedSequence = 0; ///< The listing shows the files that were confirmed up to this one.
    bool m_listsDotNames = false; ///< It holds names that begin with ".".
};
