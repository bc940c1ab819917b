#pragma once

#include "ByteStrings.h"

#include <QByteArrayView>
#include <QList>
#include <QStringList>

#include <initializer_list>
#include <memory>

/// Paths of local files (LocalPath) in an order. A path costs its bytes and a number, in however many lists it is:
/// lists that were copied or joined share what they hold, but for a few paths, and to copy or join them takes next to
/// no time. Belongs to one thread, with all that it shares with others.
class PathList {
public:
    PathList() = default;
    // A list of texts is one of paths.
    PathList(const QStringList& paths);
    PathList(std::initializer_list<QString> paths);

    qsizetype size() const { return m_end - m_begin; }
    bool isEmpty() const { return m_begin == m_end; }
    /// @p index: from 0 to size() - 1.
    QString at(qsizetype index) const;
    /// Its bytes, which stay as long as neither the list changes nor one that shares with it.
    QByteArrayView bytesAt(qsizetype index) const;
    QStringList toStringList() const;
    /// @p count of the paths from @p first on, in a list that shares nothing and so may go to another thread. Takes
    /// time by their number.
    PathList copied(qsizetype first, qsizetype count) const;

    void append(const QString& path);
    /// Appends the path that consists of @p bytes.
    void appendBytes(QByteArrayView bytes);
    void append(const PathList& paths);
    /// Takes the first path out of a list that is not empty.
    QString takeFirst();
    void clear() { *this = {}; }

    friend bool operator==(const PathList& left, const PathList& right)
    {
        return left.toStringList() == right.toStringList();
    }

private:
    /// Those paths of a block that the list has. A path that was taken out of the list keeps its number, and so do all
    /// behind it.
    struct Part {
        std::shared_ptr<ByteStrings> block;
        qsizetype blockNumber; ///< The number that the first path of the block has, or would have.
        qsizetype end; ///< The number behind that of the last path.
    };

    QList<Part>::const_iterator partOf(qsizetype number) const;
    bool canGrow(qsizetype bytes) const;

    QList<Part> m_parts;
    qsizetype m_begin = 0; ///< The number of the first path.
    qsizetype m_end = 0; ///< The number behind that of the last one.
};
