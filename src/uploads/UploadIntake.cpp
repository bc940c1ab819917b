#include "UploadIntake.h"

#include "DroppedFolders.h"
#include "TreePath.h"
#include "UploadHistory.h"
#include "UploadQueue.h"
#include "VisibleText.h"

using namespace Qt::StringLiterals;

namespace {

/// @p paths, of which somebody may have written one as a TreePath.
PathList plainPaths(const PathList& paths)
{
    qsizetype index = 0;
    while (index < paths.size() && !paths.bytesAt(index).contains(TreePath::mark.data())) {
        ++index;
    }
    if (index == paths.size()) {
        return paths; // The usual case, which costs nothing.
    }
    PathList plain;
    for (index = 0; index < paths.size(); ++index) {
        plain.append(TreePath::plain(paths.at(index)));
    }
    return plain;
}

} // namespace

UploadIntake::UploadIntake(UploadQueue& queue, UploadHistory& history)
    : m_queue(queue)
    , m_history(history)
{
    connect(&m_walks, &FolderWalks::found, this, [this](const Drop& piece) {
        join(piece);
        emit joined();
    });
    connect(&m_walks, &FolderWalks::merged, this, [this](const QString& name) {
        m_history.note(
            u"Several of the dropped folders are named “%1”. All go into one folder."_s.arg(visibleText(name)));
    });
    connect(&m_walks, &FolderWalks::dropEnded, this, &UploadIntake::dropEnded);
    connect(&m_walks, &FolderWalks::changed, this, [this] {
        m_history.setMoreComes(m_walks.isUnderWay());
        emit changed();
    });
}

void UploadIntake::take(const Drop& drop)
{
    Drop plain = drop;
    plain.paths = plainPaths(drop.paths);
    if (DroppedFolders::areUploaded() && !plain.paths.isEmpty()) {
        m_history.setMoreComes(true);
        m_walks.begin(plain);
    } else {
        join(plain);
        emit dropEnded(plain.request);
    }
}

void UploadIntake::giveUp()
{
    if (!m_walks.isUnderWay()) {
        return;
    }
    const QList<Drop> all = m_walks.rest();
    for (const Drop& rest : all) {
        join(rest);
    }
    m_walks.stop();
    for (const Drop& rest : all) {
        emit dropEnded(rest.request);
    }
    m_history.note(u"The queue was cleared before all that was dropped had been looked through."_s);
}

void UploadIntake::join(const Drop& drop)
{
    m_queue.append(drop.paths, drop.leftOut, drop.request);
}
