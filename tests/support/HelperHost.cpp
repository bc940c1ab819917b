#include "HelperHost.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <array>
#include <cstring>
#include <map>
#include <mutex>
#include <spawn.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct SocketPair {
    explicit SocketPair(int type)
    {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends.data()) != 0) {
            throw std::runtime_error("no pair of sockets");
        }
        ours = ends[0];
        theirs = ends[1];
    }
    SocketPair(const SocketPair&) = delete;
    SocketPair& operator=(const SocketPair&) = delete;
    ~SocketPair() { ::close(theirs); } // They have got it.

    int ours;
    int theirs;
};

/// The number of the network namespace that this thread is in.
ino_t network()
{
    struct stat information { };
    ::stat("/proc/thread-self/ns/net", &information);
    return information.st_ino;
}

} // namespace

int HelperHost::start(const QString& script, const QStringList& arguments)
{
    static std::mutex mutex;
    static std::map<ino_t, HelperHost> hosts; // A process does not leave its network.
    const std::lock_guard lock(mutex);
    auto host = hosts.find(network());
    if (host == hosts.end()) {
        host = hosts.emplace(network(), HelperHost()).first;
    }
    const SocketPair sockets(SOCK_STREAM);
    const QJsonArray words = QJsonArray::fromStringList(QStringList{ script } + arguments);
    host->second.request(QJsonDocument(words).toJson(QJsonDocument::Compact), sockets.theirs);
    return sockets.ours;
}

HelperHost::HelperHost()
{
    const SocketPair sockets(SOCK_SEQPACKET);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, sockets.theirs, STDIN_FILENO);
    std::array words{ std::string("/usr/bin/python3"), std::string("-B"),
                      std::string(TEST_SOURCE_DIR "/servers/helper_host.py") };
    std::array<char*, 4> arguments{ words[0].data(), words[1].data(), words[2].data(), nullptr };
    pid_t process = 0;
    const int problem = ::posix_spawn(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (problem != 0) {
        throw std::runtime_error(std::string("no helpers: ") + std::strerror(problem));
    }
    m_requests = sockets.ours;
}

void HelperHost::request(const QByteArray& message, int descriptor) const
{
    iovec text{ const_cast<char*>(message.data()), static_cast<std::size_t>(message.size()) };
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof descriptor)> control{};
    msghdr header{};
    header.msg_iov = &text;
    header.msg_iovlen = 1;
    header.msg_control = control.data();
    header.msg_controllen = control.size();
    cmsghdr& rights = *CMSG_FIRSTHDR(&header);
    rights.cmsg_level = SOL_SOCKET;
    rights.cmsg_type = SCM_RIGHTS;
    rights.cmsg_len = CMSG_LEN(sizeof descriptor);
    std::memcpy(CMSG_DATA(&rights), &descriptor, sizeof descriptor);
    if (::sendmsg(m_requests, &header, MSG_NOSIGNAL) < 0) {
        throw std::runtime_error(std::string("the helpers' host has gone: ") + std::strerror(errno));
    }
}
