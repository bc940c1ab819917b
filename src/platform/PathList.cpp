#include "PathList.h"

#include "LocalPath.h"

#include <algorithm>
#include <limits>

namespace {

constexpr qsizetype fewPaths = 8; ///< To share so many takes more than to copy them.

} // namespace

PathList::PathList(const QStringList& paths)
{
    for (const QString& path : paths) {
        append(path);
    }
}

PathList::PathList(std::initializer_list<QString> paths)
    : PathList(QStringList(paths))
{
}

QString PathList::at(qsizetype index) const
{
    const QByteArrayView bytes = bytesAt(index);
    return LocalPath::fromBytes(QByteArray::fromRawData(bytes.data(), bytes.size()));
}

QByteArrayView PathList::bytesAt(qsizetype index) const
{
    const qsizetype number = m_begin + index;
    const Part& part = *partOf(number);
    return part.block->at(number - part.blockNumber);
}

QStringList PathList::toStringList() const
{
    QStringList paths;
    paths.reserve(size());
    for (qsizetype index = 0; index < size(); ++index) {
        paths.append(at(index));
    }
    return paths;
}

void PathList::append(const QString& path)
{
    appendBytes(LocalPath::toBytes(path));
}

PathList PathList::copied(qsizetype first, qsizetype count) const
{
    PathList copy;
    for (qsizetype index = first; index < first + count; ++index) {
        copy.appendBytes(bytesAt(index));
    }
    return copy;
}

void PathList::appendBytes(QByteArrayView bytes)
{
    if (!canGrow(bytes.size())) {
        m_parts.append({ .block = std::make_shared<ByteStrings>(), .blockNumber = m_end, .end = m_end });
    }
    Part& part = m_parts.last();
    part.block->append(bytes);
    part.end = ++m_end;
}

void PathList::append(const PathList& paths)
{
    if (const qsizetype count = paths.size(); count <= fewPaths) {
        for (qsizetype index = 0; index < count; ++index) {
            appendBytes(paths.bytesAt(index));
        }
        return;
    }
    const qsizetype shift = m_end - paths.m_begin;
    const QList<Part> parts = paths.m_parts; // Those of this list, perhaps.
    for (const Part& part : parts) {
        m_parts.append({ .block = part.block, .blockNumber = part.blockNumber + shift, .end = part.end + shift });
    }
    m_end += paths.size();
}

QString PathList::takeFirst()
{
    QString path = at(0);
    ++m_begin;
    if (isEmpty()) {
        clear();
    } else if (m_parts.constFirst().end == m_begin) {
        m_parts.removeFirst();
    }
    return path;
}

QList<PathList::Part>::const_iterator PathList::partOf(qsizetype number) const
{
    return std::upper_bound(m_parts.begin(), m_parts.end(), number,
                            [](qsizetype wanted, const Part& part) { return wanted < part.end; });
}

/// Whether the last block ends with this list's last path and has room for so many further bytes. Lists that share it
/// have no more of it than they had.
bool PathList::canGrow(qsizetype bytes) const
{
    if (m_parts.isEmpty()) {
        return false;
    }
    const Part& last = m_parts.constLast();
    return last.end - last.blockNumber == last.block->size()
        && last.block->byteCount() + bytes <= std::numeric_limits<quint32>::max();
}
