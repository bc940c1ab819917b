#include "FolderWalks.h"

#include <utility>

void FolderWalks::begin(const Drop& drop)
{
    m_next.push_back(drop);
    if (m_walk == nullptr) {
        beginNext();
        emit changed();
    }
}

QList<Drop> FolderWalks::rest() const
{
    QList<Drop> rest(m_next.begin(), m_next.end());
    if (m_walk != nullptr) {
        rest.prepend(pieceOf(m_walk->rest(), {}));
    }
    return rest;
}

void FolderWalks::stop()
{
    m_next.clear();
    if (std::exchange(m_walk, nullptr) != nullptr) {
        emit changed();
    }
}

void FolderWalks::beginNext()
{
    m_drop = std::move(m_next.front());
    m_next.pop_front();
    m_walk = std::make_unique<FolderWalk>(m_drop.paths);
    connect(m_walk.get(), &FolderWalk::found, this,
            [this](const PathList& paths, const QStringList& leftOut) { emit found(pieceOf(paths, leftOut)); });
    connect(m_walk.get(), &FolderWalk::entered, this, &FolderWalks::entered);
    connect(m_walk.get(), &FolderWalk::ended, this, [this] {
        m_walk.release()->deleteLater(); // It is the one that says so.
        emit ended(m_drop);
        if (m_next.empty()) {
            emit changed();
        } else {
            beginNext();
        }
    });
    if (!m_drop.leftOut.isEmpty()) {
        emit found(pieceOf({}, m_drop.leftOut));
    }
}

/// A part of what is looked through.
Drop FolderWalks::pieceOf(const PathList& paths, const QStringList& leftOut) const
{
    Drop piece = m_drop;
    piece.paths = paths;
    piece.leftOut = leftOut;
    return piece;
}
