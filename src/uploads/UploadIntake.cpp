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

UploadIntake::UploadIntake(UploadQueue& queue, UploadHistory& history, FTPStreamFactory& streams)
    : m_queue(queue)
    , m_history(history)
    , m_held(queue, history, streams)
{
    connect(&m_walks, &FolderWalks::found, this, [this](const Drop& piece) {
        if (piece.isHeld) {
            m_held.add(piece);
        } else {
            join(piece);
            emit queueChanged();
        }
    });
    connect(&m_walks, &FolderWalks::ended, this, [this](const Drop& drop) {
        if (drop.isHeld) {
            m_held.end();
        }
        emit dropEnded(drop.request);
    });
    connect(&m_walks, &FolderWalks::merged, this, [this](const QString& name) {
        m_history.note(
            u"Several of the dropped folders are named “%1”. All go into one folder."_s.arg(visibleText(name)));
    });
    connect(&m_walks, &FolderWalks::changed, this, &UploadIntake::stageChanged);
    connect(&m_held, &HeldDrops::changed, this, &UploadIntake::stageChanged);
    connect(&m_held, &HeldDrops::queueChanged, this, &UploadIntake::queueChanged);
    connect(&m_held, &HeldDrops::asked, this, &UploadIntake::asked);
}

void UploadIntake::take(const Drop& drop)
{
    Drop plain = drop;
    plain.paths = plainPaths(drop.paths);
    plain.isHeld = HeldDrops::areWanted() && !plain.paths.isEmpty();
    if (DroppedFolders::areUploaded() && !plain.paths.isEmpty()) {
        m_history.setMoreComes(true);
        if (plain.isHeld) {
            m_held.begin(plain);
        }
        m_walks.begin(plain);
    } else {
        if (plain.isHeld) {
            hold(plain);
        } else {
            join(plain);
        }
        emit dropEnded(plain.request);
    }
}

void UploadIntake::takeAgain(const PathList& paths, const Destination& destination)
{
    if (HeldDrops::areWanted()) {
        hold({ .paths = paths, .bound = destination });
    } else {
        m_queue.appendAgain(paths, destination);
    }
}

void UploadIntake::hold(const Drop& drop)
{
    m_history.setMoreComes(true);
    m_held.take(drop);
}

void UploadIntake::giveUp()
{
    if (m_walks.isUnderWay()) {
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
    m_held.giveUp();
}

void UploadIntake::join(const Drop& drop)
{
    m_queue.append(drop.paths, drop.leftOut, drop.request);
}

UploadIntake::Stage UploadIntake::stage() const
{
    if (m_held.isAsking()) {
        return Stage::Asking;
    }
    if (m_held.isLooking()) {
        return Stage::LookingAtDestination;
    }
    if (m_walks.isUnderWay()) {
        return Stage::LookingThroughFolders;
    }
    return m_held.isEmpty() ? Stage::Nothing : Stage::AwaitingDestination;
}

void UploadIntake::stageChanged()
{
    m_history.setMoreComes(stage() != Stage::Nothing);
    emit changed();
}
