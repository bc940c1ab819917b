#pragma once

#include "ByteStrings.h"

#include <QByteArray>
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
        return m_blocks[static_cast<size_t>(number / keysInABlock)].at(number % keysInABlock);
    }

private:
    static constexpr int keysInABlock = 1024;

    std::deque<ByteStrings> m_blocks;
};
