#include "SilentQuestion.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <poll.h>
#include <sys/signalfd.h>
#include <termios.h>
#include <unistd.h>

namespace {

/// While it lives, the terminal does not show what is typed, and signals wait.
class Silence {
public:
    explicit Silence(const termios& before)
        : m_before(before)
    {
        sigset_t waiting;
        sigemptyset(&waiting);
        for (const int number : { SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGTSTP }) {
            sigaddset(&waiting, number);
        }
        ::pthread_sigmask(SIG_BLOCK, &waiting, &m_signalsBefore);
        m_signals = ::signalfd(-1, &waiting, SFD_CLOEXEC);
        termios silent = before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
    ~Silence()
    {
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
        std::fputc('\n', stderr);
        ::close(m_signals);
        ::pthread_sigmask(SIG_SETMASK, &m_signalsBefore, nullptr); // What has come acts now.
    }

    /// Waits for something to read. False when a signal has come instead.
    bool waitForInput() const
    {
        std::array<pollfd, 2> sources{ { { STDIN_FILENO, POLLIN, 0 }, { m_signals, POLLIN, 0 } } };
        ::poll(sources.data(), sources.size(), -1);
        return sources[0].revents != 0;
    }

private:
    termios m_before;
    sigset_t m_signalsBefore{};
    int m_signals;
};

enum class Outcome { Answered, NotAnswered, Interrupted };

/// Reads a line to @p answer.
Outcome read(const Silence& silence, QByteArray& answer)
{
    while (!answer.endsWith('\n')) {
        if (!silence.waitForInput()) {
            return Outcome::Interrupted;
        }
        std::array<char, 256> part{};
        const ssize_t count = ::read(STDIN_FILENO, part.data(), part.size());
        if (count <= 0) { // The end without a line's end: the person would rather not.
            return Outcome::NotAnswered;
        }
        answer.append(part.data(), count);
    }
    answer.chop(1);
    return Outcome::Answered;
}

} // namespace

QByteArray askSilently(const QString& question)
{
    termios before{};
    if (::tcgetattr(STDIN_FILENO, &before) != 0) {
        return QByteArray();
    }
    QByteArray answer;
    Outcome outcome = Outcome::Interrupted;
    while (outcome == Outcome::Interrupted) {
        const Silence silence(before);
        std::fputs(question.toLocal8Bit().constData(), stderr);
        answer = QByteArray("");
        outcome = read(silence, answer);
    }
    return outcome == Outcome::Answered ? answer : QByteArray();
}
