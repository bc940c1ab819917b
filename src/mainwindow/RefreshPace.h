#pragma once

#include <QtGlobal>

#include <functional>

/// How often the folder is listed again while a queue goes up: after each of the first ten files, and then as often as
/// listings leave the line to the uploads for four fifths of the time. Belongs to the main thread.
class RefreshPace final {
public:
    /// Answers milliseconds from any beginning; never runs backwards.
    using Clock = std::function<qint64()>;

    explicit RefreshPace(Clock clock = steadyClock);

    /// A file of the queue is being started. After a pause of two seconds the run begins anew.
    void uploadStarts();
    /// A file was confirmed, and others wait or do not: whether the folder is to be listed now. If not, it is to be
    /// later.
    bool isDueAfterUpload(bool doOthersWait);

    /// Whether a refresh has been put off, and it is time for it.
    bool isRefreshDue() const;

    void listingBegan();
    void listingEnded();

private:
    static qint64 steadyClock();

    Clock m_clock;
    int m_confirmed = 0; ///< Files of the run.
    qint64 m_confirmedAt;
    bool m_isPutOff = false;
    bool m_isListing = false;
    qint64 m_listingBeganAt;
    qint64 m_nextListingAt; ///< Not before.
};
