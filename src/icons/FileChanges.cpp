#include "FileChanges.h"

#include "PrivateFile.h"

#include <QDir>
#include <QFileInfo>

#include <array>
#include <climits>
#include <unistd.h>

namespace {

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
    if (permissions == ownersAlone && replaces) {
        return note(path) && PrivateFile::replace(path, content);
    }
    return makeRoom(path, replaces) && writeNew(path, content, permissions);
}

bool FileChanges::link(const QString& path, const QString& target, bool replaces)
{
    return makeRoom(path, replaces) && makeLink(path, QFile::encodeName(target));
}

bool FileChanges::remove(const QString& path)
{
    return !isTaken(path) || makeRoom(path, true);
}

bool FileChanges::isTaken(const QString& path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

/// Has what is at @p path go. False when it stays.
bool FileChanges::makeRoom(const QString& path, bool replaces)
{
    if (!isTaken(path)) {
        QDir().mkpath(QFileInfo(path).path());
        return note(path);
    }
    return replaces && note(path) && QFile::remove(path);
}

/// Notes what is at @p path. False when that cannot be read.
bool FileChanges::note(const QString& path)
{
    State state{ .path = path, .isThere = isTaken(path), .target = targetOf(path) };
    if (state.isThere && state.target.isNull()) {
        QFile file(path);
        if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
            return false;
        }
        state.content = file.readAll();
        state.permissions = file.permissions();
    }
    m_before.append(state);
    return true;
}

void FileChanges::restore(const State& state)
{
    if (state.isThere && state.permissions == ownersAlone && PrivateFile::replace(state.path, state.content)) {
        return; // Never away, also on a full disk.
    }
    QFile::remove(state.path);
    if (state.isThere && !state.target.isNull()) {
        makeLink(state.path, state.target);
    } else if (state.isThere) {
        writeNew(state.path, state.content, state.permissions);
    }
}
