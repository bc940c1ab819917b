#include "UploadIntake.h"

#include "DroppedFolders.h"
#include "TreePath.h"
#include "UploadHistory.h"
#include "UploadQueue.h"
#include "VisibleText.h"

#include <algorithm>

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

UploadIntake::UploadIntake(UploadQueue& queue, UploadHistory& history, AutomaticTries& tries, FTPStreamFactory& streams)
    : m_queue(queue)
    , m_history(history)
    , m_lines{ { { .held = HeldDrops(queue, history, tries, streams, false) },
                 { .held = HeldDrops(queue, history, tries, streams, true) } } }
{
    for (Line& line : m_lines) {
        connectTo(line);
    }
    connect(&history, &UploadHistory::queueBegins, this, [this] { m_named.clear(); });
}

void UploadIntake::connectTo(Line& line)
{
    connect(&line.walks, &FolderWalks::found, this, [this, &line](const Drop& piece) {
        if (piece.isHeld) {
            line.held.add(piece);
        } else {
            join(piece);
            emit queueChanged();
        }
    });
    connect(&line.walks, &FolderWalks::ended, this, [this, &line](const Drop& drop) {
        if (drop.isHeld) {
            line.held.end();
        }
        emit dropEnded(drop.request);
    });
    connect(&line.walks, &FolderWalks::entered, this, &UploadIntake::folderEntered);
    connect(&line.walks, &FolderWalks::changed, this, &UploadIntake::stageChanged);
    connect(&line.held, &HeldDrops::changed, this, &UploadIntake::stageChanged);
    connect(&line.held, &HeldDrops::queueChanged, this, &UploadIntake::queueChanged);
    connect(&line.held, &HeldDrops::asked, this, &UploadIntake::asked);
}

void UploadIntake::folderEntered(const QString& name)
{
    if (++m_named[name] == 2) {
        m_history.note(
            u"Several of the dropped folders are named “%1”. All go into one folder."_s.arg(visibleText(name)));
    }
}

void UploadIntake::take(const Drop& drop)
{
    Line& line = lineOf(drop.request);
    Drop plain = drop;
    plain.paths = plainPaths(drop.paths);
    plain.isHeld = !plain.paths.isEmpty() && line.held.areWanted();
    if (DroppedFolders::areUploaded() && !plain.paths.isEmpty()) {
        m_history.setMoreComes(true);
        line.walks.begin(plain);
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
    const Drop drop{ .paths = paths, .bound = destination };
    if (lineOf(drop.request).held.areWanted()) {
        hold(drop);
    } else {
        m_queue.appendAgain(paths, destination);
    }
}

void UploadIntake::hold(const Drop& drop)
{
    m_history.setMoreComes(true);
    lineOf(drop.request).held.take(drop);
}

void UploadIntake::destinationChanged()
{
    m_named.clear(); // What follows goes elsewhere.
    for (Line& line : m_lines) {
        line.held.destinationChanged();
    }
}

void UploadIntake::giveUp()
{
    if (isLookingThrough()) {
        for (Line& line : m_lines) {
            giveUp(line.walks);
        }
        m_history.note(u"The queue was cleared before all that was dropped had been looked through."_s);
    }
    for (Line& line : m_lines) {
        line.held.giveUp();
    }
}

void UploadIntake::giveUp(FolderWalks& walks)
{
    const QList<Drop> all = walks.rest();
    for (const Drop& rest : all) {
        join(rest);
    }
    walks.stop();
    for (const Drop& rest : all) {
        emit dropEnded(rest.request);
    }
}

void UploadIntake::join(const Drop& drop)
{
    m_queue.append(drop.paths, drop.leftOut, drop.request);
}

bool UploadIntake::isLookingThrough() const
{
    return std::any_of(m_lines.begin(), m_lines.end(), [](const Line& line) { return line.walks.isUnderWay(); });
}

UploadIntake::Stage UploadIntake::stage() const
{
    const Stage first = m_lines.front().stage();
    return first == Stage::Nothing ? m_lines.back().stage() : first;
}

UploadIntake::Stage UploadIntake::Line::stage() const
{
    if (held.isAsking()) {
        return Stage::Asking;
    }
    if (held.isLooking()) {
        return Stage::LookingAtDestination;
    }
    if (walks.isUnderWay()) {
        return Stage::LookingThroughFolders;
    }
    return held.isEmpty() ? Stage::Nothing : Stage::AwaitingDestination;
}

void UploadIntake::stageChanged()
{
    m_history.setMoreComes(stage() != Stage::Nothing);
    emit changed();
}
