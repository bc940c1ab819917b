#pragma once

#include <QtGlobal>

#include <chrono>
#include <thread>
#include <vector>

/// A port of this machine at which connections are refused at once, or not answered at all.
class DeadPort {
public:
    enum class Kind { Closed, Full };

    explicit DeadPort(Kind kind);
    DeadPort(const DeadPort&) = delete;
    DeadPort& operator=(const DeadPort&) = delete;
    ~DeadPort();

    quint16 port() const { return m_port; }
    /// Refuses what has not been answered, from another thread, after @p delay.
    void giveUpAfter(std::chrono::milliseconds delay);

private:
    void giveUp();

    quint16 m_port = 0;
    std::vector<int> m_descriptors; ///< The listening one, and those that fill its queue.
    std::jthread m_end;
};
