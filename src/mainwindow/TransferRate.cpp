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

QString TransferRate::text(float percent) const
{
    const std::optional<double> rate = bytesPerSecond();
    if (!rate) {
        return {};
    }
    QString speed = byteCountText(static_cast<qint64>(*rate)) + u"/s"_s;
    if (percent <= 0 || percent >= 100 || *rate < 1) {
        return speed;
    }
    const auto all = static_cast<double>(m_samples.back().bytes) / static_cast<double>(percent) * 100;
    const auto left
        = std::chrono::seconds(static_cast<qint64>((all - static_cast<double>(m_samples.back().bytes)) / *rate + 1));
    return u"%1, about %2 left"_s.arg(speed, durationText(left));
}
