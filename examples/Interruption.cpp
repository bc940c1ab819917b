#include "Interruption.h"

#include "FailureText.h"

#include <csignal>
#include <ctime>
#include <unistd.h>

namespace {

/// What ends the program unless it is taken by the watcher. What was ignored from the start stays so.
sigset_t interruptions()
{
    sigset_t ending;
    sigemptyset(&ending);
    for (const int number : { SIGINT, SIGTERM, SIGHUP }) {
        struct sigaction action = {};
        if (::sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            sigaddset(&ending, number);
        }
    }
    return ending;
}

} // namespace

Interruption::Interruption(FTPManager& manager)
    : m_manager(manager)
{
    // For this thread and all that come from it, the operations' among them.
    const sigset_t ending = interruptions();
    ::pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    m_watcher = std::thread(&Interruption::watch, this);
}

Interruption::~Interruption()
{
    m_isOver = true;
    m_watcher.join();
}

void Interruption::watch()
{
    constexpr timespec turn{ 0, 20'000'000 };
    constexpr int patience = 100; // Turns, then the operation is one that cannot be ended.
    const sigset_t ending = interruptions();
    int turns = 0;
    while (!m_isOver) {
        if (::sigtimedwait(&ending, nullptr, &turn) > 0) {
            m_hasCome = true;
        }
        if (m_hasCome) {
            m_manager.abort(); // Again and again: it does nothing before the transfer has begun.
            if (++turns > patience) {
                ::_exit(statusOfInterruption);
            }
        }
    }
}
