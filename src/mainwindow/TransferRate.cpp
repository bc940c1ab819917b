#include "TransferRate.h"

#include "ByteCountText.h"
#include "DurationText.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto measuredSpan = 8s; ///< Long enough to be calm, short enough to follow.

} // namespace

void TransferRate::add(std::chrono::milliseconds time, quint64 bytes)
{
    if (!m_samples.empty() && bytes < m_samples.back().bytes) {
        m_samples.clear();
    }
    m_samples.push_back({ time, bytes });
    while (time - m_samples.front().time > measuredSpan) {
        m_samples.pop_front();
    }
}

std::optional<double> TransferRate::bytesPerSecond() const
{
    if (m_samples.empty() || m_samples.back().time == m_samples.front().time) {
        return std::nullopt;
    }
    const auto moved = static_cast<double>(m_samples.back().bytes - m_samples.front().bytes);
    return moved / std::chrono::duration<double>(m_samples.back().time - m_samples.front().time).count();
}

QString TransferRate::speedText() const
{
    const std::optional<double> rate = bytesPerSecond();
    return rate ? byteCountText(static_cast<qint64>(*rate)) + u"/s"_s : QString();
}

QString TransferRate::timeLeftText(float percent) const
{
    const std::optional<double> rate = bytesPerSecond();
    if (!rate || percent <= 0 || percent >= 100 || *rate < 1) {
        return {};
    }
    const auto moved = static_cast<double>(m_samples.back().bytes);
    const double all = moved / static_cast<double>(percent) * 100;
    const auto left = std::chrono::seconds(static_cast<qint64>((all - moved) / *rate + 1));
    return durationText(left) + u" left"_s;
}
