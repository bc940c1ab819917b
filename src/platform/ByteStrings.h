#pragma once

#include <QByteArray>
#include <QList>

/// Byte strings one behind the other: each costs its bytes and four more. Together they have less than 4 GiB. A copy
/// shares what it holds.
class ByteStrings {
public:
    qsizetype size() const { return m_ends.size(); }
    /// Bytes of all of them.
    qsizetype byteCount() const { return m_bytes.size(); }
    /// @p index: from 0 to size() - 1. Valid until the next one is appended.
    QByteArrayView at(qsizetype index) const
    {
        const quint32 begin = index == 0 ? 0 : m_ends[index - 1];
        return QByteArrayView(m_bytes).sliced(begin, m_ends[index] - begin);
    }
    void append(QByteArrayView string)
    {
        m_bytes += string;
        m_ends.append(static_cast<quint32>(m_bytes.size()));
    }

private:
    QByteArray m_bytes;
    QList<quint32> m_ends; ///< Of each in `m_bytes`.
};
