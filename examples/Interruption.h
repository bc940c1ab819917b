#pragma once

#include <quillbox/FTPManager.h>

#include <atomic>
#include <thread>

/// Ends the operation of a manager when somebody presses Ctrl-C, closes the terminal or asks the process
/// to end. One at a time.
class Interruption {
public:
    /// @p manager outlives this.
    explicit Interruption(FTPManager& manager);
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    ~Interruption();

    bool hasCome() const { return m_hasCome; }

private:
    void watch();

    FTPManager& m_manager;
    std::atomic<bool> m_hasCome = false;
    std::atomic<bool> m_isOver = false;
    std::thread m_watcher;
};
