#include "FileChanges.h"

#include "PrivateFile.h"

#include <QDir>
#include <QFileInfo>

#include <array>
#include <climits>
#include <unistd.h>

namespace {

/// Rights that Qt tells besides those of a file: what its user may do.
constexpr QFile::Permissions ofThisUser = QFile::ReadUser | QFile::WriteUser | QFile::ExeUser;

/// What the link at @p path leads to, as it stands in it; null when it is none.
QByteArray targetOf(const QString& path)
{
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlink(QFile::encodeName(path).constData(), target.data(), target.size());
    return length < 0 ? QByteArray() : QByteArray(target.data(), length);
}

bool makeLink(const QString& path, const QByteArray& target)
{
    return ::symlink(target.constData(), QFile::encodeName(path).constData()) == 0;
}

/// Writes a file that was not there before, so that what another program has made meanwhile stays as it is; leaves none
/// behind when it fails. Nobody else can read it before it has its @p permissions.
bool writeNew(const QString& path, const QByteArray& content, QFile::Permissions permissions)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly, FileChanges::ownersAlone)) {
        return false;
    }
    const bool isWritten = file.write(content) == content.size() && file.flush() && file.setPermissions(permissions);
    file.close();
    if (!isWritten || file.error() != QFile::NoError) {
        file.remove();
        return false;
    }
    return true;
}

} // namespace

FileChanges::~FileChanges()
{
    while (!m_before.isEmpty()) {
        restore(m_before.takeLast());
    }
}

bool FileChanges::write(const QString& path, const QByteArray& content, QFile::Permissions permissions, bool replaces)
{
    // What is private is replaced where a link leads.
    const bool isPrivate = permissions == ownersAlone && replaces;
    const QString target = isPrivate ? PrivateFile::behindLinks(path) : path;
    std::optional<State> before = stateOf(target);
    if (replaces && before && before->content == content && before->permissions == permissions) {
        return true;
    }
    if (isPrivate && isTaken(target)) {
        if (!before || !PrivateFile::replace(target, content)) {
            return false;
        }
        before->permissions = ownersAlone; // It is brought back in the same way, and to nobody else.
        m_before.append(*before);
        return true;
    }
    return makeRoom(target, replaces) && isMade(target, writeNew(target, content, permissions));
}

bool FileChanges::link(const QString& path, const QString& target, bool replaces)
{
    return makeRoom(path, replaces) && isMade(path, makeLink(path, QFile::encodeName(target)));
}

bool FileChanges::remove(const QString& path)
{
    if (!isTaken(path)) {
        return true;
    }
    const std::optional<State> before = stateOf(path);
    if (!QFile::remove(path)) {
        return false;
    }
    if (before) {
        m_before.append(*before);
    }
    return true;
}

bool FileChanges::isTaken(const QString& path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

/// Has what is at @p path go. False when it stays, or could not be brought back.
bool FileChanges::makeRoom(const QString& path, bool replaces)
{
    if (!isTaken(path)) {
        QDir().mkpath(QFileInfo(path).path());
        return true;
    }
    return replaces && stateOf(path) && remove(path);
}

/// Notes that something is at @p path where nothing was, if @p isMade says so: what another program was quicker to make
/// there stays as it is. Answers @p isMade.
bool FileChanges::isMade(const QString& path, bool isMade)
{
    if (isMade) {
        m_before.append({ .path = path });
    }
    return isMade;
}

/// What is at @p path; std::nullopt when that cannot be read.
std::optional<FileChanges::State> FileChanges::stateOf(const QString& path)
{
    State state{ .path = path, .target = targetOf(path) };
    if (!state.target.isNull()) {
        return state;
    }
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    state.content = file.readAll();
    state.permissions = file.permissions() & ~ofThisUser;
    return state;
}

void FileChanges::restore(const State& state)
{
    if (!state.target.isNull()) {
        makeLink(state.path, state.target);
    } else if (state.content && state.permissions == ownersAlone) {
        PrivateFile::replace(state.path, *state.content); // What is there is never away, also on a full disk.
    } else if (state.content) {
        writeNew(state.path, *state.content, state.permissions);
    } else {
        QFile::remove(state.path);
    }
}
