#pragma once

#include <memory>
#include <utility>

/// A reference to something that may vanish: get() answers null from then on. Made by a WeakAnchor.
template <typename T> class WeakRef {
public:
    WeakRef() = default;
    WeakRef(std::weak_ptr<const void> alive, T* target)
        : m_alive(std::move(alive))
        , m_target(target)
    {
    }
    /// A reference to a derived class serves as one to its base.
    template <typename Derived>
    WeakRef(const WeakRef<Derived>& other) // NOLINT(google-explicit-constructor): converts as pointers do
        : m_alive(other.alive())
        , m_target(other.get())
    {
    }

    T* get() const { return m_alive.expired() ? nullptr : m_target; }
    const std::weak_ptr<const void>& alive() const { return m_alive; }

private:
    std::weak_ptr<const void> m_alive;
    T* m_target = nullptr;
};

/// Makes weak references to its owner. Declare it as the owner's last member: it dies first, so that nothing reaches
/// an owner whose members are already being destroyed.
class WeakAnchor {
public:
    WeakAnchor() = default;
    WeakAnchor(const WeakAnchor&) = delete;
    WeakAnchor& operator=(const WeakAnchor&) = delete;
    ~WeakAnchor() = default;

    template <typename T> WeakRef<T> ref(T* owner) const { return WeakRef<T>(m_alive, owner); }

private:
    std::shared_ptr<const void> m_alive = std::make_shared<char>();
};
