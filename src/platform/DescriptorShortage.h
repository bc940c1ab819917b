#pragma once

#include <QElapsedTimer>

#include <chrono>

/// That no descriptor is left, which passes: whoever needs one asks again later, but not for ever. For one thread.
class DescriptorShortage {
public:
    /// A shortage is waited out for as long as @p limit.
    explicit DescriptorShortage(std::chrono::milliseconds limit)
        : m_limit(limit)
    {
    }

    /// Whether to wait: there is no descriptor left, and that has not lasted too long. Once it has, the answer is no,
    /// and the next shortage is waited out again.
    bool isToBeWaitedOut();

private:
    std::chrono::milliseconds m_limit;
    QElapsedTimer m_since;
};
