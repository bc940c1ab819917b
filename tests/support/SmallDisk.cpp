#include "SmallDisk.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace {

bool write(const char* path, const QByteArray& text)
{
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(text) == text.size();
}

} // namespace

SmallDisk::SmallDisk(const QString& folder)
    : m_folder(QFile::encodeName(folder))
{
    if (!makeNamespaces() || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0
        || mount("tmpfs", m_folder.constData(), "tmpfs", 0, "size=1m") != 0) {
        m_problem = QByteArray("no file system of our own (ordinary users need kernel.unprivileged_userns_clone=1): ")
            + std::strerror(errno);
    }
}

SmallDisk::~SmallDisk()
{
    if (m_problem.isEmpty()) {
        umount2(m_folder.constData(), MNT_DETACH); // The folder can then be removed.
    }
}

bool SmallDisk::makeNamespaces()
{
    if (geteuid() == 0) {
        return unshare(CLONE_NEWNS) == 0;
    }
    const QByteArray user = QByteArray::number(geteuid());
    const QByteArray group = QByteArray::number(getegid());
    return unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && write("/proc/self/setgroups", "deny")
        && write("/proc/self/uid_map", "0 " + user + " 1") && write("/proc/self/gid_map", "0 " + group + " 1");
}
