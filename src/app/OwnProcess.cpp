#include "OwnProcess.h"

#include "LocalPath.h"

#include <QByteArrayList>
#include <QCoreApplication>
#include <QSocketNotifier>

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

void OwnProcess::start(const QStringList& options)
{
    QByteArrayList bytes{ LocalPath::toBytes(QCoreApplication::arguments().constFirst()) }; // It says where files go.
    for (const QString& option : options) {
        bytes.append(LocalPath::toBytes(option));
    }
    std::vector<char*> words;
    for (QByteArray& word : bytes) {
        words.push_back(word.data());
    }
    words.push_back(nullptr);
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    for (const int stream : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO }) {
        ::posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
    }
    ::posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    pid_t process = -1;
    const int error = ::posix_spawn(&process, "/proc/self/exe", &actions, &attributes, words.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attributes);
    const int descriptor = error == 0 ? static_cast<int>(::syscall(SYS_pidfd_open, process, 0)) : -1;
    if (descriptor < 0) {
        QMetaObject::invokeMethod(this, &OwnProcess::ended, Qt::QueuedConnection);
        return;
    }
    auto* const notifier = new QSocketNotifier(descriptor, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier, descriptor] {
        notifier->setEnabled(false);
        siginfo_t end{};
        ::waitid(P_PIDFD, static_cast<id_t>(descriptor), &end, WEXITED | WNOHANG);
        ::close(descriptor);
        emit ended();
    });
}
