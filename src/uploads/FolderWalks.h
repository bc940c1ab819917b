#pragma once

#include "Drop.h"
#include "FolderWalk.h"

#include <QList>
#include <QObject>

#include <deque>
#include <memory>

/// The walks through all that was dropped, one after the other. Belongs to the main thread.
class FolderWalks final : public QObject {
    Q_OBJECT

public:
    /// Has what is in @p drop looked through.
    void begin(const Drop& drop);
    /// What stop() would end before it has been looked through, as it was dropped.
    QList<Drop> rest() const;
    /// Ends them all; nothing more is found.
    void stop();
    bool isUnderWay() const { return m_walk != nullptr || !m_next.empty(); }

signals:
    /// @p piece is the next part of a drop, with what is in its folders.
    void found(const Drop& piece);
    /// All of @p drop was found. Nobody begins another one meanwhile.
    void ended(const Drop& drop);
    void entered(const QString& name);
    /// isUnderWay() has another answer.
    void changed();

private:
    void beginNext();
    Drop pieceOf(const PathList& paths, const QStringList& leftOut) const;

    std::unique_ptr<FolderWalk> m_walk; ///< The one that is under way.
    Drop m_drop; ///< That it looks through.
    std::deque<Drop> m_next;
};
