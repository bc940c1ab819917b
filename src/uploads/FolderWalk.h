#pragma once

#include "PathList.h"

#include <QObject>
#include <QStringList>

#include <memory>

/// Looks for the files in folders that were dropped, on a thread of its own: a folder may be large, and the disk that
/// it lies on slow. What it finds is reported in pieces, so that sending begins at once.
///
/// Plain files come in the order of their names, as bytes, the files of a folder between what stands before and behind
/// it. Their paths are a TreePath's; what was dropped and is no folder has its own. Links to files are followed, links
/// to folders are not, but one that was dropped stands for its folder. A folder without any file has a path of its own,
/// and so has one that cannot be read. What is neither file nor folder is left out, and so is a folder that was met
/// before under the same dropped one, by its device and number: through a mount it may lie within itself. What may not
/// be looked at counts as a file: why it cannot be sent is told at its turn.
class FolderWalk final : public QObject {
    Q_OBJECT

public:
    /// Begins with @p dropped, absolute paths. It is all over when ended() has come.
    explicit FolderWalk(const PathList& dropped);
    /// Ends the walk and waits for nothing.
    ~FolderWalk() override;

    /// Of what was dropped, all from the first item on that found() has not yet been emitted for to its end.
    PathList rest() const;

signals:
    // From the loop of this object's thread.

    void found(const PathList& paths, const QStringList& leftOut);
    /// One of the dropped folders, of this name, is being looked through.
    void entered(const QString& name);
    void ended();

private:
    class Work;

    PathList m_dropped;
    qsizetype m_done = 0; ///< So many of these are no rest.
    std::shared_ptr<Work> m_work; ///< With the thread.
};
