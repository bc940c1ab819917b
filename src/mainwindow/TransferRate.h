#pragma once

#include <QString>

#include <chrono>
#include <deque>
#include <optional>

/// How fast a transfer is at present, from what it has moved over the last seconds.
class TransferRate {
public:
    /// So much has moved by @p time, from any beginning. Less than before means that another transfer has begun.
    void add(std::chrono::milliseconds time, quint64 bytes);
    void clear() { m_samples.clear(); }

    /// Bytes per second; std::nullopt until it is known.
    std::optional<double> bytesPerSecond() const;
    /// The same as people read it; null until it is known.
    QString speedText() const;
    /// What is left of a transfer of which @p percent have moved, at this rate; null until that is known.
    QString timeLeftText(float percent) const;

private:
    struct Sample {
        std::chrono::milliseconds time;
        quint64 bytes;
    };
    std::deque<Sample> m_samples; ///< The latest ones, oldest first.
};
