#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <deque>
#include <memory>

struct UCollator;

/// Compares names as the user's language does: makes keys of them that are compared byte by byte.
class NameCollator {
public:
    NameCollator();

    /// The key of @p name; valid until the next call.
    QByteArrayView keyOf(QStringView name);

private:
    struct Closer {
        void operator()(UCollator* collator) const;
    };

    std::unique_ptr<UCollator, Closer>
        m_collator; ///< Null where there is none: characters are compared by their codes.
    QByteArray m_key;
};

/// The keys of many names, by their numbers. A copy shares them, and may be read in another thread while this one
/// grows.
class NameKeys {
public:
    /// The key of the next number.
    void append(QByteArrayView key);
    QByteArrayView operator[](int number) const
    {
        const Block& block = m_blocks[static_cast<size_t>(number / keysInABlock)];
        const int place = number % keysInABlock;
        const quint32 begin = place == 0 ? 0 : block.ends[place - 1];
        return QByteArrayView(block.bytes).sliced(begin, block.ends[place] - begin);
    }

private:
    static constexpr int keysInABlock = 1024;

    /// Keys one behind the other.
    struct Block {
        QByteArray bytes;
        QList<quint32> ends; ///< Of each key in `bytes`.
    };

    std::deque<Block> m_blocks;
};
