#include "RefreshPace.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace {

constexpr int promptRefreshes = 10; ///< Of each run.
constexpr qint64 pauseMs = 2000; ///< Between two runs.
constexpr qint64 leastGapMs = 250; ///< Between two refreshes behind these.
constexpr qint64 gapPerDuration = 4;

} // namespace

RefreshPace::RefreshPace(Clock clock)
    : m_clock(std::move(clock))
    , m_confirmedAt(m_clock())
    , m_listingBeganAt(m_confirmedAt)
    , m_nextListingAt(m_confirmedAt)
{
}

qint64 RefreshPace::steadyClock()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

void RefreshPace::uploadStarts()
{
    if (m_clock() - m_confirmedAt >= pauseMs) {
        m_confirmed = 0;
    }
}

bool RefreshPace::isDueAfterUpload(bool doOthersWait)
{
    m_confirmedAt = m_clock();
    ++m_confirmed;
    m_isPutOff = doOthersWait && m_confirmed > promptRefreshes;
    return !m_isPutOff || isRefreshDue();
}

bool RefreshPace::isRefreshDue() const
{
    return m_isPutOff && !m_isListing && m_clock() >= m_nextListingAt;
}

void RefreshPace::listingBegan()
{
    m_isPutOff = false;
    m_isListing = true;
    m_listingBeganAt = m_clock();
}

void RefreshPace::listingEnded()
{
    m_isListing = false;
    const qint64 now = m_clock();
    m_nextListingAt = now + std::max(gapPerDuration * (now - m_listingBeganAt), leastGapMs);
}
