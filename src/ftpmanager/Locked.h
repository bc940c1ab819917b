#pragma once

#include <mutex>
#include <utility>

/// A value that any thread may read and set.
template <typename Value> class Locked {
public:
    Locked() = default;
    explicit Locked(Value value)
        : m_value(std::move(value))
    {
    }

    Value get() const
    {
        const std::lock_guard lock(m_mutex);
        return m_value;
    }

    void set(Value value)
    {
        const std::lock_guard lock(m_mutex);
        std::swap(m_value, value); // The old one is destroyed behind the lock.
    }

private:
    mutable std::mutex m_mutex;
    Value m_value{};
};
