#include "TerminationSignals.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::array numbers{ SIGINT, SIGTERM, SIGHUP };

int toLoop = -1; ///< Descriptor for the handler, which may touch next to nothing.

void note(int /*number*/)
{
    const int before = errno;
    const quint64 one = 1;
    [[maybe_unused]] const ssize_t written = ::write(toLoop, &one, sizeof one);
    errno = before;
}

} // namespace

TerminationSignals::TerminationSignals()
{
    toLoop = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (toLoop < 0) {
        return; // They end the process as usual.
    }
    auto* const notifier = new QSocketNotifier(toLoop, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier] {
        notifier->setEnabled(false);
        quint64 count = 0;
        [[maybe_unused]] const ssize_t taken = ::read(toLoop, &count, sizeof count);
        emit received();
    });
    for (const int number : numbers) {
        struct sigaction action = {};
        if (::sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_DFL) {
            action.sa_handler = note;
            action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
            ::sigaction(number, &action, nullptr);
        }
    }
}

TerminationSignals::~TerminationSignals()
{
    for (const int number : numbers) {
        struct sigaction action = {};
        if (::sigaction(number, nullptr, &action) == 0 && action.sa_handler == note) {
            action.sa_handler = SIG_DFL;
            ::sigaction(number, &action, nullptr);
        }
    }
    quint64 untold = 0;
    if (::read(toLoop, &untold, sizeof untold) > 0) {
        std::raise(SIGTERM);
    }
    ::close(std::exchange(toLoop, -1));
}
